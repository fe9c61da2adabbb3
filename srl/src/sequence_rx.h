// SPDX-License-Identifier: Apache-2.0
// SEQ tracking and reassembly of command payloads from P->R fragments.
#pragma once

#include <cstdint>

#include "response_queue.h"

namespace srl {

inline constexpr uint16_t kMaxCommandPayload = 256;  // longer payloads are truncated

struct RxBuffer {
    bool active = false;
    bool is_new = false;  // started by Reset (or Clear without a running command)
    uint32_t length = 0;  // bytes received so far, truncated part included
    uint8_t data[kMaxCommandPayload] = {};
};

struct SequenceRx {
    uint16_t last_seq = 0;  // ACK; 0 before any SEQ, which lets the client move off 0
    RxBuffer buffers[kMaxAcr + 1];
};

// What the fragments of one new SEQ turn into.
struct FragmentSink {
    virtual ~FragmentSink() = default;
    virtual bool command_live(uint16_t cmd_id) = 0;
    virtual void command_reset(uint16_t cmd_id) = 0;  // Reset: forget the old command silently
    virtual void payload_complete(uint16_t cmd_id, const uint8_t* payload, uint16_t len, bool is_new) = 0;
    virtual void reject(uint16_t cmd_id, uint16_t code) = 0;
    virtual uint16_t length_acr() = 0;
};

// Walks the sequence area at `seq_off` (header included) up to `end` (footer, exclusive). A
// structurally broken area is discarded as a whole before anything is acted on.
// Returns false when the content was discarded.
bool sequence_process(SequenceRx& rx, const uint8_t* tel, uint16_t seq_off, uint16_t end, FragmentSink& sink);
void sequence_clear_buffers(SequenceRx& rx);

}  // namespace srl
