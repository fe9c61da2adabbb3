// SPDX-License-Identifier: Apache-2.0
// Commands of the simulated arm: validation, then one change of state under the lock.
#include "sim_arm_impl.h"
#include "srciport/codes.h"

#include <cmath>
#include <cstring>

namespace srciport {

namespace {

constexpr double kJogAccPerSpeed = 5.0;  // jogs reach their speed in 0.2 s

bool finite(const double* v, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

Transform optionalPose(const double* pose) { return pose ? poseToTransform(pose) : Transform{}; }

}  // namespace

// ---- power, enable, errors -------------------------------------------------------------

int SimArm::powerOn() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->wakeLocked();
    return impl_->safety.requestPower(impl_->now);
}

int SimArm::powerOff() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->motion.halt();
    impl_->safety.powerOff();
    impl_->publishLocked();
    return 0;
}

int SimArm::enable() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->wakeLocked();
    return impl_->safety.requestEnable(impl_->now);
}

int SimArm::disable() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->motion.halt();
    impl_->safety.disable();
    impl_->publishLocked();
    return 0;
}

int SimArm::exitProtect(unsigned char) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->safety.clearError();
    const bool released = impl_->safety.resetStops();
    impl_->publishLocked();
    return released ? 0 : kErrSafetyStop;
}

void SimArm::errorInfo(int& code, int& type) const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    code = impl_->safety.errCode();
    type = impl_->safety.errType();
}

// ---- motion ----------------------------------------------------------------------------

namespace {

bool validDynamics(double vel, double acc, double tol) {
    return std::isfinite(vel) && std::isfinite(acc) && std::isfinite(tol) && vel > 0 && acc > 0 && tol >= 0;
}

int32_t trajIdOf(uint32_t id) { return static_cast<int32_t>(id & 0x7FFFFFFFu); }

}  // namespace

int SimArm::moveJoint(const double joints[6], double vel, double acc, uint32_t trajId, double tol) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Impl& m = *impl_;
    if (int e = m.safety.motionRefusal()) return e;
    if (!joints || !finite(joints, 6) || !validDynamics(vel, acc, tol)) return kErrBadArgument;
    // A move ends inside the soft limits; from outside them that is the way back.
    for (int j = 0; j < 6; ++j)
        if (joints[j] < m.soft[j][0] || joints[j] > m.soft[j][1]) return softLimitCode(j);
    MoveRequest r;
    r.kind = MoveRequest::Kind::Joint;
    for (int j = 0; j < 6; ++j) r.jointTarget[j] = joints[j];
    r.plannedEnd = r.jointTarget;
    r.vel = vel;
    r.acc = acc;
    r.tol = tol;
    r.trajId = trajIdOf(trajId);
    const int e = m.motion.push(r);
    m.publishLocked();
    return e;
}

int SimArm::moveLinear(const double pose[6], double vel, double acc, uint32_t trajId, double tol) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Impl& m = *impl_;
    if (int e = m.safety.motionRefusal()) return e;
    if (!pose || !finite(pose, 6) || !validDynamics(vel, acc, tol)) return kErrBadArgument;
    const Joints start = m.motion.plannedEnd();
    const uint8_t config = configOf(m.kin, start);
    const Transform tool = poseToTransform(m.tools[m.toolId]);
    const Transform tcp = poseToTransform(m.frames[m.frameId]) * poseToTransform(pose);
    Joints end;
    if (int e = m.kin.inverse(tcp * inverse(tool), config, start, end)) return e;
    for (int j = 0; j < 6; ++j)
        if (end[j] < m.soft[j][0] || end[j] > m.soft[j][1]) return softLimitCode(j);
    MoveRequest r;
    r.kind = MoveRequest::Kind::Linear;
    r.tcpTarget = tcp;
    r.tool = tool;
    r.plannedEnd = end;
    r.vel = vel;
    r.acc = acc;
    r.tol = tol;
    r.trajId = trajIdOf(trajId);
    const int e = m.motion.push(r);
    m.publishLocked();
    return e;
}

int SimArm::stop() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->motion.stop();
    impl_->publishLocked();
    return 0;
}

int SimArm::pause() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->motion.idle()) impl_->motion.pause();
    impl_->publishLocked();
    return 0;
}

int SimArm::resume() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Impl& m = *impl_;
    if (m.motion.paused()) {
        if (int e = m.safety.motionRefusal()) return e;
        m.motion.resume();
    }
    m.publishLocked();
    return 0;
}

int SimArm::jog(int mode, int direction, double speed, double distance, bool continuous) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Impl& m = *impl_;
    if (int e = m.safety.motionRefusal()) return e;
    const int axis = direction < 0 ? -direction : direction;
    if (mode < 0 || mode > 2 || axis < 1 || axis > 6 || !std::isfinite(speed) || speed <= 0 ||
        !std::isfinite(distance) || (!continuous && std::fabs(distance) < 1e-9))
        return kErrBadArgument;
    MoveRequest r;
    r.kind = mode == 2 ? MoveRequest::Kind::JogJoint : MoveRequest::Kind::JogCart;
    r.axis = axis - 1;
    r.sense = direction < 0 ? -1.0 : 1.0;
    r.toolAxes = mode == 1;
    r.continuous = continuous;
    r.distance = std::fabs(distance);
    r.vel = speed;
    r.acc = speed * kJogAccPerSpeed;
    r.plannedEnd = m.motion.plannedEnd();
    // A new jog replaces the running one.
    m.motion.stopJog();
    const int e = m.motion.push(r);
    m.publishLocked();
    return e;
}

int SimArm::jogStop(int, int) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->motion.stopJog();
    impl_->publishLocked();
    return 0;
}

