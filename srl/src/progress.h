// SPDX-License-Identifier: Apache-2.0
// Progress and RemainingDistance of a running move, from its target and the position the
// adapter pushes every cycle (srl_set_current_pos).
#pragma once

#include <cstdint>

#include "cyclic.h"

namespace srl {

struct MotionProgress {
    bool cartesian = false;           // linear/direct: XYZ in mm; axes: joints in degrees
    bool started = false;             // start position taken (first Active)
    uint8_t tool = 255, frame = 255;  // the target's tool and frame (255: the current ones)
    float target[6] = {};
    float start[6] = {};
    uint16_t progress = 0;  // percent x 100
    float remaining = 0;    // mm (Cartesian moves only)
    uint16_t sent_progress = 0;
    float sent_remaining = 0;
    uint64_t sent_cycle = 0;
};

// Takes the target from the host command record of a motion command.
void progress_init(MotionProgress& p, uint16_t cmd_type, const uint8_t* host);
// Recomputes from the pushed position; false while the position cannot be compared with the
// target (a Cartesian target in another tool or frame than the one in use).
bool progress_update(MotionProgress& p, const Cyclic& c);
// Whether the values moved enough since the last Active answer to send a new one.
bool progress_worth_sending(const MotionProgress& p, uint64_t cycle);
// Fills the host response record (RspMoveAxesAbs or RspMoveLinAbs) and marks it sent.
void progress_fill(MotionProgress& p, uint8_t* host_rsp, uint64_t cycle);

}  // namespace srl
