// SPDX-License-Identifier: Apache-2.0
#include "sim_fixture.h"

#include <cmath>

using namespace srciport;

class JogTest : public SimArmTest {
protected:
    void SetUp() override {
        SimArmTest::SetUp();
        powerAndEnable();
        const double start[6] = {10, 10, -40, 20, 60, 30};
        ASSERT_EQ(cmd.movjAbs(start, 100, 500, 1, 0), 0);
        runUntilDone(10);
    }

    // TCP of the active tool in world coordinates.
    Transform worldTcp() {
        stat.poll();
        return poseToTransform(stat.usr_frames[stat.cur_usrframe_id]) * poseToTransform(stat.act_cartpos);
    }
};

TEST_F(JogTest, AxisIncrementalMovesExactlyTheDistance) {
    const auto before = joints();
    ASSERT_EQ(cmd.jogIncr(2, -3, 20, 5), 0);
    EXPECT_LE(maxRate(jointsDuring(2.0), 1, 6), 20 * 1.01);
    const auto after = joints();
    for (int j = 0; j < 6; ++j) EXPECT_NEAR(after[j], before[j] + (j == 2 ? -5.0 : 0.0), 1e-9);
    EXPECT_FALSE(stat.ra_is_moving);
    EXPECT_TRUE(stat.ra_is_inst_done);
    EXPECT_EQ(stat.cur_trajId, 1) << "jogs carry no trajectory id";
}

TEST_F(JogTest, AxisContinuousRunsUntilStopAndHonoursOverride) {
    ASSERT_EQ(cmd.setSpeedRatio(0.5), 0);
    const double j1 = joints()[0];
    ASSERT_EQ(cmd.jogCont(2, 1, 30, 0), 0);
    EXPECT_NEAR(maxRate(jointsDuring(1.0), 1, 6), 15.0, 0.01);
    EXPECT_TRUE(stat.ra_is_moving);
    EXPECT_FALSE(stat.ra_is_inst_done);
    ASSERT_EQ(cmd.jogStop(2, 1), 0);
    const double t = runUntilDone(2);
    EXPECT_NEAR(t, 0.1, 0.01);  // 15 deg/s at the jog's 150 deg/s^2
    EXPECT_GT(joints()[0], j1 + 10);
    EXPECT_EQ(stat.errType, 0);
}

TEST_F(JogTest, AxisJogStopsAtSoftLimitWithError) {
    ASSERT_EQ(cmd.setMaxLimit(5, 40), 0);
    ASSERT_EQ(cmd.jogCont(2, 6, 50, 0), 0);
    runUntilDone(5);
    EXPECT_NEAR(joints()[5], 40.0, 1e-9);
    EXPECT_EQ(errInfo(), std::make_pair(0x50042, -1));
    // an incremental jog that would pass the lower limit ends on it too
    ASSERT_EQ(cmd.exitProtect(0), 0);
    ASSERT_EQ(cmd.setMinLimit(0, 5), 0);
    ASSERT_EQ(cmd.jogIncr(2, -1, 20, 30), 0);
    runUntilDone(5);
    EXPECT_NEAR(joints()[0], 5.0, 1e-9);
    EXPECT_EQ(errInfo().first, 0x42);
    // already on the limit: refused at once, no motion
    ASSERT_EQ(cmd.exitProtect(0), 0);
    ASSERT_EQ(cmd.jogIncr(2, -1, 20, 1), 0);
    arm.step(0.1);
    EXPECT_EQ(errInfo().first, 0x42);
    EXPECT_NEAR(joints()[0], 5.0, 1e-9);
}

TEST_F(JogTest, FrameJogsFollowUserFrameAxes) {
    const double frame[6] = {100, 50, 0, 0, 0, 90};  // frame x = world y
    ASSERT_EQ(cmd.setUsrFrame(frame, 1, ""), 0);
    ASSERT_EQ(cmd.setFrameId(1), 0);
    const Transform t0 = worldTcp();
    ASSERT_EQ(cmd.jogIncr(0, 1, 50, 30), 0);
    runUntilDone(5);
    const Transform t1 = worldTcp();
    EXPECT_LT(norm(t1.pos - t0.pos - Vec3{0, 30, 0}), 1e-6) << "30 mm along world y";
    EXPECT_LT(rad2deg(rotationAngle(transpose(t0.rot) * t1.rot)), 1e-6);
    // rotation about the frame z axis, TCP position kept
    ASSERT_EQ(cmd.jogIncr(0, -6, 20, 15), 0);
    runUntilDone(5);
    const Transform t2 = worldTcp();
    EXPECT_LT(norm(t2.pos - t1.pos), 1e-6);
    const Mat3 expect = rotZ(deg2rad(-15)) * t1.rot;
    EXPECT_LT(rad2deg(rotationAngle(transpose(expect) * t2.rot)), 1e-6);
    EXPECT_EQ(stat.errType, 0);
}

TEST_F(JogTest, ToolJogsFollowToolAxes) {
    const double tool[6] = {0, 0, 100, 30, 0, 0};
    ASSERT_EQ(cmd.setToolOffset(tool, 4, ""), 0);
    ASSERT_EQ(cmd.setToolId(4), 0);
    const Transform t0 = worldTcp();
    ASSERT_EQ(cmd.jogIncr(1, 3, 40, 25), 0);
    runUntilDone(5);
    const Transform t1 = worldTcp();
    EXPECT_LT(norm(t1.pos - t0.pos - 25.0 * t0.rot.col(2)), 1e-6) << "25 mm along the tool's z axis";
    ASSERT_EQ(cmd.jogIncr(1, 4, 20, 10), 0);  // about tool x
    runUntilDone(5);
    const Transform t2 = worldTcp();
    EXPECT_LT(norm(t2.pos - t1.pos), 1e-6);
    const Mat3 expect = t1.rot * rotX(deg2rad(10));
    EXPECT_LT(rad2deg(rotationAngle(transpose(expect) * t2.rot)), 1e-6);
}

TEST_F(JogTest, CartesianContinuousJogHaltsAtJointLimit) {
    ASSERT_EQ(cmd.setMaxLimit(0, 30), 0);
    ASSERT_EQ(cmd.jogCont(0, 2, 100, 0), 0);  // world +y turns joint 1 positive
    runUntilDone(10);
    EXPECT_EQ(errInfo(), std::make_pair(0x42, -1));
    EXPECT_LE(joints()[0], 30.0);
    EXPECT_GT(joints()[0], 29.0);
}

TEST_F(JogTest, BadJogArgumentsAreRefused) {
    EXPECT_EQ(cmd.jogIncr(3, 1, 10, 1), kErrBadArgument);
    EXPECT_EQ(cmd.jogIncr(2, 7, 10, 1), kErrBadArgument);
    EXPECT_EQ(cmd.jogIncr(2, 0, 10, 1), kErrBadArgument);
    EXPECT_EQ(cmd.jogIncr(2, 1, -10, 1), kErrBadArgument);
    EXPECT_EQ(cmd.jogIncr(2, 1, 10, 0), kErrBadArgument);
    EXPECT_EQ(cmd.jogCont(2, 1, std::nan(""), 0), kErrBadArgument);
    EXPECT_EQ(arm.queuedMoves(), 0u);
}
