// SPDX-License-Identifier: Apache-2.0
// Soft limits in any order, and an arm left outside new limits can always get back.
#include "sim_fixture.h"

using namespace srciport;

namespace {

class SoftLimitsTest : public SimArmTest {
protected:
    std::array<double, 2> j1Limits() {
        stat.poll();
        return {stat.soft_limits[0], stat.soft_limits[1]};
    }
};

TEST_F(SoftLimitsTest, AnyValidPairInEitherOrderAndInvalidPairsRefusedWhole) {
    const struct {
        const char* what;
        double start[2];  // J1 limits before
        bool minFirst;
        double min, max;
        int first, second;  // results of the two setter calls
        double end[2];      // J1 limits after
    } cases[] = {
        {"raise above the old maximum, min first", {-165, 90}, true, 100, 160, 0, 0, {100, 160}},
        {"raise above the old maximum, max first", {-165, 90}, false, 100, 160, 0, 0, {100, 160}},
        {"lower below the old minimum, max first", {-50, 90}, false, -160, -100, 0, 0, {-160, -100}},
        {"lower below the old minimum, min first", {-50, 90}, true, -160, -100, 0, 0, {-160, -100}},
        {"minimum above maximum", {-165, 90}, true, 160, 100, 0, kErrLimitPair, {-165, 90}},
        {"equal bounds", {-165, 90}, true, 120, 120, 0, kErrLimitPair, {-165, 90}},
        {"beyond the hard limit", {-165, 90}, true, -171, 10, kErrBadArgument, 0, {-165, 10}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        arm.reset();
        ASSERT_EQ(cmd.setMaxLimit(0, c.start[1]), 0);
        ASSERT_EQ(cmd.setMinLimit(0, c.start[0]), 0);
        const int first = c.minFirst ? cmd.setMinLimit(0, c.min) : cmd.setMaxLimit(0, c.max);
        if (c.first == 0 && c.second == 0) {
            // the limits in force are a valid pair at every moment
            const auto mid = j1Limits();
            EXPECT_LT(mid[0], mid[1]);
        }
        const int second = c.minFirst ? cmd.setMaxLimit(0, c.max) : cmd.setMinLimit(0, c.min);
        EXPECT_EQ(first, c.first);
        EXPECT_EQ(second, c.second);
        const auto end = j1Limits();
        EXPECT_EQ(end[0], c.end[0]);
        EXPECT_EQ(end[1], c.end[1]);
    }
}

TEST_F(SoftLimitsTest, AStandingArmOutsideNewLimitsMayOnlyMoveBackTowardThem) {
    powerAndEnable();
    ASSERT_EQ(cmd.setMinLimit(0, 20), 0);  // J1 stands at 0, now below its range
    ASSERT_EQ(cmd.setMaxLimit(0, 60), 0);
    for (int i = 0; i < 100; ++i) arm.step(SimArm::kTick);
    EXPECT_EQ(errInfo().second, 0) << "standing still outside the range is no fault";

    // Moves end inside the limits; jogs may also stop short of them, but never go further out.
    const double further[6] = {-5, 0, 0, 0, 90, 0}, shortOf[6] = {10, 0, 0, 0, 90, 0}, inside[6] = {30, 0, 0, 0, 90, 0};
    EXPECT_EQ(cmd.movjAbs(further, 50, 100, 1, 0), softLimitCode(0));
    EXPECT_EQ(cmd.movjAbs(shortOf, 50, 100, 1, 0), softLimitCode(0));
    ASSERT_EQ(cmd.jogIncr(2, -1, 20, 2), 0);
    runUntilDone(5);
    EXPECT_EQ(errInfo().second, -1) << "a jog further out is refused when it starts";
    EXPECT_NEAR(joints()[0], 0, 1e-9);
    ASSERT_EQ(cmd.exitProtect(0), 0);
    ASSERT_EQ(cmd.jogIncr(2, 1, 20, 2), 0);
    runUntilDone(5);
    EXPECT_NEAR(joints()[0], 2, 1e-6);
    EXPECT_EQ(errInfo().second, 0);
    ASSERT_EQ(cmd.movjAbs(inside, 50, 100, 3, 0), 0);
    runUntilDone(10);
    EXPECT_NEAR(joints()[0], 30, 1e-6);
    EXPECT_EQ(errInfo().second, 0);
}

TEST_F(SoftLimitsTest, AMoveOutwardWhenLimitsNarrowStopsAndResetPlusAMoveRecovers) {
    powerAndEnable();
    const double out[6] = {-60, 0, 0, 0, 90, 0}, back[6] = {20, 0, 0, 0, 90, 0};
    ASSERT_EQ(cmd.movjAbs(out, 20, 100, 1, 0), 0);
    while (joints()[0] > -10) arm.step(SimArm::kTick);
    ASSERT_EQ(cmd.setMinLimit(0, 0), 0);
    runUntilDone(5);
    EXPECT_EQ(errInfo().second, -1);
    const double stoppedAt = joints()[0];
    EXPECT_GT(stoppedAt, -12);
    ASSERT_EQ(cmd.exitProtect(0), 0);  // what GroupReset does
    ASSERT_EQ(cmd.movjAbs(back, 50, 100, 2, 0), 0);
    runUntilDone(10);
    EXPECT_NEAR(joints()[0], 20, 1e-6);
    EXPECT_EQ(errInfo().second, 0);
}

}  // namespace
