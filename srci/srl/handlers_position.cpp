// SPDX-License-Identifier: Apache-2.0
// Position, kinematics on request, robot data, configuration exchange and digital I/O.
#include <cstring>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"

using namespace srci;

namespace {

constexpr unsigned kCurrent = 255;
constexpr USInt kStateInitialisedDisabled = 71;  // 'G'
constexpr USInt kStateInitialisedEnabled = 72;   // 'H'

template <std::size_t N>
void putText(Char (&field)[N], const char* value) {
    std::memset(field, 0, N);
    std::memcpy(field, value, std::min(N, std::strlen(value)));
}

struct Kinematic {
    POSE pose;
    SEW sew;
};

Kinematic forward(const JOINTS& joints, int tool, int frame) {
    RcItf* rc = RcItf::get(true);
    Kinematic k;
    rc->fkine(joints, k.pose, k.sew, rc->getTool(tool), rc->getUsrFrame(frame));
    return k;
}

void putCartesian(LRob_typeServerRobotShortCartesianPosition& c, const Kinematic& k) {
    handler::putPose(c, k.pose);
    handler::putConfig(c.Config, k.sew);
}

}  // namespace

void srl_exchange_configure_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdExchangeConfiguration>(in);
    // The three refusals answer without a response record.
    if (cmd.WaitAtBlendingZone) {
        *err = ERR_CMD_PARAMETER_NOT_SUPPORTED_WAIT_AT_BLENDING_ZONE;
        return;
    }
    if (cmd.AllowSecondaryWhileCSP) {
        *err = ERR_CMD_SPECIFIC_CALLSUBPROGRAM_PROG_NR_INVALID;
        return;
    }
    if (cmd.AllowDynamicBlending) {
        *err = ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_BEHAVIOR;
        return;
    }
    helper.setLogLevel(cmd.LogLevel);
    helper.setSyncParam(cmd.SyncEnable);
    LRob_typeServerRspExchangeConfiguration rsp{};
    rsp.State.acceleratingSupported = 1;
    rsp.State.stepModeExactStopActive = 0;
    rsp.State.stepModeBlendingActive = 0;
    rsp.State.decceleratingSupported = 0;
    rsp.State.constantVelocitySupported = 0;
    handler::encode(rsp, out);
    *err = 0;
}

void srl_robot_read_data_funs(HandlerIn in, HandlerOut out, int* err) {
    (void)handler::decode<LRob_typeServerCmdReadRobotData>(in);
    LRob_typeServerRspReadRobotData rsp{};
    SRCI_LOG(zlog::ZLogLvInfo, "read robot data");
    // Placeholder identity; the real one reaches SRCI through the initialisation parameters.
    putText(rsp.RCManufacturer, "testRCM");
    putText(rsp.RCOrderID, "testRCO");
    putText(rsp.RCSerialNumber, "testRCS");
    putText(rsp.RASerialNumber, "testRAS");
    putText(rsp.RCFirmwareVersion, "testRCF");
    rsp.RCInterpreterVersion[0] = 1;
    rsp.AxisJointUsed = 0x7E;
    putText(rsp.RobotID, "SRL_InterpRob");
    handler::encode(rsp, out);
    *err = 0;
}

void srl_read_actual_position_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerCmdReadActualPosition>(in);
    LRob_typeServerRspReadActualPosition rsp{};
    try {
        RcItf* rc = RcItf::get(true);
        const JOINTS joints = rc->getCurrentJPos();
        handler::putJoints(rsp.Joint, joints);
        const int tool =
            cmd.coordinateSystem.ToolNo >= kCurrent ? rc->getCurrentTooldId() : cmd.coordinateSystem.ToolNo;
        const int frame =
            cmd.coordinateSystem.FrameNo >= kCurrent ? rc->getCurrentUserFrameId() : cmd.coordinateSystem.FrameNo;
        rsp.CoordinateSystem.ToolNo = static_cast<USInt>(tool);
        rsp.CoordinateSystem.FrameNo = static_cast<USInt>(frame);
        putCartesian(rsp.Cartesian, forward(joints, tool, frame));
        *err = 0;
    } catch (int code) {
        *err = code;
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
}

