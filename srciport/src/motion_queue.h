// SPDX-License-Identifier: Apache-2.0
// The motion queue: accepted moves and jogs, the segment(s) in execution, blending,
// speed override, pause and stop. Pure state; the simulator owns it and serialises access.
#pragma once

#include "path.h"
#include "profile.h"
#include "srciport/kinematics.h"

#include <array>
#include <cstdint>
#include <vector>

namespace srciport {

using LimitTable = std::array<std::array<double, 2>, 6>;

// Whether a joint may go from `from` to `to` under its soft limits {min, max}. Limits narrowed
// around a standing arm leave the joint outside them: motion back toward the allowed range is
// allowed, motion further out is not.
inline bool limitAllows(double from, double to, const std::array<double, 2>& limits, double slack = 0) {
    if (to < limits[0] - slack) return to >= from - slack;
    if (to > limits[1] + slack) return to <= from + slack;
    return true;
}

// What a segment needs from the rest of the controller when it starts and runs.
struct MotionContext {
    const Kinematics* kin = nullptr;
    LimitTable softLimits{};
    Transform tool;   // active tool (flange -> TCP)
    Transform frame;  // active user frame (world)
};

struct MoveRequest {
    enum class Kind { Joint, Linear, JogJoint, JogCart };
    Kind kind = Kind::Joint;
    Joints jointTarget{};     // Joint
    Transform tcpTarget;      // Linear: TCP target in world coordinates
    Transform tool;           // Linear: tool of the move
    int axis = 0;             // jogs: joint index 0..5, or 0..2 x,y,z and 3..5 rx,ry,rz
    double sense = 1;         // jogs: +1 / -1
    bool toolAxes = false;    // JogCart: tool (true) or user frame (false) axes
    bool continuous = false;  // jogs: until stopped or a limit
    double distance = 0;      // jogs: mm or deg
    double vel = 0, acc = 0, tol = 0;
    int32_t trajId = -1;  // -1 for jogs
    Joints plannedEnd{};  // joints at the end as planned when accepted
    bool isJog() const { return kind == Kind::JogJoint || kind == Kind::JogCart; }
};

class MotionQueue {
public:
    static constexpr size_t kCapacity = 32;

    // Room for every accepted move and the segments of a blend from the start: the arm's tick
    // never allocates.
    MotionQueue() {
        active_.reserve(4);
        pending_.reserve(kCapacity);
    }

    void reset(const Joints& q);
    // Caller has validated the request. Returns 0 or kErrQueueFull.
    int push(const MoveRequest& r);

    void pause() { paused_ = true; }
    void resume() { paused_ = false; }
    // Decelerate every segment to rest and forget the queued ones.
    void stop();
    // Decelerate the running jog; queued jogs are dropped.
    void stopJog();
    // Immediate standstill at the current joints, queue cleared (faults, disable).
    void halt();

    // Advances by dt with the speed override; returns 0 or the error that halted the motion.
    int tick(double dt, double ratio, const MotionContext& ctx);

    const Joints& joints() const { return joints_; }
    // Joints at the end of everything accepted so far.
    Joints plannedEnd() const;
    bool moving() const { return moving_; }
    bool idle() const { return active_.empty() && pending_.empty(); }
    bool paused() const { return paused_; }
    bool full() const { return pending_.size() >= kCapacity; }
    bool jogging() const;
    int32_t trajId() const { return trajId_; }
    size_t activeCount() const { return active_.size(); }
    size_t pendingCount() const { return pending_.size(); }

private:
    struct Segment {
        MoveRequest req;
        SegmentPath path;
        TrapezoidTracker tracker;
        Joints start{};
        Joints now{};
        Joints end{};
        int32_t endError = 0;  // raised when the segment completes (jog ended at a limit)
        bool halting = false;
    };

    int activate(const MoveRequest& r, const Joints& start, const MotionContext& ctx);
    bool canBlend() const;
    void retire(size_t i);

    Joints joints_{};
    Joints anchor_{};  // joints_ = anchor_ + sum of the active segments' displacements
    std::vector<Segment> active_;
    std::vector<MoveRequest> pending_;  // oldest first; at most kCapacity, so erasing the front is cheap
    bool paused_ = false;
    bool moving_ = false;
    int32_t trajId_ = -1;
};

}  // namespace srciport
