// SPDX-License-Identifier: Apache-2.0
#include "sim_fixture.h"

#include <cstring>

using namespace srciport;

using PowerTest = SimArmTest;

namespace {
const double kTarget[6] = {90, 0, 0, 0, 90, 0};
}

TEST_F(PowerTest, StartupDefaultsAreRealistic) {
    stat.poll();
    EXPECT_EQ(stat.ra_power_stat, 0);
    EXPECT_EQ(stat.cur_trajId, -1);
    EXPECT_TRUE(stat.ra_is_inst_done);
    EXPECT_EQ(stat.profinet_state, SRCIPORT_PROFINET_RUNNING);
    EXPECT_GT(stat.reference_vel, 1.0);
    EXPECT_GT(stat.reference_acc, 1.0);
    EXPECT_NE(stat.rc_serial_num, 0u);
    EXPECT_NE(stat.ra_serial_num, 0u);
    EXPECT_GT(std::strlen(stat.rc_order_id), 0u);
    EXPECT_GT(std::strlen(stat.rc_version), 0u);
    EXPECT_DOUBLE_EQ(stat.speed_ratio, 1.0);
    for (int j = 0; j < 6; ++j) {
        EXPECT_LT(stat.hard_limits[2 * j], stat.soft_limits[2 * j]);
        EXPECT_LT(stat.soft_limits[2 * j + 1], stat.hard_limits[2 * j + 1]);
    }
}

// The delays are set through the control channel's requests, in milliseconds.
TEST_F(PowerTest, PowerAndEnableTakeTheirTime) {
    EXPECT_EQ(arm.request("power-delay 300"), "ok power-delay 300");
    EXPECT_EQ(arm.request("enable-delay 100"), "ok enable-delay 100");
    EXPECT_EQ(cmd.enableRobot(), kErrNotPowered);
    ASSERT_EQ(cmd.powerOnRobot(), 0);
    EXPECT_EQ(statusAfter(0.29).ra_power_stat, 0);
    EXPECT_NE(statusAfter(0.02).ra_power_stat, 0);
    ASSERT_EQ(cmd.enableRobot(), 0);
    EXPECT_EQ(statusAfter(0.09).ra_enable_stat, 0);
    EXPECT_NE(statusAfter(0.02).ra_enable_stat, 0);
    ASSERT_EQ(cmd.disableRobot(), 0);
    stat.poll();
    EXPECT_EQ(stat.ra_enable_stat, 0);
    EXPECT_NE(stat.ra_power_stat, 0) << "disable keeps power";
    ASSERT_EQ(cmd.powerOffRobot(), 0);
    stat.poll();
    EXPECT_EQ(stat.ra_power_stat, 0);
}

TEST_F(PowerTest, PowerRefusedOrHanging) {
    EXPECT_EQ(arm.request("power-refuse on"), "ok power-refuse on");
    EXPECT_EQ(cmd.powerOnRobot(), kErrPowerFailed);
    EXPECT_EQ(arm.request("power-refuse off"), "ok power-refuse off");
    EXPECT_EQ(arm.request("power-hang on"), "ok power-hang on");
    EXPECT_EQ(cmd.powerOnRobot(), 0);
    EXPECT_EQ(statusAfter(5).ra_power_stat, 0);
}

// A stop halts a running move at once; an emergency stop also drops power and enable. Releasing
// the input leaves the stop latched (everything refused, no time-out) until it is acknowledged,
// and an acknowledgement while the input is still active changes nothing.
TEST_F(PowerTest, StopsHaltAndStayLatchedUntilAcknowledged) {
    for (const bool emergency : {true, false}) {
        SCOPED_TRACE(emergency ? "emergency" : "protective");
        const auto setStop = [&](bool on) { emergency ? arm.setEStop(on) : arm.setPStop(on); };
        const auto latched = [&] { return emergency ? stat.isEStop : stat.isPStop; };
        arm.reset();
        powerAndEnable();
        ASSERT_EQ(cmd.movjAbs(kTarget, 30, 100, 4, 0), 0);
        arm.step(0.5);
        setStop(true);
        stat.poll();
        EXPECT_EQ(latched(), 1);
        EXPECT_EQ(stat.ra_power_stat != 0, !emergency);
        EXPECT_EQ(stat.ra_enable_stat != 0, !emergency);
        EXPECT_TRUE(stat.ra_is_inst_done);
        const double held = stat.act_jpos[0];
        EXPECT_EQ(statusAfter(0.5).act_jpos[0], held);
        EXPECT_EQ(cmd.movjAbs(kTarget, 30, 100, 5, 0), kErrSafetyStop);
        EXPECT_EQ(cmd.exitProtect(0), kErrSafetyStop) << "input still active";
        setStop(false);
        stat.poll();
        EXPECT_EQ(latched(), 1) << "released input, stop not yet acknowledged";
        EXPECT_EQ(cmd.powerOnRobot(), kErrSafetyStop);
        EXPECT_EQ(cmd.enableRobot(), kErrSafetyStop);
        statusAfter(2);
        EXPECT_EQ(latched(), 1) << "the latch does not time out";
        EXPECT_EQ(cmd.exitProtect(0), 0);
        stat.poll();
        EXPECT_EQ(latched(), 0);
        EXPECT_EQ(cmd.movjAbs(kTarget, 30, 100, 5, 0), emergency ? kErrNotEnabled : 0);
        powerAndEnable();
    }
}

