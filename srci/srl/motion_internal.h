// SPDX-License-Identifier: Apache-2.0
// Pieces shared by the motion manager's translation units.
#pragma once

#include <cstdint>

#include "srl/veld_motion_manager.h"

namespace motion_detail {

// Tells the interpreter the record's state; only the low 8 bits of the id travel.
void reportState(uint32_t id, const EDK_CMD& cmd);

// The jog half of pushCmd.
void pushJog(MotionManager& manager, EDK_CMD cmd);

// Code a command carries when the controller refused it with a text instead of a code.
inline constexpr int32_t kRefusedWithoutCode = 0x8FFF;

}  // namespace motion_detail
