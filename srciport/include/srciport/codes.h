// SPDX-License-Identifier: Apache-2.0
// Result and error codes of the controller port. 0 is success everywhere.
#pragma once

#include <cstdint>

namespace srciport {

// Soft limit of joint index j (0..5) exceeded or targeted: 0x42 | (j << 16).
constexpr int32_t softLimitCode(int joint) { return 0x42 | (joint << 16); }

enum PortCode : int32_t {
    kPortOk = 0,
    kErrNotEnabled = 0xF0001,      // motion refused: arm not enabled
    kErrSafetyStop = 0xF0002,      // refused under emergency or protective stop
    kErrFaultActive = 0xF0003,     // refused while a controller error waits for exitProtect
    kErrBadArgument = 0xF0004,     // index, value or number out of range
    kErrQueueFull = 0xF0005,       // motion queue full
    kErrNotPowered = 0xF0006,      // enable refused: arm not powered
    kErrPowerFailed = 0xF0007,     // power-on refused by the drives
    kErrBusy = 0xF000A,            // refused while the arm moves
    kErrLimitPair = 0xF000B,       // soft-limit pair refused: minimum not below maximum
    kErrJointJump = 0xF0017,       // a path point needs a joint jump (near a singularity)
    kErrPathUnreachable = 0xF0018  // a path point lies outside the workspace
};

}  // namespace srciport
