// SPDX-License-Identifier: Apache-2.0
// The initialisation records handed to the interpreter, and the robot state and group commands.
#include <cmath>

#include "handler_fixture.h"

using namespace handler_test;
using namespace srci;

namespace {

TEST_F(HandlerTest, InitialisationRecordsCarryTheStoreAndTheController) {
    ToolData fixed = helper.getStoredTool(3);
    fixed.fixed_tool = true;
    fixed.pose = POSE(1, 2, 3, 0, 0, 45);
    helper.setStoredTool(3, fixed);
    srl_set_robot_init_parameter();
    ASSERT_NE(Intercepted::persistent, nullptr);
    const auto& p = *Intercepted::persistent;
    EXPECT_EQ(p.tools[3].Data.ExternalTCP, 1);
    EXPECT_FLOAT_EQ(p.tools[3].Data.RZ, 45);
    EXPECT_EQ(p.tools[3].isAvailable, 1);
    for (int i = 16; i < 20; ++i) EXPECT_EQ(p.tools[i].isAvailable, 0) << i;
    EXPECT_EQ(p.frames[15].isAvailable, 1);
    EXPECT_FLOAT_EQ(p.referenceDynamics.Data.DecelerationReference, -1);
    EXPECT_FLOAT_EQ(p.defaultDynamics.Data.VelocityRate, 100 * helper.getStoredDefaultDyn().vel_rate);

    // Limits: hard ones truncated toward zero, soft ones as (lower, upper) per joint.
    const SrciPortStat s = arm();
    EXPECT_EQ(p.hardwareLimits.J1_Neg, static_cast<Int>(std::trunc(s.hard_limits[0])));
    EXPECT_EQ(p.hardwareLimits.J6_Pos, static_cast<Int>(std::trunc(s.hard_limits[11])));
    EXPECT_FLOAT_EQ(p.swLimits.Data.JointLowerLimit.J2, s.soft_limits[2]);
    EXPECT_FLOAT_EQ(p.swLimits.Data.JointUpperLimit.J2, s.soft_limits[3]);
    EXPECT_EQ(p.masterData.AxisJointUsed, 0x7E);
    EXPECT_EQ(p.masterData.InterpreterCycleTime, 4);
    EXPECT_EQ(p.generalConfiguration.LifeSignTimeOut, 1000);

    const auto& g = *Intercepted::axesGroup;
    EXPECT_EQ(g.PLC.Sync.Tool + g.PLC.Sync.Frame + g.PLC.Sync.ReferenceDynamics, 3);
    EXPECT_EQ(+g.RC.LengthACR, 50);  // a copy: the record is packed
    EXPECT_EQ(g.RC.UbTool, 19);
    EXPECT_EQ(g.RC.UbWorkarea, 0);
}

TEST_F(HandlerTest, EnableRefusalsComeInOrderAndLeaveTheWishAlone) {
    struct Row {
        uint8_t enable, stepMode, manualStep;
        int err;
        bool requireEnableAfter;
    } rows[] = {
        {1, 0, 0, 0, true},
        {0, 0, 0, 0, false},
        {0, 1, 1, ERR_CMD_SPECIFIC_MANUAL_STEP_NOT_ALLOWED_IN_AUTO_EXT, true},  // before the step mode
        {0, 1, 0, 36375, true},
        {0, 2, 0, ERR_CMD_PARAMETER_NOT_SUPORTED_STEP_MODE_EXACT, true},
        {0, 7, 0, ERR_CMD_SPECIFIC_INVALID_PARAMETER_STEP_MODE, true},
    };
    for (const Row& r : rows) {
        helper.requireEnable = true;
        LRob_typeServerCmdEnableRobot cmd{};
        cmd.Enable = r.enable;
        cmd.StepMode = r.stepMode;
        cmd.ManualStep = r.manualStep;
        const auto a = call<LRob_typeServerRspEnableRobot>(srl_robot_enable, cmd);
        EXPECT_EQ(a.err, r.err) << int(r.stepMode) << "/" << int(r.manualStep);
        EXPECT_EQ(helper.requireEnable, r.requireEnableAfter) << int(r.stepMode);
        EXPECT_EQ(helper.stepMode, r.stepMode) << "stored before it is refused";
        EXPECT_EQ(a.rsp.Enabled, r.err == 0) << "an accepted request answers the arm's enable state";
    }
}

TEST_F(HandlerTest, EnableWithParametersAnswersHoldToRunManualStepAndStepModes) {
    constexpr auto kManualOnlyInStepMode = ERR_CMD_SPECIFIC_MANUAL_STEP_ONLY_ALLOWED_IN_WHEN_STEPMODE_IS_ACTIVE;
    struct Row {
        const char* what;
        uint8_t stepMode, holdToRun, manualStep;
        uint8_t power, seqState, activeCmd, pathLeft, opMode;
        uint16_t secondFlag;
        unsigned short result;
        std::vector<int> serverStates;
    } rows[] = {
        {"plain", 0, 0, 0, 1, 91, 0, 0, 4, 0, 255, {}},
        {"second call", 0, 0, 0, 1, 91, 0, 0, 4, 1, 0, {}},
        {"step exact", 2, 0, 0, 1, 91, 0, 0, 4, 0, err_stepmode_exact, {}},
        {"step blending", 1, 0, 0, 1, 91, 0, 0, 4, 0, err_stepmode_blending, {}},
        {"step invalid", 3, 0, 0, 1, 91, 0, 0, 4, 0, err_stepmode_invalid, {}},
        {"hold, disabled", 0, 1, 0, 0, 93, 1, 0, 4, 0, ERR_CMD_SPECIFIC_CONTINUE_NOT_ENABLED, {}},
        {"hold, off path", 0, 1, 0, 1, 93, 0, 1, 4, 0, ERR_CMD_SPECIFIC_CONTINUE_NOT_ON_PATH, {}},
        {"hold continues", 0, 1, 0, 1, 93, 1, 0, 4, 0, 255, {115}},
        {"manual in auto", 0, 0, 1, 1, 93, 1, 0, 4, 0, err_manual_step, {}},
        {"manual no step", 0, 0, 1, 1, 93, 1, 0, 5, 0, kManualOnlyInStepMode, {}},
        {"manual disabled", 1, 0, 1, 0, 93, 1, 0, 5, 0, ERR_MANUAL_START_WITH_ROBOT_DISABLED, {}},
        {"manual steps", 1, 0, 1, 1, 93, 1, 0, 5, 0, err_stepmode_blending, {115}},
    };
    for (const Row& r : rows) {
        Intercepted::serverStates.clear();
        LRob_typeServerCmdEnableRobot cmd{};
        cmd.StepMode = r.stepMode;
        cmd.HoldToRun = r.holdToRun;
        cmd.ManualStep = r.manualStep;
        LRob_typeSystemState state{};
        state.state.rcPowerState = r.power;
        state.state.rcSequenceState = r.seqState;
        state.taskManager.sequencing.sequence.activeSequence = 1;
        state.taskManager.sequencing.sequence.activeCMD[1] = r.activeCmd;
        if (r.pathLeft) state.taskManager.sequencing.sequence.activeSequence = 0;
        state.taskManager.sequencing.path.isLeft = r.pathLeft;
        state.operationMode = r.opMode;
        state.cmdMemory.enableRobot.lastStepMode = r.stepMode;
        unsigned short result = 0;
        srl_enable_robot_with_param_funs(true, &cmd, &state, r.secondFlag, &result);
        EXPECT_EQ(result, r.result) << r.what;
        EXPECT_EQ(Intercepted::serverStates, r.serverStates) << r.what;
        EXPECT_EQ(state.sequenceExecutionSingleStep, r.stepMode == 1) << r.what;
        EXPECT_EQ(state.cmdMemory.enableRobot.wasHoldToRunPressed, r.holdToRun) << r.what;
        EXPECT_EQ(state.cmdMemory.enableRobot.wasManualStepActive, r.manualStep) << r.what;
    }
}

TEST_F(HandlerTest, DisableWhileMovingAnswers115AndStillStopsAndDropsTheWish) {
    for (bool moving : {true, false}) {
        SetUp();
        if (moving) {
            double joints[6] = {40, 0, 0, 0, 0, 0};
            srciport::SimArm::instance().moveJoint(joints, 20, 50, 3, 0);
            srciport::SimArm::instance().step(0.2);
        }
        int err = -1;
        srl_disable_robot_funs(nullptr, nullptr, &err);
        EXPECT_EQ(err, moving ? err_disable : 0);
        EXPECT_FALSE(helper.requireEnable);
        EXPECT_TRUE(helper.disableTrigged);
        srciport::SimArm::instance().step(2.0);
        EXPECT_EQ(arm().ra_is_moving, 0) << "the group was stopped";
    }
}

TEST_F(HandlerTest, GroupCommandsAnswerZeroAndActOnTheQueue) {
    const auto queued = [] { return motionManagerTemp.motionCmdList_.size() + motionManagerTemp.jogCmdIdList_.size(); };
    EDK_CMD jog;
    jog.type = MotionCmdType::Jog;
    jog.jogCmd.jogId = 4;
    motionManagerTemp.jogCmdIdList_.push_back(jog);
    int err = -1;
    srl_clear_cmd_in_rc_buffer_funs(nullptr, nullptr, &err);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(queued(), 1u) << "clearing the command buffer only logs";
    EXPECT_EQ(logged("clear cmd in buffer..."), 1u);
    srl_set_sequence_funs(nullptr, nullptr, &err);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(queued(), 0u) << "a new sequence drops everything queued";

    LRob_typeServerCmdChangeSpeedOverride speed{};
    speed.Override = 2500;
    EXPECT_EQ((call<LRob_typeServerRspChangeSpeedOverride>(srl_change_speed_override_funs, speed).err), 0);
    EXPECT_DOUBLE_EQ(arm().speed_ratio, 0.25);

    LRob_typeServerCmdSetOperationMode mode{};
    mode.OperationMode = static_cast<USInt>(OperationMode::External_Automatic);
    EXPECT_EQ((call<LRob_typeServerRspSetOperationMode>(srl_set_operate_mode_funs, mode).err), 0);
    mode.OperationMode = static_cast<USInt>(OperationMode::Local_T1);
    EXPECT_EQ((call<LRob_typeServerRspSetOperationMode>(srl_set_operate_mode_funs, mode).err), err_operation_mode);

    srciport::SimArm::instance().injectError(0xF0018);
    EXPECT_EQ((call<LRob_typeServerRspGroupReset>(srl_group_reset_funs, LRob_typeServerCmdGroupReset{}).err), 0);
    int code = 0, type = 0;
    srciport::SimArm::instance().errorInfo(code, type);
    EXPECT_EQ(type, 0) << "group reset leaves the controller's protective state";
}

}  // namespace
