// SPDX-License-Identifier: Apache-2.0
// The controller adapter against the simulated arm, stepped manually: every wait of the
// adapter advances simulated time instead of sleeping.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <thread>
#include <vector>

#include "itf_rc/rcitf.h"
#include "srciport/sim_arm.h"
#include "thrown_code.h"

using namespace srci;
using srci_test::thrownCode;
using srciport::SimArm;

namespace {

std::vector<int> sleeps;

void steppedSleep(int ms) {
    sleeps.push_back(ms);
    SimArm::instance().step(ms / 1000.0);
}

class RcItfTest : public ::testing::Test {
protected:
    void SetUp() override {
        SimArm::instance().setManual(true);
        SimArm::instance().reset();
        setRcItfSleep(steppedSleep);
        rc = RcItf::get(true);
        sleeps.clear();
    }
    void TearDown() override { setRcItfSleep(nullptr); }

    void powerAndEnable() {
        rc->robotPower(true);
        rc->robotEnable(true);
        sleeps.clear();
    }

    RcItf* rc = nullptr;
};

TEST_F(RcItfTest, ToolAndFrameNumbersOutsideTheirRangesAreRefused) {
    struct Row {
        std::function<void()> call;
        int code;
    } rows[] = {
        {[&] { rc->setToolId(16); }, err_tools_index},
        {[&] { rc->setToolId(-2); }, err_tools_index},
        {[&] { rc->setUsrFrameId(16); }, err_frames_index},
        {[&] { rc->setTool(0, POSE(0, 0, 100, 0, 0, 0)); }, err_tools_index},
        {[&] { rc->setUsrFrame(16, POSE()); }, err_frames_index},
        {[&] { (void)rc->getTool(16); }, err_tools_index},
        {[&] { (void)rc->getUsrFrame(-2); }, err_frames_index},
    };
    for (size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(thrownCode(rows[i].call), rows[i].code) << "row " << i;
    EXPECT_TRUE(rc->getTool(0).match(POSE())) << "tool 0 is the flange";
}

TEST_F(RcItfTest, MinusOneReadsTheActiveTool) {
    const POSE tool(10, 20, 150, 0, 0, 90);
    rc->setTool(4, tool);
    rc->setToolId(4);
    EXPECT_TRUE(rc->getTool(-1).match(tool));
}

// Selecting the tool or frame that is already active is no change: no port command, no pause.
// Every real change keeps both; -1 selects nothing. The controller's active id decides, not what
// the adapter selected last: a tool reset behind the adapter's back is undone with its pause.
TEST_F(RcItfTest, OnlyARealToolOrFrameChangeSendsAndPauses) {
    powerAndEnable();
    struct Case {
        const char* what;
        int tool, frame;
        std::vector<int> pauses;
        bool armResetsTool = false;
    };
    // The arm starts with tool 0 and frame 0 active; each row starts where the previous ended.
    const Case cases[] = {
        {"both already active", 0, 0, {}},
        {"new tool only", 3, 0, {15}},
        {"new frame only", 3, 5, {15}},
        {"same again", 3, 5, {}},
        {"both change", 1, 2, {15, 15}},
        {"keep both (-1)", -1, -1, {}},
        {"the arm went back to tool 0", 1, 2, {15}, true},
    };
    int tool = 0, frame = 0;
    for (const Case& c : cases) {
        if (c.armResetsTool) SimArm::instance().setToolId(0);
        sleeps.clear();
        rc->setToolId(c.tool);
        rc->setUsrFrameId(c.frame);
        EXPECT_EQ(sleeps, c.pauses) << c.what;
        if (c.tool >= 0) tool = c.tool;
        if (c.frame >= 0) frame = c.frame;
        EXPECT_EQ(rc->getCurrentTooldId(), tool) << c.what;
        EXPECT_EQ(rc->getCurrentUserFrameId(), frame) << c.what;
    }
}

TEST_F(RcItfTest, OnlyExternalAutomaticExistsAndDynamicsHaveNoDecOrJerk) {
    EXPECT_EQ(thrownCode([&] { rc->setOperationMode(OperationMode::Local_T1); }), err_operation_mode);
    EXPECT_EQ(thrownCode([&] { rc->setOperationMode(OperationMode::External_Automatic); }), 0);
    EXPECT_EQ(rc->getOperationMode(), OperationMode::External_Automatic);
    rc->setReferenceDynamic(ReferenceDynamic{250, 400, 7, 8});
    const ReferenceDynamic rd = rc->getReferenceDynamic();
    EXPECT_DOUBLE_EQ(rd.vel, 250);
    EXPECT_DOUBLE_EQ(rd.acc, 400);
    EXPECT_EQ(rd.dec, -1.0);
    EXPECT_EQ(rd.jerk, -1.0);
}

// How long the waits give the controller is counted against the recording port
// (test_rcitf_port_calls.cpp); here: the steps are seconds, and a refusal does not wait.
TEST_F(RcItfTest, PowerWaitsInSecondStepsAndARefusalFailsAtOnce) {
    SimArm::instance().setPowerDelay(0.3);
    rc->robotPower(true);
    EXPECT_TRUE(rc->isRobotPower());
    EXPECT_EQ(sleeps, (std::vector<int>{1000}));
    rc->robotPower(false);
    SimArm::instance().setPowerRefuse(true);
    sleeps.clear();
    EXPECT_EQ(thrownCode([&] { rc->robotPower(true); }), err_power_on);
    EXPECT_TRUE(sleeps.empty());
}

TEST_F(RcItfTest, EnableRefusedUnderAProtectiveStopUntilItIsAcknowledged) {
    rc->robotPower(true);
    SimArm::instance().setPStop(true);
    EXPECT_EQ(thrownCode([&] { rc->robotEnable(true); }), err_enable);
    SimArm::instance().setPStop(false);
    rc->exit_protect(0);  // a released stop stays latched until acknowledged
    rc->robotEnable(true);
    EXPECT_TRUE(rc->isRobotEnable());
}

TEST_F(RcItfTest, TurnNumbersCountRevolutionsAndOutOfRangeGivesZero) {
    struct Case {
        double angle;
        int turn;
    } cases[] = {{0, 0},       {359.999, 0},
                 {360, 1},     {2879.9, 7},
                 {2880, 0},    {-0.001, 8},
                 {-360, 8},    {-360.001, 9},
                 {-720, 9},    {-2880, 15},
                 {-2880.1, 0}, {-1440, 11},
                 {1440, 4},    {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const auto& c : cases) EXPECT_EQ(RcItf::getTurnNumber(c.angle), c.turn) << c.angle;
    EXPECT_EQ(RcItf::calcRefJposByTurnNumber(0), 180.0);
    EXPECT_EQ(RcItf::calcRefJposByTurnNumber(7), 2700.0);
    EXPECT_EQ(RcItf::calcRefJposByTurnNumber(8), -180.0);
    EXPECT_EQ(RcItf::calcRefJposByTurnNumber(15), -2700.0);
    EXPECT_EQ(RcItf::calcRefJposByTurnNumber(16), 0.0);
    for (int n = 0; n < 16; ++n) EXPECT_EQ(RcItf::getTurnNumber(RcItf::calcRefJposByTurnNumber(n)), n);
}

TEST_F(RcItfTest, ConfigurationChoiceFollowsTheModes) {
    EXPECT_FALSE(RcItf::calcSew_each(3, true, true));
    EXPECT_TRUE(RcItf::calcSew_each(9, false, false));
    EXPECT_TRUE(RcItf::calcSew_each(0, true, false));
    EXPECT_FALSE(RcItf::calcSew_each(1, true, false));
    SEW target, current;
    target.fromInt(0b101);
    current.fromInt(0b010);
    EXPECT_EQ(RcItf::calcSew(SEWConfig{2, 2, 2}, target, current).toInt(), current.toInt());
    EXPECT_EQ(RcItf::calcSew(SEWConfig{0, 0, 0}, target, current).toInt(), target.toInt());
    EXPECT_EQ(RcItf::calcSew(SEWConfig{4, 3, 0}, target, current).toInt(), 0b101);
}

TEST_F(RcItfTest, KinematicsRoundTripAndUnreachablePosesThrow) {
    const JOINTS joints(10, -20, 30, 40, 50, 60);
    POSE pose;
    SEW sew;
    rc->fkine(joints, pose, sew, POSE(0, 0, 100, 0, 0, 0), POSE(100, 0, 0, 0, 0, 30));
    JOINTS solved(0, 0, 0, 0, 0, 0);
    rc->ikine(pose, solved, sew, POSE(0, 0, 100, 0, 0, 0), POSE(100, 0, 0, 0, 0, 30));
    for (unsigned char i = 1; i <= 6; ++i) EXPECT_NEAR(solved[i], joints[i], 1e-6) << int(i);

    JOINTS untouched(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(thrownCode([&] { rc->ikine(POSE(1e5, 0, 0, 0, 0, 0), untouched, sew, POSE(), POSE()); }), err_ikine);
    EXPECT_EQ(untouched[1], 1) << "a failed solve leaves the seed as it was";

    const POSE frame(200, 100, 0, 0, 0, 90);
    const POSE inUser = rc->calFrame_world_to_user(pose, frame);
    EXPECT_TRUE(rc->calFrame_user_to_world(inUser, frame).match(pose));
}

TEST_F(RcItfTest, DirectMoveRefusesFixedTurnNumbersAndReachesFreeTargets) {
    powerAndEnable();
    POSE target;
    SEW sew;
    rc->fkine(JOINTS(20, -10, 20, 0, 40, 0), target, sew, rc->getTool(-1), rc->getUsrFrame(-1));
    MoveCmdParam move;
    move.type = MotionCmdType2::Direct;
    move.pos = target;
    move.generalParam = MoveCmdGeneralParam{60, 120, 0, 9};
    move.sewConfigMode = SEWConfig{1, 1, 1};
    move.turnMode = static_cast<uint8_t>(TurnModeEnum::UseIt);
    EXPECT_EQ(thrownCode([&] { rc->robotMoveDirect(move); }), err_turnMode);
    move.turnMode = static_cast<uint8_t>(TurnModeEnum::FreeIt);
    rc->robotMoveDirect(move);
    SimArm::instance().step(5.0);
    EXPECT_TRUE(rc->isRcInstDone());
    EXPECT_TRUE(rc->getCartesianPos().match(target));
}

TEST_F(RcItfTest, JogDistanceDecidesIncrementalOrContinuousAndZeroDirectionStops) {
    powerAndEnable();
    JogCmdParam jog;
    jog.mode = JogMode::Axes;
    jog.direction = 1;
    jog.speed = 10;
    jog.distance = 0.001;
    // getCurrentJPos reads the last snapshot; get(true) refreshes it.
    auto joint1 = [] { return RcItf::get(true)->getCurrentJPos()[1]; };
    const double start = joint1();
    rc->jog(jog);
    SimArm::instance().step(1.0);
    EXPECT_NEAR(joint1(), start + 0.001, 1e-6) << "incremental";
    EXPECT_FALSE(rc->isRcMoving());

    jog.distance = 0.0009;
    jog.jogId = 5;
    rc->jog(jog);
    SimArm::instance().step(1.0);
    EXPECT_TRUE(rc->isRcMoving()) << "continuous until stopped";
    JogCmdParam stop = jog;
    stop.direction = 0;
    rc->jog(stop);
    EXPECT_EQ(lastJogCommand().direction, 1) << "a stop does not replace the last jog";
    EXPECT_EQ(lastJogCommand().jogId, 5u);
    SimArm::instance().step(1.0);
    EXPECT_FALSE(rc->isRcMoving());
    EXPECT_THROW(RcItf::jogmode_srci2veld(static_cast<JogMode>(7)), const char*);
}

TEST_F(RcItfTest, SpeedAccCheckRefusesOnlyNegativeValues) {
    EXPECT_EQ(thrownCode([] { RcItf::checkSpeedAcc(0, 0); }), 0);
    EXPECT_EQ(thrownCode([] { RcItf::checkSpeedAcc(-0.1, 1); }), err_move);
    EXPECT_EQ(thrownCode([] { RcItf::checkSpeedAcc(1, -0.1); }), err_move);
}

// A cycle's status readers share one poll, but never past a command or a wait of the adapter,
// from whichever thread.
TEST_F(RcItfTest, ReadsShareOnePollUntilTheAdapterTouchesTheController) {
    powerAndEnable();
    struct Row {
        const char* what;
        std::function<void(RcItf*)> touch;
        bool seen;  // whether the arm's tool change shows in the next read
    } rows[] = {
        {"nothing: the shared poll stands", [](RcItf*) {}, false},
        {"a command on this thread", [](RcItf* rc) { rc->SetSpeedRatio(0.5); }, true},
        {"a frame selection, command and pause", [](RcItf* rc) { rc->setUsrFrameId(2); }, true},
        {"a command on another thread", [](RcItf* rc) { std::thread([rc] { rc->SetSpeedRatio(0.25); }).join(); }, true},
    };
    for (const Row& r : rows) {
        SimArm::instance().setToolId(0);
        const SharedStatusPoll shared;
        ASSERT_EQ(rc->getCurrentTooldId(), 0) << r.what;
        SimArm::instance().setToolId(4);  // behind the adapter's back
        r.touch(rc);
        EXPECT_EQ(rc->getCurrentTooldId(), r.seen ? 4 : 0) << r.what;
    }
    SimArm::instance().setToolId(7);
    EXPECT_EQ(rc->getCurrentTooldId(), 7) << "without a shared poll every read polls";
}

// A repeated forward solution is answered from the last one only while joints, tool, frame and
// the arm's kinematic table are all unchanged.
TEST_F(RcItfTest, RepeatedForwardSolutionFollowsEveryInputAndANewKinematicTable) {
    const POSE tool(0, 0, 100, 0, 0, 0), frame(100, 0, 0, 0, 0, 30);
    auto solve = [&](const JOINTS& j, const POSE& t) {
        POSE p;
        SEW sew;
        rc->get(true)->fkine(j, p, sew, t, frame);
        return p;
    };
    const JOINTS joints(10, -20, 30, 40, 50, 60);
    const POSE first = solve(joints, tool);
    EXPECT_TRUE(solve(joints, tool).match(first));
    EXPECT_FALSE(solve(JOINTS(11, -20, 30, 40, 50, 60), tool).match(first)) << "joints";
    EXPECT_FALSE(solve(joints, POSE(0, 0, 120, 0, 0, 0)).match(first)) << "tool";
    double dh[6][4] = {{-90, 100, 400, 0}, {0, 450, 0, -90}, {-90, 50, 0, 0},
                       {90, 0, 450, 0},    {-90, 0, 0, 0},   {0, 0, 120, 0}};  // a longer flange
    EXPECT_TRUE(solve(joints, tool).match(first));
    ASSERT_EQ(SimArm::instance().kineInit(dh), 0);
    EXPECT_FALSE(solve(joints, tool).match(first)) << "the arm's kinematic table";
}

}  // namespace
