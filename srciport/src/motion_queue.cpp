// SPDX-License-Identifier: Apache-2.0
#include "motion_queue.h"

#include "jog.h"
#include "srciport/codes.h"

#include <cmath>

namespace srciport {

namespace {

// Highest joint speed a path may ask for before it counts as a jump through a singularity.
constexpr double kMaxJointSpeed = 720.0;  // deg/s
constexpr double kLimitSlack = 1e-9;

}  // namespace

void MotionQueue::reset(const Joints& q) {
    joints_ = q;
    anchor_ = q;
    active_.clear();
    pending_.clear();
    paused_ = false;
    moving_ = false;
    trajId_ = -1;
}

int MotionQueue::push(const MoveRequest& r) {
    if (full()) return kErrQueueFull;
    pending_.push_back(r);
    return 0;
}

void MotionQueue::stop() {
    pending_.clear();
    for (Segment& s : active_) s.halting = true;
    paused_ = false;
}

void MotionQueue::stopJog() {
    std::erase_if(pending_, [](const MoveRequest& r) { return r.isJog(); });
    for (Segment& s : active_)
        if (s.req.isJog()) s.halting = true;
}

void MotionQueue::halt() {
    active_.clear();
    pending_.clear();
    anchor_ = joints_;
    moving_ = false;
    paused_ = false;
}

bool MotionQueue::jogging() const {
    for (const Segment& s : active_)
        if (s.req.isJog()) return true;
    for (const MoveRequest& r : pending_)
        if (r.isJog()) return true;
    return false;
}

Joints MotionQueue::plannedEnd() const {
    if (!pending_.empty()) return pending_.back().plannedEnd;
    Joints q = anchor_;
    for (const Segment& s : active_)
        for (int i = 0; i < 6; ++i) q[i] += s.end[i] - s.start[i];
    return q;
}

int MotionQueue::activate(const MoveRequest& r, const Joints& start, const MotionContext& ctx) {
    Segment seg;
    seg.req = r;
    seg.start = start;
    seg.now = start;
    switch (r.kind) {
        case MoveRequest::Kind::Joint:
            seg.path.emplace<JointPath>(start, r.jointTarget);
            seg.end = r.jointTarget;
            break;
        case MoveRequest::Kind::Linear: {
            uint8_t config = 0;
            const Transform tcp = ctx.kin->forward(start, &config) * r.tool;
            seg.path.emplace<CartesianPath>(CartesianPath::towards(*ctx.kin, tcp, r.tcpTarget, r.tool, config));
            seg.end = r.plannedEnd;
            break;
        }
        default:
            if (int e = makeJogPath(r, start, ctx, seg.path, seg.end, seg.endError)) return e;
            break;
    }
    seg.tracker = TrapezoidTracker(seg.path->length(), r.acc);
    if (r.trajId >= 0) trajId_ = r.trajId;
    active_.push_back(std::move(seg));
    return 0;
}

bool MotionQueue::canBlend() const {
    if (active_.size() != 1 || pending_.empty() || paused_) return false;
    const Segment& cur = active_.front();
    const MoveRequest& next = pending_.front();
    return !cur.halting && !cur.req.isJog() && !next.isJog() && cur.req.tol > 0 &&
           cur.tracker.remaining() <= cur.req.tol;
}

void MotionQueue::retire(size_t i) {
    for (int k = 0; k < 6; ++k) anchor_[k] += active_[i].now[k] - active_[i].start[k];
    active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i));
}

int MotionQueue::tick(double dt, double ratio, const MotionContext& ctx) {
    if (!paused_) {
        if (active_.empty() && !pending_.empty()) {
            const MoveRequest r = pending_.front();
            pending_.erase(pending_.begin());
            anchor_ = joints_;
            if (int e = activate(r, joints_, ctx)) {
                halt();
                return e;
            }
        } else if (canBlend()) {
            const MoveRequest r = pending_.front();
            pending_.erase(pending_.begin());
            if (int e = activate(r, active_.front().end, ctx)) {
                halt();
                return e;
            }
        }
    }

    Joints out = anchor_;
    bool anyVelocity = false;
    for (Segment& s : active_) {
        const double vlim = (paused_ || s.halting) ? 0.0 : s.req.vel * ratio;
        s.tracker.step(dt, vlim);
        Joints q;
        if (int e = s.path->jointsAt(s.tracker.position(), s.now, q)) {
            halt();
            return e == kKineSingular ? kErrJointJump : kErrPathUnreachable;
        }
        // Joint paths move as commanded; only IK-driven paths can demand a sudden jump.
        const bool cartesian = s.req.kind == MoveRequest::Kind::Linear || s.req.kind == MoveRequest::Kind::JogCart;
        for (int i = 0; cartesian && i < 6; ++i) {
            if (std::fabs(q[i] - s.now[i]) > kMaxJointSpeed * dt + 0.5) {
                halt();
                return kErrJointJump;
            }
        }
        s.now = q;
        for (int i = 0; i < 6; ++i) out[i] += q[i] - s.start[i];
        if (s.tracker.velocity() > 0) anyVelocity = true;
    }

    for (int i = 0; i < 6; ++i) {
        if (!limitAllows(joints_[i], out[i], ctx.softLimits[i], kLimitSlack)) {
            halt();
            return softLimitCode(i);
        }
    }

    bool moved = false;
    for (int i = 0; i < 6; ++i) moved = moved || out[i] != joints_[i];
    joints_ = out;
    moving_ = anyVelocity || moved;

    int32_t err = 0;
    for (size_t i = active_.size(); i-- > 0;) {
        Segment& s = active_[i];
        const bool done = s.tracker.finished();
        if (done || (s.halting && s.tracker.velocity() <= 0)) {
            if (done && s.endError) err = s.endError;
            retire(i);
        }
    }
    if (err) {
        halt();
        return err;
    }
    // With nothing left to resume, a pause would only hold back the next command.
    if (active_.empty() && pending_.empty()) paused_ = false;
    return 0;
}

}  // namespace srciport
