// SPDX-License-Identifier: Apache-2.0
#include "response_queue.h"

#include <cstring>

#include "wire_codec.h"

namespace srl {
namespace {

constexpr uint8_t kCompleteClear = 0x05;
constexpr uint16_t kSlots = kMaxAcr + kMaxForeignPending;

}  // namespace

bool response_put(ResponseQueue& q, uint16_t cmd_id, const uint8_t* payload, uint16_t len) {
    if (len > kMaxResponse) len = kMaxResponse;
    PendingResponse* target = nullptr;
    PendingResponse* free_slot = nullptr;
    uint16_t foreign = 0;
    for (PendingResponse& p : q.slots) {
        if (p.used && p.cmd_id == cmd_id) target = &p;
        if (p.used && p.cmd_id > kMaxAcr) ++foreign;
        if (!p.used && free_slot == nullptr) free_slot = &p;
    }
    if (target == nullptr) {
        if (free_slot == nullptr) return false;
        if (cmd_id > kMaxAcr && foreign >= kMaxForeignPending) return false;
        target = free_slot;
        target->used = true;
        target->cmd_id = cmd_id;
        target->order = q.next_order++;
    }
    target->len = len;
    std::memcpy(target->data, payload, len);
    return true;
}

void response_drop(ResponseQueue& q, uint16_t cmd_id) {
    for (PendingResponse& p : q.slots) {
        if (p.used && p.cmd_id == cmd_id) p.used = false;
    }
}

void response_clear(ResponseQueue& q) {
    for (PendingResponse& p : q.slots) p.used = false;
}

bool response_pending(const ResponseQueue& q, uint16_t cmd_id) {
    for (const PendingResponse& p : q.slots) {
        if (p.used && p.cmd_id == cmd_id) return true;
    }
    return false;
}

uint16_t response_build_area(ResponseQueue& q, uint16_t ack, uint8_t* area, uint16_t space) {
    if (space < 4) return 0;
    put_be16(area, ack);
    uint16_t used = 4;
    int fragments = 0;

    // Oldest first; a small selection sort over the few slots in use.
    uint16_t order[kSlots];
    uint16_t n = 0;
    for (uint16_t i = 0; i < kSlots; ++i) {
        if (q.slots[i].used) order[n++] = i;
    }
    for (uint16_t i = 0; i + 1 < n; ++i) {
        for (uint16_t j = static_cast<uint16_t>(i + 1); j < n; ++j) {
            if (q.slots[order[j]].order < q.slots[order[i]].order) {
                const uint16_t t = order[i];
                order[i] = order[j];
                order[j] = t;
            }
        }
    }

    const uint16_t largest = static_cast<uint16_t>(space - 4 - 8 < 4 ? 0 : space - 4 - 8);
    for (uint16_t k = 0; k < n && fragments < kMaxFragmentsPerSequence; ++k) {
        PendingResponse& p = q.slots[order[k]];
        if (p.len > largest) p.len = largest;  // could never fit: shorten instead of splitting
        if (p.len < 4) {                       // no room even for a header: cannot be sent
            p.used = false;
            continue;
        }
        if (used + 8 + p.len > space) continue;
        uint8_t* f = area + used;
        put_be16(f, p.cmd_id);
        f[2] = 0;
        f[3] = kCompleteClear;
        put_be16(f + 4, 0);
        put_be16(f + 6, p.len);
        std::memcpy(f + 8, p.data, p.len);
        used = static_cast<uint16_t>(used + 8 + p.len);
        ++fragments;
        p.used = false;
    }
    put_be16(area + 2, static_cast<uint16_t>(used - 4));
    return used;
}

}  // namespace srl
