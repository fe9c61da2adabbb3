// SPDX-License-Identifier: Apache-2.0
// Absolute moves become queued move records; the relative commands carry the jog telegram and
// become jog records. Both answer at once: progress reaches the PLC through motion states.
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"
#include "srl/veld_motion_manager.h"

#include <type_traits>

using namespace srci;

namespace {

EDK_CMD moveRecord(const MoveCmdParam& param, LRob_typeServerMotionStateEnum state, int errorCode) {
    EDK_CMD cmd;
    cmd.type = MotionCmdType::Move;
    cmd.moveCmd = param;
    cmd.state = state;
    cmd.errorCode = errorCode;
    return cmd;
}

SEWConfig configModeOf(const Byte mode[2]) {
    return SEWConfig{static_cast<uint8_t>(mode[0] & 0x0F), static_cast<uint8_t>(mode[0] >> 4),
                     static_cast<uint8_t>(mode[1] & 0x0F)};
}

SEW configOf(const LRob_typeServerRobotConfig& c) {
    SEW sew;
    sew.s = c.Shoulder;
    sew.e = c.Elbow;
    sew.w = c.Wrist;
    return sew;
}

// Shared by the linear and direct handlers: everything but the kind, the scaling and the
// checks is the same record layout.
template <class Cmd>
void fillCartesian(MoveCmdParam& param, const Cmd& cmd) {
    param.toolId = cmd.CoordSystem.ToolNo;
    param.frameId = cmd.CoordSystem.FrameNo;
    param.pos = handler::poseOf(cmd.Position);
    param.sewTarget = configOf(cmd.Position.Config);
    param.sewConfigMode = configModeOf(cmd.ConfigMode);
    param.turnMode = cmd.TurnMode;
}

// Set once the command's execution mode has been applied to the group.
bool abortingModeApplied = false;

void applyAbortingMode(unsigned int executionMode) {
    helper.checkAbortingMode(executionMode);
    abortingModeApplied = true;
}

// The failed command keeps its place in the queue and is reported in queue order. An aborting
// command aborts the others even when its own parameters fail before the checks: the PLC is told
// the others are aborted, so they must never run on.
template <class Cmd>
void queueMove(MoveCmdParam p, const Cmd& cmd, void (*fillAndCheck)(MoveCmdParam&, const Cmd&)) {
    abortingModeApplied = false;
    try {
        fillAndCheck(p, cmd);
        motionManagerTemp.pushCmd(moveRecord(p, LRob_typeServerMotionStateMin, 0));
    } catch (int code) {
        if (!abortingModeApplied) helper.checkAbortingMode(cmd.Header.Reserved_ExecutionMode);
        motionManagerTemp.pushCmd(moveRecord(p, LRob_typeServerMotionStateError, code));
        EDK_Helper::logMotionErr(p, code);
    }
}

void axesFillAndCheck(MoveCmdParam& p, const LRob_typeServerCmdMoveAxesAbs& cmd) {
    p.generalParam.vel = helper.calAxesVel(cmd.DynamicParameter.VelocityRate);
    p.generalParam.acc = helper.calAxesAcc(cmd.DynamicParameter.AccelerationRate);
    p.generalParam.tol = helper.calTolerance(cmd.BlendingMode, cmd.BlendingParameter[0]);
    SRCI_LOG(zlog::ZLogLvInfo, handler::text(p, ", override: ", RcItf::get(true)->GetSpeedRatio()));
    applyAbortingMode(cmd.Header.Reserved_ExecutionMode);
    helper.checkMotionCmdTime(cmd.Time);
    helper.checkMotionCmdDecJerk(cmd.DynamicParameter.DecelerationRate, cmd.DynamicParameter.JerkRate);
    helper.checkManipuation(cmd.Manipulation & 1);
    helper.checkTrig(cmd.TriggerHeader);
}

void linearFillAndCheck(MoveCmdParam& p, const LRob_typeServerCmdMoveLinAbs& cmd) {
    p.generalParam.vel = helper.calLinearVel(cmd.DynamicParameter.VelocityRate);
    p.generalParam.acc = helper.calLinearAcc(cmd.DynamicParameter.AccelerationRate);
    p.generalParam.tol = helper.calTolerance(cmd.BlendingMode, cmd.BlendingParameter[0]);
    SRCI_LOG(zlog::ZLogLvInfo, handler::text(p, "\noverride: ", RcItf::get(true)->GetSpeedRatio(),
                                             "\nreference_vel: ", helper.getStoredRefDyn_linear().vel,
                                             "\ndefaultDyn_vel: ", helper.getStoredDefaultDyn().vel_rate));
    applyAbortingMode(cmd.Header.Reserved_ExecutionMode);
    helper.checkMotionCmdTime(cmd.Time);
    helper.checkMotionCmdTurnMode(cmd.TurnMode);
    helper.checkMotionCmdOriMode(cmd.OriMode);
    helper.checkMotionCmdDecJerk(cmd.DynamicParameter.DecelerationRate, cmd.DynamicParameter.JerkRate);
    helper.checkMotionCmdConfigMode_moveLinear(p.sewConfigMode);
    helper.checkManipuation(cmd.Manipulation & 1);
    helper.checkTrig(cmd.TriggerHeader);
}

void directFillAndCheck(MoveCmdParam& p, const LRob_typeServerCmdMoveDirectAbs& cmd) {
    p.generalParam.vel = helper.calAxesVel(cmd.DynamicParameter.VelocityRate);
    p.generalParam.acc = helper.calAxesAcc(cmd.DynamicParameter.AccelerationRate);
    p.generalParam.tol = helper.calTolerance(cmd.BlendingMode, cmd.BlendingParameter[0]);
    SRCI_LOG(zlog::ZLogLvInfo, handler::text(p, ", override: ", RcItf::get(true)->GetSpeedRatio()));
    applyAbortingMode(cmd.Header.Reserved_ExecutionMode);
    helper.checkMotionCmdTurnMode(cmd.TurnMode);
    helper.checkMotionCmdTime(cmd.Time);
    helper.checkMotionCmdDecJerk(cmd.DynamicParameter.DecelerationRate, cmd.DynamicParameter.JerkRate);
    helper.checkMotionCmdConfigMode_moveDirect(p.sewConfigMode);
    helper.checkManipuation(cmd.Manipulation & 1);
    helper.checkTrig(cmd.TriggerHeader);
}

template <class Cmd, class Rsp>
void absoluteMove(HandlerIn in, HandlerOut out, int* err, MotionCmdType2 type,
                  void (*fillAndCheck)(MoveCmdParam&, const Cmd&)) {
    const Cmd cmd = handler::decode<Cmd>(in);
    const Rsp rsp{};
    MoveCmdParam param;
    param.type = type;
    param.generalParam.trajId = EDK_Helper::getCmdID(in);
    if constexpr (std::is_same_v<Cmd, LRob_typeServerCmdMoveAxesAbs>) {
        param.toolId = cmd.ToolNo;
        param.jpos = handler::jointsOf(cmd.Joint);
    } else {
        fillCartesian(param, cmd);
    }
    queueMove(param, cmd, fillAndCheck);
    *err = 0;
    handler::encode(rsp, out);
}

void relativeMove(HandlerIn in, HandlerOut out, int* err, JogMode mode) {
    const auto cmd = handler::decode<LRob_typeServerCmdMoveJog>(in);
    const LRob_typeServerRspMoveJog rsp{};
    try {
        JogCmdParam jog;
        jog.mode = mode;
        jog.jogId = EDK_Helper::getCmdID(in);
        jog.direction = EDK_Helper::getJogDirection(cmd.JogControl);
        // A joint jog always moves by the rotation increment; Cartesian jogs pick the increment
        // that matches the named direction.
        const bool translation = mode != JogMode::Axes && EDK_Helper::isTranslation(jog.direction);
        jog.distance = translation ? cmd.IncrementalTranslation : cmd.IncrementalRotation;
        const int velocity = mode == JogMode::Axes ? helper.JogAxesVelocity : helper.JogLinearVelocity;
        jog.speed = cmd.JogOverride * velocity / helper.percentageConvertFactor;
        jog.toolId = cmd.CoordSystem.ToolNo < 255 ? cmd.CoordSystem.ToolNo : -1;
        jog.frameId = cmd.CoordSystem.FrameNo < 255 ? cmd.CoordSystem.FrameNo : -1;
        SRCI_LOG(zlog::ZLogLvInfo, handler::text(jog));
        EDK_CMD record;
        record.type = MotionCmdType::Jog;
        record.jogCmd = jog;
        motionManagerTemp.pushCmd(record);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

}  // namespace

void srl_move_axes_absolute_funs(HandlerIn in, HandlerOut out, int* err) {
    absoluteMove<LRob_typeServerCmdMoveAxesAbs, LRob_typeServerRspMoveAxesAbs>(in, out, err, MotionCmdType2::Axes,
                                                                               axesFillAndCheck);
}

void srl_move_linear_absolute_funs(HandlerIn in, HandlerOut out, int* err) {
    absoluteMove<LRob_typeServerCmdMoveLinAbs, LRob_typeServerRspMoveLinAbs>(in, out, err, MotionCmdType2::Linear,
                                                                             linearFillAndCheck);
}

void srl_move_direct_absolute_funs(HandlerIn in, HandlerOut out, int* err) {
    absoluteMove<LRob_typeServerCmdMoveDirectAbs, LRob_typeServerRspMoveDirectAbs>(in, out, err, MotionCmdType2::Direct,
                                                                                   directFillAndCheck);
}

void srl_move_linear_relative_funs(HandlerIn in, HandlerOut out, int* err) {
    relativeMove(in, out, err, JogMode::Frame);
}
void srl_move_joint_relative_funs(HandlerIn in, HandlerOut out, int* err) { relativeMove(in, out, err, JogMode::Axes); }
void srl_move_linear_relative_tools_funs(HandlerIn in, HandlerOut out, int* err) {
    relativeMove(in, out, err, JogMode::Tool);
}