// ---- tables and settings -------------------------------------------------------------------

int SimArm::setToolOffset(const double pose[6], int id) { return storeTableEntry(pose, id, true); }

int SimArm::setUserFrame(const double pose[6], int id) { return storeTableEntry(pose, id, false); }

// Tool offsets and user frames are stored alike; number 0 (flange, world) is not writable.
int SimArm::storeTableEntry(const double pose[6], int id, bool tool) {
    const int count = tool ? SRCIPORT_TOOL_NUM : SRCIPORT_FRAME_NUM;
    if (!pose || id < 1 || id >= count || !finite(pose, 6)) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    std::memcpy(tool ? impl_->tools[id] : impl_->frames[id], pose, 6 * sizeof(double));
    impl_->publishLocked();
    return 0;
}

int SimArm::setToolId(int id) {
    if (id < 0 || id >= SRCIPORT_TOOL_NUM) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->toolId = static_cast<uint32_t>(id);
    impl_->publishLocked();
    return 0;
}

int SimArm::setFrameId(int id) {
    if (id < 0 || id >= SRCIPORT_FRAME_NUM) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->frameId = static_cast<uint32_t>(id);
    impl_->publishLocked();
    return 0;
}

int SimArm::setLoad(const double load[4]) {
    if (!load || !finite(load, 4) || load[0] < 0) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->payload.m = load[0];
    for (int i = 0; i < 3; ++i) impl_->payload.p[i] = load[i + 1];
    impl_->publishLocked();
    return 0;
}

// The two bounds of a joint arrive in two calls, in either order. A bound that fits the other
// bound in force applies at once; one that would cross it is held for the other call, which then
// applies both or refuses both (kErrLimitPair). The limits in force are always a valid pair.
int SimArm::Impl::setSoftBound(int joint, int side, double value) {
    if (value < hard[joint][0] || value > hard[joint][1]) return kErrBadArgument;
    HeldBound& mine = side == 0 ? heldMin[joint] : heldMax[joint];
    HeldBound& other = side == 0 ? heldMax[joint] : heldMin[joint];
    double pair[2] = {soft[joint][0], soft[joint][1]};
    pair[side] = value;
    if (other.held) {
        pair[1 - side] = other.value;
        other.held = false;
        mine.held = false;
        if (!(pair[0] < pair[1])) return kErrLimitPair;
    } else if (!(pair[0] < pair[1])) {
        mine = {true, value};
        return 0;
    }
    mine.held = false;
    soft[joint] = {pair[0], pair[1]};
    publishLocked();
    return 0;
}

int SimArm::setMinLimit(int joint, double value) {
    if (joint < 0 || joint > 5 || !std::isfinite(value)) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->setSoftBound(joint, 0, value);
}

int SimArm::setMaxLimit(int joint, double value) {
    if (joint < 0 || joint > 5 || !std::isfinite(value)) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->setSoftBound(joint, 1, value);
}

int SimArm::setReferenceDynamic(double vel, double acc, double dec, double jerk) {
    if (!std::isfinite(vel) || !std::isfinite(acc) || vel <= 0 || acc <= 0) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    Impl& m = *impl_;
    m.refDyn[0] = vel;
    m.refDyn[1] = acc;
    // The adapter marks absent values with -1; keep the previous ones then.
    if (std::isfinite(dec) && dec > 0) m.refDyn[2] = dec;
    if (std::isfinite(jerk) && jerk > 0) m.refDyn[3] = jerk;
    m.publishLocked();
    return 0;
}

int SimArm::setSpeedRatio(double ratio) {
    if (!std::isfinite(ratio) || ratio < 0) return kErrBadArgument;
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->ratio = ratio > 1.0 ? 1.0 : ratio;
    impl_->publishLocked();
    return 0;
}

int SimArm::kineInit(const double dh[6][4]) {
    if (!dh) return kErrBadArgument;
    DhTable t;
    for (int i = 0; i < 6; ++i) t[i] = {dh[i][0], dh[i][1], dh[i][2], dh[i][3]};
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->motion.idle()) return kErrBusy;
    const int e = impl_->kin.load(t);
    impl_->publishLocked();
    return e;
}

int SimArm::fkine(const double joints[6], double pose[6], unsigned char* config, const double tool[6],
                  const double frame[6]) const {
    if (!joints || !pose || !finite(joints, 6) || (tool && !finite(tool, 6)) || (frame && !finite(frame, 6)))
        return kErrBadArgument;
    Joints q;
    for (int j = 0; j < 6; ++j) q[j] = joints[j];
    uint8_t c = 0;
    Transform flange;
    {
        std::lock_guard<std::mutex> lock(impl_->mu);
        flange = impl_->kin.forward(q, &c);
    }
    transformToPose(inverse(optionalPose(frame)) * flange * optionalPose(tool), pose);
    if (config) *config = c;
    return 0;
}

int SimArm::ikine(const double pose[6], double joints[6], unsigned char config, const double tool[6],
                  const double frame[6]) const {
    if (!joints || !pose || !finite(pose, 6) || !finite(joints, 6) || (tool && !finite(tool, 6)) ||
        (frame && !finite(frame, 6)))
        return kErrBadArgument;
    const Transform flange = optionalPose(frame) * poseToTransform(pose) * inverse(optionalPose(tool));
    Joints seed, out;
    for (int j = 0; j < 6; ++j) seed[j] = joints[j];
    int e;
    {
        std::lock_guard<std::mutex> lock(impl_->mu);
        e = impl_->kin.inverse(flange, config, seed, out);
    }
    if (e == 0)
        for (int j = 0; j < 6; ++j) joints[j] = out[j];
    return e;
}

}  // namespace srciport
