// SPDX-License-Identifier: Apache-2.0
// Moves, stop/interrupt/continue and jogs. Parameters arrive checked and scaled; only the
// translation into port calls and of refusals into error codes happens here.
#include "itf_rc/rcitf_internal.h"

namespace srci {
namespace {

void jointsToArray(const JOINTS& j, double out[6]) {
    for (unsigned char i = 1; i <= RA_JOINT_NUM; ++i) out[i - 1] = j[i];
}

}  // namespace

void RcItf::robotMoveJoint(MoveCmdParam p) {
    setToolId(p.toolId);
    double target[6];
    jointsToArray(p.jpos, target);
    const auto& g = p.generalParam;
    if (rcitf_detail::cmd()->movjAbs(target, g.vel, g.acc, g.trajId, g.tol) != 0)
        throw static_cast<int>(err_move_joint);
}

void RcItf::robotMoveLine(MoveCmdParam p) {
    setToolId(p.toolId);
    setUsrFrameId(p.frameId);
    double target[6];
    p.pos.toArray(target);
    const auto& g = p.generalParam;
    if (rcitf_detail::cmd()->movl(target, g.vel, g.acc, g.trajId, g.tol) != 0) throw static_cast<int>(err_move_linear);
}

void RcItf::robotMoveDirect(MoveCmdParam p) {
    JOINTS current = getCurrentJPos();
    setToolId(p.toolId);
    setUsrFrameId(p.frameId);
    const POSE frame = getUsrFrame(p.frameId);
    const POSE tool = getTool(p.toolId);
    POSE currentPose;
    SEW currentSew;
    fkine(current, currentPose, currentSew, tool, frame);
    const SEW wanted = calcSew(p.sewConfigMode, p.sewTarget, currentSew);
    // Only free turn numbers are supported; checked after the kinematics on purpose so an
    // unreachable current pose is reported first.
    if (p.turnMode != static_cast<uint8_t>(TurnModeEnum::FreeIt)) throw static_cast<int>(err_turnMode);
    JOINTS target = current;
    ikine(p.pos, target, wanted, tool, frame);
    double joints[6];
    jointsToArray(target, joints);
    const auto& g = p.generalParam;
    if (rcitf_detail::cmd()->movjAbs(joints, g.vel, g.acc, g.trajId, g.tol) != 0)
        throw static_cast<int>(err_move_direct);
}

void RcItf::checkSpeedAcc(double vel, double acc) {
    if (vel < 0 || acc < 0) throw static_cast<int>(err_move);
}

void RcItf::robotMoveStop() {
    if (rcitf_detail::cmd()->motionStop() != 0) throw static_cast<int>(err_stop);
}

void RcItf::robotMoveInterrupt() {
    if (rcitf_detail::cmd()->motionPause() != 0) throw static_cast<int>(err_pause);
}

void RcItf::robotMoveContinue() {
    if (rcitf_detail::cmd()->motionContinue() != 0) throw static_cast<int>(err_continue);
}

int RcItf::jogmode_srci2veld(JogMode m) {
    switch (m) {
        case JogMode::Frame:
            return 0;
        case JogMode::Tool:
            return 1;
        case JogMode::Axes:
            return 2;
    }
    throw "wrong jog mode";
}

void RcItf::jog(JogCmdParam p) {
    if (p.direction == 0) {
        robotJogStop();
        return;
    }
    rcitf_detail::lastJogCmd() = p;
    setOperationMode(OperationMode::External_Automatic);
    const int mode = jogmode_srci2veld(p.mode);
    setToolId(p.toolId);
    setUsrFrameId(p.frameId);
    if (p.distance >= 0.001 || p.distance <= -0.001)
        rcitf_detail::cmd()->jogIncr(mode, p.direction, p.speed, p.distance);
    else rcitf_detail::cmd()->jogCont(mode, p.direction, p.speed, p.distance);
}

void RcItf::robotJogStop() {
    const JogCmdParam& last = rcitf_detail::lastJogCmd();
    rcitf_detail::cmd()->jogStop(jogmode_srci2veld(last.mode), last.direction);
}

}  // namespace srci
