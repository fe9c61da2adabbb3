// SPDX-License-Identifier: Apache-2.0
// Forward/inverse kinematics through the port, configuration choice, turn numbers and frame
// conversion.
#include <cmath>
#include <cstring>

#include "itf_rc/rcitf_internal.h"

namespace srci {

namespace {

// The last forward solution of this thread and everything it was computed from. The cyclic
// position asks for the same solution every cycle while the arm stands; the arm's kinematic
// table is part of the key, as the status reports it, so a new table is never answered from
// the old one.
struct ForwardMemo {
    bool valid = false;
    double joints[6], tool[6], frame[6], dh[6][4];
    double pose[6];
    unsigned char config;
};

bool same(const double* a, const double* b, std::size_t n) { return std::memcmp(a, b, n * sizeof(double)) == 0; }

}  // namespace

void RcItf::fkine(JOINTS j, POSE& pose, SEW& sew, POSE tool, POSE frame) {
    thread_local ForwardMemo memo;
    double joints[6], t[6], f[6], out[6] = {};
    for (unsigned char i = 1; i <= RA_JOINT_NUM; ++i) joints[i - 1] = j[i];
    tool.toArray(t);
    frame.toArray(f);
    const auto& dh = rcitf_detail::stat().ra_dh_param;
    if (!(memo.valid && same(memo.joints, joints, 6) && same(memo.tool, t, 6) && same(memo.frame, f, 6) &&
          same(&memo.dh[0][0], &dh[0][0], 24))) {
        memo.valid = false;
        if (rcitf_detail::readOnly().fkine(joints, memo.pose, &memo.config, t, f) != 0)
            throw static_cast<int>(err_fkine);
        std::memcpy(memo.joints, joints, sizeof joints);
        std::memcpy(memo.tool, t, sizeof t);
        std::memcpy(memo.frame, f, sizeof f);
        std::memcpy(memo.dh, dh, sizeof memo.dh);
        memo.valid = true;
    }
    std::memcpy(out, memo.pose, sizeof out);
    pose = POSE(out);
    sew.fromInt(memo.config);
}

void RcItf::ikine(POSE pose, JOINTS& joints, SEW sew, POSE tool, POSE frame) {
    double p[6], t[6], f[6], result[6];
    pose.toArray(p);
    tool.toArray(t);
    frame.toArray(f);
    for (unsigned char i = 1; i <= RA_JOINT_NUM; ++i) result[i - 1] = joints[i];
    if (rcitf_detail::readOnly().ikine(p, result, sew.toInt(), t, f) != 0) throw static_cast<int>(err_ikine);
    joints = result;
}

// FreeIt keeps the current configuration just like NoChange; modes above 4 act as 4.
bool RcItf::calcSew_each(unsigned char mode, bool target, bool current) {
    switch (mode) {
        case 0:
            return target;
        case 1:
        case 2:
            return current;
        case 3:
            return false;
        default:
            return true;
    }
}

SEW RcItf::calcSew(SEWConfig mode, SEW target, SEW current) {
    SEW result;
    result.s = calcSew_each(mode.s, target.s, current.s);
    result.e = calcSew_each(mode.e, target.e, current.e);
    result.w = calcSew_each(mode.w, target.w, current.w);
    return result;
}

SEW RcItf::getCurrentSEW() {
    POSE pose;
    SEW sew;
    const JOINTS current = getCurrentJPos();
    fkine(current, pose, sew, getTool(-1), getUsrFrame(-1));
    return sew;
}

// Full revolutions: positive angles count 0..7, negative ones 8..15; anything outside
// +-2880 degrees (or not a number) quietly gives 0.
uint8_t RcItf::getTurnNumber(double angle) {
    if (!(angle >= -2880.0 && angle < 2880.0)) return 0;
    if (angle >= 0.0) return static_cast<uint8_t>(std::floor(angle / 360.0));
    // Negative ranges include their end nearer zero: -360 is turn 8, -360.001 turn 9.
    return static_cast<uint8_t>(7 + std::ceil(-angle / 360.0));
}

double RcItf::calcRefJposByTurnNumber(unsigned char n) {
    if (n <= 7) return n * 360.0 + 180.0;
    if (n <= 15) return -(n - 8) * 360.0 - 180.0;
    return 0.0;
}

POSE RcItf::calFrame_world_to_user(POSE pose, POSE frame) {
    double p[6], f[6], out[6] = {};
    pose.toArray(p);
    frame.toArray(f);
    rcitf_detail::readOnly().calFrameWorldToUser(p, f, out);
    return POSE(out);
}

POSE RcItf::calFrame_user_to_world(POSE pose, POSE frame) {
    double p[6], f[6], out[6] = {};
    pose.toArray(p);
    frame.toArray(f);
    rcitf_detail::readOnly().calFrameUserToWorld(p, f, out);
    return POSE(out);
}

}  // namespace srci
