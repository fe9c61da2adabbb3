// SPDX-License-Identifier: Apache-2.0
// Motion handlers: what reaches the motion manager's queue, and that they always answer at once.
#include "handler_fixture.h"

using namespace handler_test;
using namespace srci;

namespace {

LRob_typeServerCmdMoveLinAbs linearMove() {
    LRob_typeServerCmdMoveLinAbs cmd{};
    cmd.DynamicParameter.VelocityRate = 5000;
    cmd.DynamicParameter.AccelerationRate = 5000;
    cmd.DynamicParameter.DecelerationRate = 65535;
    cmd.DynamicParameter.JerkRate = 65535;
    cmd.CoordSystem = {2, 3};
    cmd.OriMode = static_cast<USInt>(OriModeEnum::Linear);
    cmd.TurnMode = static_cast<USInt>(TurnModeEnum::FreeIt);
    cmd.Position.X = 400;
    cmd.Position.Z = 300;
    cmd.Position.RY = 180;
    cmd.ConfigMode[0] = 0x11;  // shoulder and elbow: no change, the only mode linear moves take
    cmd.ConfigMode[1] = 0x01;  // wrist: no change
    return cmd;
}

TEST_F(HandlerTest, AbsoluteMovesQueueTheirRecordOrTheCheckThatFailed) {
    struct Row {
        const char* what;
        void (*edit)(LRob_typeServerCmdMoveLinAbs&);
        LRob_typeServerMotionStateEnum state;
        int errorCode;
    } rows[] = {
        {"valid", [](LRob_typeServerCmdMoveLinAbs&) {}, LRob_typeServerMotionStateMin, 0},
        {"orientation mode", [](LRob_typeServerCmdMoveLinAbs& c) { c.OriMode = 9; }, LRob_typeServerMotionStateError,
         err_oriMode},
        {"elbow free", [](LRob_typeServerCmdMoveLinAbs& c) { c.ConfigMode[0] = 0x21; }, LRob_typeServerMotionStateError,
         err_config_mode},
        {"deceleration", [](LRob_typeServerCmdMoveLinAbs& c) { c.DynamicParameter.DecelerationRate = 10; },
         LRob_typeServerMotionStateError, err_dec},
    };
    for (const Row& r : rows) {
        motionManagerTemp.motionCmdList_.clear();
        auto cmd = linearMove();
        r.edit(cmd);
        const auto a = call<LRob_typeServerRspMoveLinAbs>(srl_move_linear_absolute_funs, cmd, 42);
        EXPECT_EQ(a.err, 0) << r.what << ": a move always answers 0, its fate is its motion state";
        ASSERT_EQ(motionManagerTemp.motionCmdList_.size(), 1u) << r.what;
        const EDK_CMD& q = motionManagerTemp.motionCmdList_.front();
        EXPECT_EQ(q.state, r.state) << r.what;
        EXPECT_EQ(q.errorCode, r.errorCode) << r.what;
        EXPECT_EQ(q.moveCmd.type, MotionCmdType2::Linear);
        EXPECT_EQ(q.moveCmd.generalParam.trajId, 42u);
        EXPECT_EQ(q.moveCmd.toolId, 2);
        EXPECT_EQ(q.moveCmd.frameId, 3);
        EXPECT_DOUBLE_EQ(q.moveCmd.pos[0], 400);
        EXPECT_DOUBLE_EQ(q.moveCmd.pos[4], 180);
        EXPECT_EQ(q.moveCmd.sewConfigMode.s, 1);
        EXPECT_EQ(q.moveCmd.sewConfigMode.e, cmd.ConfigMode[0] >> 4);
        EXPECT_EQ(q.moveCmd.sewConfigMode.w, 1);
        EXPECT_DOUBLE_EQ(q.moveCmd.generalParam.vel, helper.calLinearVel(5000));
    }

    LRob_typeServerCmdMoveAxesAbs axes{};
    axes.DynamicParameter = {2000, 3000, 65535, 65535};
    axes.ToolNo = 4;
    axes.Joint = {10, 20, 30, 40, 50, 60, 0};
    motionManagerTemp.motionCmdList_.clear();
    EXPECT_EQ(call<LRob_typeServerRspMoveAxesAbs>(srl_move_axes_absolute_funs, axes).err, 0);
    ASSERT_EQ(motionManagerTemp.motionCmdList_.size(), 1u);
    const MoveCmdParam& m = motionManagerTemp.motionCmdList_.front().moveCmd;
    EXPECT_EQ(m.type, MotionCmdType2::Axes);
    EXPECT_EQ(m.toolId, 4);
    EXPECT_DOUBLE_EQ(m.jpos[1], 10);
    EXPECT_DOUBLE_EQ(m.jpos[6], 60);
    EXPECT_DOUBLE_EQ(m.generalParam.vel, helper.calAxesVel(2000));
    EXPECT_DOUBLE_EQ(m.generalParam.acc, helper.calAxesAcc(3000));
}

TEST_F(HandlerTest, RelativeMovesBecomeJogsWithTheRightIncrementToolAndFrame) {
    struct Row {
        Handler fn;
        JogMode mode;
        USInt tool, frame;
        int bit;  // 0 x+, 5 rz+, 6 x-, -1 none
        int direction;
        double distance;
        int toolId, frameId;
    } rows[] = {
        {srl_move_linear_relative_funs, JogMode::Frame, 255, 255, 0, 1, 5.0, -1, -1},
        {srl_move_linear_relative_funs, JogMode::Frame, 2, 3, 5, 6, 0.5, 2, 3},
        {srl_move_linear_relative_tools_funs, JogMode::Tool, 1, 255, 6, -1, 5.0, 1, -1},
        {srl_move_joint_relative_funs, JogMode::Axes, 255, 0, 0, 1, 0.5, -1, 0},  // rotation for joints
        {srl_move_joint_relative_funs, JogMode::Axes, 255, 255, -1, 0, 0.5, -1, -1},
    };
    for (const Row& r : rows) {
        motionManagerTemp.jogCmdIdList_.clear();
        LRob_typeServerCmdMoveJog cmd{};
        cmd.Enable = 1;
        cmd.CoordSystem = {r.tool, r.frame};
        cmd.IncrementalTranslation = 5.0f;
        cmd.IncrementalRotation = 0.5f;
        cmd.JogOverride = 5000;
        if (r.bit == 0) cmd.JogControl.X_J1_Pos = 1;
        if (r.bit == 5) cmd.JogControl.RZ_J6_Pos = 1;
        if (r.bit == 6) cmd.JogControl.X_J1_Neg = 1;
        EXPECT_EQ(call<LRob_typeServerRspMoveJog>(r.fn, cmd, 9).err, 0);
        if (r.direction == 0) {
            EXPECT_TRUE(motionManagerTemp.jogCmdIdList_.empty()) << "no direction queues nothing";
            continue;
        }
        ASSERT_EQ(motionManagerTemp.jogCmdIdList_.size(), 1u) << int(r.mode) << " bit " << r.bit;
        const JogCmdParam& j = motionManagerTemp.jogCmdIdList_.front().jogCmd;
        EXPECT_EQ(j.mode, r.mode);
        EXPECT_EQ(j.direction, r.direction);
        EXPECT_DOUBLE_EQ(j.distance, r.distance) << int(r.mode) << " bit " << r.bit;
        EXPECT_EQ(j.toolId, r.toolId);
        EXPECT_EQ(j.frameId, r.frameId);
        EXPECT_EQ(j.jogId, 9u);
        const int velocity = r.mode == JogMode::Axes ? helper.JogAxesVelocity : helper.JogLinearVelocity;
        EXPECT_DOUBLE_EQ(j.speed, velocity / 2.0);
    }
}

}  // namespace
