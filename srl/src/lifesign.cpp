// SPDX-License-Identifier: Apache-2.0
#include "lifesign.h"

namespace srl {

void lifesign_observe(Lifesign& l, uint8_t client_value, uint64_t now_ms) {
    if (client_value != l.client_last) {
        l.client_last = client_value;
        l.last_change_ms = now_ms;
    }
}

void lifesign_rearm(Lifesign& l, uint64_t now_ms) { l.last_change_ms = now_ms; }

bool lifesign_expired(const Lifesign& l, uint64_t now_ms) { return now_ms - l.last_change_ms > l.timeout_ms; }

uint8_t lifesign_next_server(Lifesign& l) {
    l.server = static_cast<uint8_t>(l.server % 15 + 1);
    return l.server;
}

}  // namespace srl
