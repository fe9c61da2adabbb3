// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <cmath>
#include <cstddef>
#include <cstring>

#include "command_table.h"
#include "srl/srl_types.h"

namespace srl {
namespace {

static_assert(offsetof(LRob_typeServerRspMoveAxesAbs, Progress) == offsetof(LRob_typeServerRspMoveLinAbs, Progress));

// At most one Active answer per this many cycles (100 ms), and only when the values moved.
constexpr uint64_t kMinCyclesBetweenAnswers = 25;
constexpr uint16_t kMinProgressStep = 100;  // 1 %
constexpr float kMinDistanceStep = 1.0f;    // mm

const float* position_of(const MotionProgress& p, const Cyclic& c) { return p.cartesian ? c.cartesian : c.joints; }

// Cartesian: straight-line distance of the TCP; axes: the largest joint difference.
float distance(const MotionProgress& p, const float* a, const float* b) {
    if (p.cartesian) {
        const float dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
        return std::sqrt(dx * dx + dy * dy + dz * dz);
    }
    float d = 0;
    for (int j = 0; j < 6; ++j) d = std::fmax(d, std::fabs(a[j] - b[j]));
    return d;
}

}  // namespace

void progress_init(MotionProgress& p, uint16_t cmd_type, const uint8_t* host) {
    p = MotionProgress{};
    if (cmd_type == cmd::MoveAxesAbsolute) {
        std::memcpy(p.target, host + offsetof(LRob_typeServerCmdMoveAxesAbs, Joint), sizeof p.target);
        return;
    }
    static_assert(offsetof(LRob_typeServerCmdMoveLinAbs, Position) ==
                  offsetof(LRob_typeServerCmdMoveDirectAbs, Position));
    p.cartesian = true;
    const auto* coord = host + offsetof(LRob_typeServerCmdMoveLinAbs, CoordSystem);
    p.tool = coord[0];
    p.frame = coord[1];
    std::memcpy(p.target, host + offsetof(LRob_typeServerCmdMoveLinAbs, Position), sizeof p.target);
}

bool progress_update(MotionProgress& p, const Cyclic& c) {
    if (p.cartesian && ((p.tool != 255 && p.tool != c.current_tool) || (p.frame != 255 && p.frame != c.current_frame)))
        return false;
    const float* now = position_of(p, c);
    if (!p.started) {
        std::memcpy(p.start, now, sizeof p.start);
        p.started = true;
    }
    const float left = distance(p, now, p.target);
    const float total = distance(p, p.start, p.target);
    if (!std::isfinite(left) || !std::isfinite(total)) return false;
    p.remaining = p.cartesian ? left : 0.0f;
    // Done alone reports 100 %: an Active move stays below it.
    const float share = total > 1e-3f ? 1.0f - left / total : 0.0f;
    const float clamped = share < 0.0f ? 0.0f : share > 0.9999f ? 0.9999f : share;
    p.progress = static_cast<uint16_t>(std::lround(clamped * 10000.0f));
    return true;
}

bool progress_worth_sending(const MotionProgress& p, uint64_t cycle) {
    if (cycle - p.sent_cycle < kMinCyclesBetweenAnswers) return false;
    const int dp = static_cast<int>(p.progress) - static_cast<int>(p.sent_progress);
    return dp >= kMinProgressStep || dp <= -kMinProgressStep ||
           std::fabs(p.remaining - p.sent_remaining) >= kMinDistanceStep;
}

void progress_fill(MotionProgress& p, uint8_t* host_rsp, uint64_t cycle) {
    std::memcpy(host_rsp + offsetof(LRob_typeServerRspMoveLinAbs, Progress), &p.progress, 2);
    if (p.cartesian) std::memcpy(host_rsp + offsetof(LRob_typeServerRspMoveLinAbs, RemainingDistance), &p.remaining, 4);
    p.sent_progress = p.progress;
    p.sent_remaining = p.remaining;
    p.sent_cycle = cycle;
}

}  // namespace srl
