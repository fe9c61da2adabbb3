// SPDX-License-Identifier: Apache-2.0
// Responses waiting for the next new ACK, and the R->P sequence area built from them.
#pragma once

#include <cstdint>

namespace srl {

inline constexpr uint16_t kMaxAcr = 64;             // highest CmdID the interpreter can track
inline constexpr uint16_t kMaxResponse = 240;       // longest response payload
inline constexpr uint16_t kMaxForeignPending = 16;  // answers to CmdIDs outside the ACR
inline constexpr int kMaxFragmentsPerSequence = 9;

struct PendingResponse {
    bool used = false;
    uint16_t cmd_id = 0;
    uint32_t order = 0;  // first queued first sent
    uint16_t len = 0;
    uint8_t data[kMaxResponse] = {};
};

struct ResponseQueue {
    PendingResponse slots[kMaxAcr + kMaxForeignPending];
    uint32_t next_order = 1;
};

// A later response for the same CmdID replaces the earlier one (the client gets only the newest
// state, sent with Clear). Returns false when no slot is free (only CmdIDs outside the ACR).
bool response_put(ResponseQueue& q, uint16_t cmd_id, const uint8_t* payload, uint16_t len);
void response_drop(ResponseQueue& q, uint16_t cmd_id);
void response_clear(ResponseQueue& q);
bool response_pending(const ResponseQueue& q, uint16_t cmd_id);

// Builds a sequence area (ACK, PayloadLength, fragments) of at most `space` bytes. Every response
// is one complete fragment (pointer 0, Complete|Clear); what does not fit waits for the next ACK.
// A response longer than an empty area is shortened (trailing text/reserved bytes) rather than
// split, because common PLC clients mis-parse split responses. Returns the area length.
uint16_t response_build_area(ResponseQueue& q, uint16_t ack, uint8_t* area, uint16_t space);

}  // namespace srl
