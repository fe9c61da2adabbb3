// SPDX-License-Identifier: Apache-2.0
// Turns a jog request into a path from the joints where the jog starts.
#pragma once

#include "motion_queue.h"

namespace srciport {

// Distance used for a continuous jog: it ends by jogStop or at a limit long before.
inline constexpr double kContinuousJogDistance = 1.0e6;

// Returns 0 or an error code (a joint jog that starts at its limit). `endError` is set when
// the jog was shortened to end exactly at a soft limit.
int makeJogPath(const MoveRequest& r, const Joints& start, const MotionContext& ctx, SegmentPath& path, Joints& end,
                int32_t& endError);

}  // namespace srciport