void srl_read_actual_position_cyclic_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerRobotCoordinateSystemParameters>(in);
    LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data rsp{};
    try {
        RcItf* rc = RcItf::get(true);
        const uint8_t activeTool = rc->getCurrentTooldId();
        const uint8_t activeFrame = rc->getCurrentUserFrameId();
        rsp.CurrentCoordinateSystem.ToolNo = activeTool;
        rsp.CurrentCoordinateSystem.FrameNo = activeFrame;
        const uint8_t tool = cmd.ToolNo < kCurrent ? cmd.ToolNo : activeTool;
        const uint8_t frame = cmd.FrameNo < kCurrent ? cmd.FrameNo : activeFrame;
        rsp.CoordinateSystem.ToolNo = tool;
        rsp.CoordinateSystem.FrameNo = frame;
        putCartesian(rsp.Position, forward(rc->getCurrentJPos(), tool, frame));
        LRob_typeSystemState state{};
        srl_get_system_state(&state);
        // The first cyclic request after a disable, once the interface is initialised, also
        // makes the PLC's coordinate system the controller's active one.
        const bool initialised =
            state.state.riState == kStateInitialisedDisabled || state.state.riState == kStateInitialisedEnabled;
        if (helper.disableTrigged && initialised) {
            helper.disableTrigged = false;
            rc->setToolId(tool);
            rc->setUsrFrameId(frame);
            rsp.CurrentCoordinateSystem = rsp.CoordinateSystem;
        }
        *err = 0;
    } catch (int code) {
        *err = code;
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
}

void srl_forward_kinematics_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerRobotJointPosition>(in);
    LRob_typeServerRobotCartesianPosition rsp{};
    try {
        putCartesian(rsp.Position, forward(handler::jointsOf(cmd.Joint), -1, -1));
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

// The requested configuration bits are used when any is set, the current configuration
// otherwise (a request of all zeros is the common "don't care").
void srl_inverse_kinematics_funs(HandlerIn in, HandlerOut out, int* err) {
    const auto cmd = handler::decode<LRob_typeServerRobotCartesianPosition>(in);
    LRob_typeServerRobotJointPosition rsp{};
    try {
        RcItf* rc = RcItf::get(true);
        SEW sew = rc->getSew();
        const auto& c = cmd.Position.Config;
        if (c.Shoulder || c.Elbow || c.Wrist) {
            sew.s = c.Shoulder;
            sew.e = c.Elbow;
            sew.w = c.Wrist;
        }
        JOINTS joints = rc->getCurrentJPos();
        rc->ikine(handler::poseOf(cmd.Position), joints, sew, rc->getTool(-1), rc->getUsrFrame(-1));
        handler::putJoints(rsp.Joint, joints);
    } catch (int code) {
        EDK_Helper::logErr(code);
    }
    handler::encode(rsp, out);
    *err = 0;
}

void srl_read_digital_io_input_funs(HandlerIn, HandlerOut out, int* err) {
    SRCI_LOG(zlog::ZLogLvInfo, "not implement");
    handler::encode(LRob_typeServerRspReadDigitalIO{}, out);
    *err = 0;
}

void srl_read_digital_io_output_funs(HandlerIn, HandlerOut out, int* err) {
    SRCI_LOG(zlog::ZLogLvInfo, "not implement");
    handler::encode(LRob_typeServerRspReadDigitalIO{}, out);
    *err = 0;
}

void srl_write_digital_io_output_funs(HandlerIn, HandlerOut out, int* err) {
    SRCI_LOG(zlog::ZLogLvInfo, "not implement");
    handler::encode(LRob_typeServerRspWriteDigitalOutputs{}, out);
    *err = 0;
}
