// SPDX-License-Identifier: Apache-2.0
// Position, kinematics, robot data, configuration exchange, limits and work areas.
#include "handler_fixture.h"

using namespace handler_test;
using namespace srci;

namespace {

TEST_F(HandlerTest, CyclicPositionSwitchesTheCoordinateSystemOnceAfterADisable) {
    RcItf::get(true)->setToolId(1);
    RcItf::get(true)->setUsrFrameId(1);
    struct Row {
        bool disabled;
        unsigned char riState;
        USInt tool, frame;
        bool switches;
        int toolAfter, frameAfter;
    } rows[] = {
        {true, 70, 2, 3, false, 1, 1},   // interface not initialised yet
        {false, 71, 2, 3, false, 1, 1},  // no disable since the last switch
        {true, 72, 255, 3, true, 1, 3},  // 255 keeps the active tool
        {true, 71, 2, 3, true, 2, 3},
    };
    for (const Row& r : rows) {
        helper.disableTrigged = r.disabled;
        Intercepted::riState = r.riState;
        LRob_typeServerRobotCoordinateSystemParameters cmd{r.tool, r.frame};
        const uint32_t toolBefore = arm().cur_tool_id;
        const auto a = call<LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data>(
            srl_read_actual_position_cyclic_funs, cmd);
        EXPECT_EQ(a.err, 0);
        EXPECT_EQ(helper.disableTrigged, r.disabled && !r.switches) << int(r.riState);
        EXPECT_EQ(arm().cur_tool_id, r.switches ? uint32_t(r.toolAfter) : toolBefore) << int(r.riState);
        EXPECT_EQ(a.rsp.CoordinateSystem.ToolNo, r.tool == 255 ? toolBefore : r.tool);
        EXPECT_EQ(a.rsp.CurrentCoordinateSystem.ToolNo, r.switches ? r.toolAfter : int(toolBefore));
        if (r.switches) {
            EXPECT_EQ(arm().cur_usrframe_id, uint32_t(r.frameAfter));
        }
    }
    Intercepted::riState = 0;
}

TEST_F(HandlerTest, ActualPositionAndKinematicsUseTheRequestedOrActiveSystems) {
    RcItf::get(true)->setToolId(0);
    RcItf::get(true)->setUsrFrameId(0);
    LRob_typeServerCmdReadActualPosition cmd{};
    cmd.coordinateSystem = {255, 255};
    const auto a = call<LRob_typeServerRspReadActualPosition>(srl_read_actual_position_funs, cmd);
    ASSERT_EQ(a.err, 0);
    const SrciPortStat s = arm();
    EXPECT_EQ(a.rsp.CoordinateSystem.ToolNo, 0);
    EXPECT_NEAR(a.rsp.Joint.J2, s.act_jpos[1], 1e-3);
    EXPECT_NEAR(a.rsp.Cartesian.X, s.act_cartpos[0], 1e-2);
    EXPECT_NEAR(a.rsp.Cartesian.RZ, s.act_cartpos[5], 1e-2);

    LRob_typeServerRobotJointPosition joints{};
    joints.Joint = {10, -10, 70, 0, 50, 0, 0};
    const auto fk = call<LRob_typeServerRobotCartesianPosition>(srl_forward_kinematics_funs, joints);
    LRob_typeServerRobotCartesianPosition pose{};
    pose.Position = fk.rsp.Position;
    const auto ik = call<LRob_typeServerRobotJointPosition>(srl_inverse_kinematics_funs, pose);
    EXPECT_NEAR(ik.rsp.Joint.J1, 10, 1e-2);
    EXPECT_NEAR(ik.rsp.Joint.J3, 70, 1e-2);
    EXPECT_NEAR(ik.rsp.Joint.J5, 50, 1e-2);
}

TEST_F(HandlerTest, ConfigurationExchangeRefusalsLeaveEverythingAsItWas) {
    struct Row {
        uint8_t waitAtBlending, secondaryWhileCsp, dynamicBlending;
        int err;
    } rows[] = {
        {1, 0, 1, 36385},
        {0, 1, 0, ERR_CMD_SPECIFIC_CALLSUBPROGRAM_PROG_NR_INVALID},
        {0, 0, 1, ERR_CMD_SPECIFIC_INVALID_PARAMETER_BLENDING_BEHAVIOR},
        {0, 0, 0, 0},
    };
    for (const Row& r : rows) {
        helper.setLogLevel(20);
        LRob_typeServerCmdExchangeConfiguration cmd{};
        cmd.WaitAtBlendingZone = r.waitAtBlending;
        cmd.AllowSecondaryWhileCSP = r.secondaryWhileCsp;
        cmd.AllowDynamicBlending = r.dynamicBlending;
        cmd.LogLevel = 40;
        const auto a = call<LRob_typeServerRspExchangeConfiguration>(srl_exchange_configure_funs, cmd);
        EXPECT_EQ(a.err, r.err);
        EXPECT_EQ(a.responseWritten, r.err == 0) << "refusals answer without a record";
        EXPECT_EQ(helper.getLogLevel(), r.err ? 20 : 40);
        if (r.err == 0) {
            EXPECT_EQ(a.rsp.State.acceleratingSupported, 1);
        }
    }
}

TEST_F(HandlerTest, RobotDataAndDigitalIoAnswerFixedRecords) {
    const auto a = call<LRob_typeServerRspReadRobotData>(srl_robot_read_data_funs, LRob_typeServerCmdReadRobotData{});
    EXPECT_EQ(a.err, 0);
    EXPECT_EQ(std::string(a.rsp.RobotID, 13), "SRL_InterpRob");
    EXPECT_EQ(std::string(a.rsp.RCManufacturer, 7), "testRCM");
    EXPECT_EQ(a.rsp.RCManufacturer[7], 0);
    EXPECT_EQ(a.rsp.AxisJointUsed, 0x7E);
    EXPECT_EQ(a.rsp.RCInterpreterVersion[0], 1);
    for (Handler io : {srl_read_digital_io_input_funs, srl_read_digital_io_output_funs}) {
        const auto d = call<LRob_typeServerRspReadDigitalIO>(io, LRob_typeServerCmdHeaderOnly{});
        EXPECT_EQ(d.err, 0);
        EXPECT_TRUE(d.responseWritten);
    }
}

TEST_F(HandlerTest, LimitsAreWrittenOnlyThroughWorkAreaZero) {
    EXPECT_EQ(call<LRob_typeServerRspWriteRobotSWLimit>(srl_write_robot_software_limit_funs,
                                                        LRob_typeServerCmdWriteRobotSWLimit{})
                  .err,
              36625);
    double before[12];
    std::memcpy(before, arm().soft_limits, sizeof before);
    for (USInt area : {3, 0}) {
        LRob_typeServerCmdWriteWorkArea cmd{};
        cmd.WorkAreaNo = area;
        cmd.WorkAreaData.Data.JointLowerLimit = {-150, -90, -50, -160, -100, -300, 0};
        cmd.WorkAreaData.Data.JointUpperLimit = {150, 130, 140, 160, 100, 300, 0};
        EXPECT_EQ(call<LRob_typeServerRspWriteWorkArea>(srl_write_workarea_data_funs, cmd).err, 0);
        const SrciPortStat s = arm();
        EXPECT_EQ(s.soft_limits[0], area == 0 ? -150 : before[0]) << int(area);
        EXPECT_EQ(s.soft_limits[1], area == 0 ? 150 : before[1]) << int(area);
        EXPECT_EQ(s.soft_limits[11], area == 0 ? 300 : before[11]) << int(area);
    }
    for (USInt area : {0, 3}) {
        LRob_typeServerCmdReadWorkArea cmd{};
        cmd.WorkAreaNo = area;
        const auto a = call<LRob_typeServerRspReadWorkArea>(srl_read_workarea_data_funs, cmd);
        EXPECT_EQ(a.err, 0);
        EXPECT_EQ(a.rsp.WorkAreaNo, area);
        EXPECT_FLOAT_EQ(a.rsp.WorkAreaData.Data.JointLowerLimit.J1, area == 0 ? -150 : 0);
        EXPECT_FLOAT_EQ(a.rsp.WorkAreaData.Data.JointUpperLimit.J2, area == 0 ? 130 : 0);
        EXPECT_EQ(a.rsp.WorkAreaData.Data.ReactionMode, area == 0 ? 2 : 0);
    }
    const auto limits = call<LRob_typeServerRspReadRobotSWLimit>(srl_read_robot_software_limit_funs,
                                                                 LRob_typeServerCmdReadRobotSWLimit{});
    EXPECT_FLOAT_EQ(limits.rsp.SWLimit.Data.JointLowerLimit.J6, -300);
    EXPECT_FLOAT_EQ(limits.rsp.SWLimit.Data.JointUpperLimit.J6, 300);
}

}  // namespace