TEST_F(PowerTest, InjectedErrorLatchesUntilExitProtect) {
    powerAndEnable();
    ASSERT_EQ(cmd.movjAbs(kTarget, 30, 100, 4, 0), 0);
    ASSERT_EQ(cmd.movjAbs(kTarget, 30, 100, 5, 0), 0);
    arm.step(0.5);
    arm.injectError(0x1234);
    arm.step(0.5);
    EXPECT_EQ(errInfo(), std::make_pair(0x1234, -1));
    stat.poll();
    EXPECT_EQ(stat.errCode, 0x1234);
    EXPECT_TRUE(stat.ra_is_inst_done);
    EXPECT_EQ(arm.queuedMoves(), 0u);
    EXPECT_EQ(cmd.movjAbs(kTarget, 30, 100, 6, 0), kErrFaultActive);
    EXPECT_EQ(cmd.exitProtect(0), 0);
    EXPECT_EQ(errInfo(), std::make_pair(0, 0));
    EXPECT_EQ(cmd.movjAbs(kTarget, 30, 100, 6, 0), 0);
}

TEST_F(PowerTest, DisableStopsMotion) {
    powerAndEnable();
    ASSERT_EQ(cmd.movjAbs(kTarget, 30, 100, 4, 0), 0);
    arm.step(0.5);
    ASSERT_EQ(cmd.disableRobot(), 0);
    stat.poll();
    EXPECT_TRUE(stat.ra_is_inst_done);
    EXPECT_FALSE(stat.ra_is_moving);
    EXPECT_EQ(cmd.motionContinue(), 0);
    EXPECT_LT(statusAfter(0.5).act_jpos[0], 90.0);
}

// Soft-limit pairs are covered in soft_limits_test.cpp; here the index and hard-limit refusals.
TEST_F(PowerTest, LimitsToolsFramesAndSettings) {
    EXPECT_EQ(cmd.setMaxLimit(1, 151), kErrBadArgument);
    EXPECT_EQ(cmd.setMaxLimit(6, 10), kErrBadArgument);
    EXPECT_EQ(cmd.setMinLimit(-1, 10), kErrBadArgument);
    // tools and frames 1..15, ids 0..15
    const double pose[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(cmd.setToolOffset(pose, 0, ""), kErrBadArgument);
    EXPECT_EQ(cmd.setToolOffset(pose, 16, ""), kErrBadArgument);
    EXPECT_EQ(cmd.setUsrFrame(pose, 0, ""), kErrBadArgument);
    EXPECT_EQ(cmd.setToolOffset(pose, 15, ""), 0);
    EXPECT_EQ(cmd.setUsrFrame(pose, 15, ""), 0);
    EXPECT_EQ(cmd.setToolId(16), kErrBadArgument);
    EXPECT_EQ(cmd.setFrameId(-1), kErrBadArgument);
    EXPECT_EQ(cmd.setToolId(15), 0);
    // payload, dynamics, override
    const double load[4] = {12.5, 0, 0, 80}, badLoad[4] = {-1, 0, 0, 0};
    EXPECT_EQ(cmd.setLoad(load), 0);
    EXPECT_EQ(cmd.setLoad(badLoad), kErrBadArgument);
    EXPECT_EQ(cmd.setReferenceDynamic(800, 4000, -1, -1), 0);
    EXPECT_EQ(cmd.setReferenceDynamic(0, 4000, -1, -1), kErrBadArgument);
    EXPECT_EQ(cmd.setSpeedRatio(1.7), 0);
    EXPECT_EQ(cmd.setSpeedRatio(-0.1), kErrBadArgument);
    stat.poll();
    EXPECT_EQ(stat.cur_tool_id, 15u);
    EXPECT_EQ(stat.usr_tools[15][5], 6);
    EXPECT_EQ(stat.usr_frames[15][0], 1);
    EXPECT_EQ(stat.usr_payload.m, 12.5);
    EXPECT_EQ(stat.usr_payload.p[2], 80);
    EXPECT_EQ(stat.reference_vel, 800);
    EXPECT_EQ(stat.reference_acc, 4000);
    EXPECT_GT(stat.reference_dec, 0) << "absent values keep the previous ones";
    EXPECT_EQ(stat.speed_ratio, 1.0);
    // the actual position follows the active tool
    double flange[6];
    ASSERT_EQ(cmd.fkine(stat.act_jpos, flange, nullptr, pose, nullptr), 0);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(stat.act_cartpos[i], flange[i], 1e-9);
}

// Loading the status table back (with the default upper arm again) must succeed as well.
TEST_F(PowerTest, KineInitReloadsTable) {
    double dh[6][4];
    stat.poll();
    std::memcpy(dh, stat.ra_dh_param, sizeof dh);
    dh[1][1] = 500;  // longer upper arm
    ASSERT_EQ(cmd.kineInit(dh, 0), 0);
    stat.poll();
    EXPECT_EQ(stat.ra_dh_param[1][1], 500);
    const double q[6] = {0, 0, 0, 0, 90, 0};
    double pose[6], pose2[6];
    ASSERT_EQ(cmd.fkine(q, pose, nullptr, nullptr, nullptr), 0);
    // upper arm vertical at joint 2 = 0: the extra 50 mm show up in z
    dh[1][1] = 450;
    ASSERT_EQ(cmd.kineInit(dh, 0), 0);
    ASSERT_EQ(cmd.fkine(q, pose2, nullptr, nullptr, nullptr), 0);
    EXPECT_NEAR(pose[2] - pose2[2], 50.0, 1e-9);
    dh[4][1] = 20;  // wrist axes no longer intersect
    EXPECT_NE(cmd.kineInit(dh, 0), 0);
}
