// SPDX-License-Identifier: Apache-2.0
// Lifesign supervision of the client and the server's own lifesign counter.
#pragma once

#include <cstdint>

namespace srl {

struct Lifesign {
    uint8_t client_last = 0;
    uint64_t last_change_ms = 0;
    uint16_t timeout_ms = 1000;
    uint8_t server = 0;
};

// Any change of the client's value re-arms the supervision; +1 steps are not required because
// the PLC task cycle and the fieldbus cycle differ.
void lifesign_observe(Lifesign& l, uint8_t client_value, uint64_t now_ms);
void lifesign_rearm(Lifesign& l, uint64_t now_ms);
bool lifesign_expired(const Lifesign& l, uint64_t now_ms);
// Next server value 1..15, never 0 (the client starts watching once byte 1 is non-zero).
uint8_t lifesign_next_server(Lifesign& l);

}  // namespace srl
