// SPDX-License-Identifier: Apache-2.0
#include "sim_fixture.h"

#include <cmath>

using namespace srciport;

namespace {

constexpr double dt = SimArm::kTick;

// Both take poses as plain arrays or as std::array.
double dist3(const auto& a, const auto& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

double rotDiffDeg(const auto& a, const auto& b) {
    return rad2deg(rotationAngle(transpose(eulerToMatrix(a[3], a[4], a[5])) * eulerToMatrix(b[3], b[4], b[5])));
}

}  // namespace

class MotionTest : public SimArmTest {
protected:
    void SetUp() override {
        SimArmTest::SetUp();
        powerAndEnable();
    }
};

// The speed override on a move is covered where it changes during the run
// (SpeedRatioScalesTheRunningMove): the queue applies it tick by tick either way.
TEST_F(MotionTest, JointMoveKeepsLimitsAndReachesTarget) {
    const double target[6] = {40, 30, -50, 60, 45, -90};
    const double vel = 60, acc = 200;
    ASSERT_EQ(cmd.movjAbs(target, vel, acc, 7, 0), 0);
    Samples k;
    bool sawMoving = false;
    runUntilDone(20, [&](const SrciPortStat& s) {
        k.push_back(joints());
        sawMoving = sawMoving || s.ra_is_moving;
        if (s.ra_is_moving) {
            EXPECT_EQ(s.cur_trajId, 7);
            EXPECT_FALSE(s.ra_is_inst_done);
        }
    });
    EXPECT_TRUE(sawMoving);
    EXPECT_LE(maxRate(k, 1, 6), vel * 1.01);
    EXPECT_GE(maxRate(k, 1, 6), vel * 0.95) << "the leading joint reaches cruise speed";
    EXPECT_LE(maxRate(k, 2, 6), acc * 1.01);
    for (int j = 0; j < 6; ++j) EXPECT_NEAR(stat.act_jpos[j], target[j], 0.01);
    EXPECT_TRUE(stat.ra_is_inst_done);
    EXPECT_FALSE(stat.ra_is_moving);
    EXPECT_EQ(stat.cur_trajId, 7);
    EXPECT_EQ(stat.errType, 0);
}

TEST_F(MotionTest, LinearMoveFollowsStraightLine) {
    const double tool[6] = {0, 0, 120, 0, 0, 0};
    const double frame[6] = {400, -200, 300, 0, 0, 45};
    ASSERT_EQ(cmd.setToolOffset(tool, 2, ""), 0);
    ASSERT_EQ(cmd.setUsrFrame(frame, 3, ""), 0);
    ASSERT_EQ(cmd.setToolId(2), 0);
    ASSERT_EQ(cmd.setFrameId(3), 0);
    const double start[6] = {10, 0, -60, 5, 50, 0};
    ASSERT_EQ(cmd.movjAbs(start, 100, 400, 1, 0), 0);
    runUntilDone(20);
    const auto a = pose();
    const std::array<double, 6> b{a[0] - 100, a[1] + 120, a[2] - 150, a[3] + 10, a[4], a[5] - 20};
    const double vel = 200, acc = 800;
    ASSERT_EQ(cmd.movl(b.data(), vel, acc, 2, 0), 0);
    Samples k;
    double worstDev = 0, worstOriLag = 0;
    const double len = dist3(a, b);
    const double totalRot = rotDiffDeg(a, b);
    runUntilDone(20, [&](const SrciPortStat&) {
        const auto p = pose();
        k.push_back(p);
        // distance from the line a-b and orientation progress matching the position progress
        const Vec3 ap{p[0] - a[0], p[1] - a[1], p[2] - a[2]}, ab{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        const double u = dot(ap, ab) / (len * len);
        worstDev = std::max(worstDev, norm(ap - u * ab));
        worstOriLag = std::max(worstOriLag, std::fabs(rotDiffDeg(a, p) - u * totalRot));
    });
    EXPECT_LT(worstDev, 0.05);
    EXPECT_LT(worstOriLag, 1e-3) << "orientation is interpolated on the same progress";
    EXPECT_LE(maxRate(k, 1, 3), vel * 1.01);
    EXPECT_GE(maxRate(k, 1, 3), vel * 0.95);
    EXPECT_LE(maxRate(k, 2, 3), acc * 1.01);
    EXPECT_LT(dist3(stat.act_cartpos, b), 0.01);
    EXPECT_LT(rotDiffDeg(stat.act_cartpos, b), 0.01);
    EXPECT_EQ(stat.cur_trajId, 2);
    EXPECT_EQ(stat.errType, 0);
}

TEST_F(MotionTest, SpeedRatioScalesTheRunningMove) {
    const double target[6] = {100, 0, 0, 0, 90, 0};
    ASSERT_EQ(cmd.movjAbs(target, 50, 500, 3, 0), 0);
    arm.step(0.5);
    ASSERT_EQ(cmd.setSpeedRatio(0.2), 0);
    arm.step(0.2);  // 40 deg/s less at 500 deg/s^2 takes 0.08 s
    EXPECT_NEAR(maxRate(jointsDuring(100 * dt), 1, 6), 10.0, 0.1);
    ASSERT_EQ(cmd.setSpeedRatio(1.0), 0);
    runUntilDone(20);
    EXPECT_NEAR(joints()[0], 100.0, 0.01);
}

TEST_F(MotionTest, BlendingJoinsMovesWithoutStopping) {
    const double p1[6] = {40, 0, 0, 0, 90, 0};
    const double p2[6] = {40, 30, 0, 0, 90, 0};
    // Slowest joint speed in the middle of the run: ~0 at an exact-stop corner.
    auto middleMinSpeed = [](const Samples& q) {
        double m = 1e9;
        for (size_t k = q.size() / 5; k < q.size() * 4 / 5; ++k) m = std::min(m, maxRate({q[k - 1], q[k]}, 1, 6));
        return m;
    };
    ASSERT_EQ(cmd.movjAbs(p1, 60, 300, 1, 0), 0);
    ASSERT_EQ(cmd.movjAbs(p2, 60, 300, 2, 0), 0);
    Samples exactRun, blendRun;
    const double exact = runUntilDone(20, [&](const SrciPortStat&) { exactRun.push_back(joints()); });
    EXPECT_LT(middleMinSpeed(exactRun), 300 * dt * 1.01);

    const double home[6] = {0, 0, 0, 0, 90, 0};
    ASSERT_EQ(cmd.movjAbs(home, 90, 300, 3, 0), 0);
    runUntilDone(20);

    ASSERT_EQ(cmd.movjAbs(p1, 60, 300, 1, 10), 0);
    ASSERT_EQ(cmd.movjAbs(p2, 60, 300, 2, 0), 0);
    bool overlap = false;
    int lastId = -1;
    const double blended = runUntilDone(20, [&](const SrciPortStat& s) {
        blendRun.push_back(joints());
        // both joints move at once only while the moves overlap
        overlap = overlap || (s.act_jpos[0] < 39.999 && s.act_jpos[1] > 0.001);
        EXPECT_GE(s.cur_trajId, lastId) << "ids advance in queue order";
        lastId = s.cur_trajId;
    });
    EXPECT_GT(middleMinSpeed(blendRun), 20.0);
    EXPECT_TRUE(overlap);
    EXPECT_LT(blended, exact - 0.1);
    for (int j = 0; j < 6; ++j) EXPECT_NEAR(joints()[j], p2[j], 0.01);
    EXPECT_EQ(stat.cur_trajId, 2);
}

TEST_F(MotionTest, PauseHoldsAndContinueEndsOnTarget) {
    auto b = pose();
    b[1] += 300;
    ASSERT_EQ(cmd.movl(b.data(), 150, 600, 5, 0), 0);
    arm.step(0.8);
    ASSERT_EQ(cmd.motionPause(), 0);
    stat.poll();
    EXPECT_NE(stat.is_inst_paused, 0);
    statusAfter(0.5);  // braking from 150 mm/s takes 0.25 s
    EXPECT_FALSE(stat.ra_is_moving);
    EXPECT_FALSE(stat.ra_is_inst_done);
    const auto held = joints();
    arm.step(1.0);
    EXPECT_EQ(joints(), held);
    ASSERT_EQ(cmd.motionContinue(), 0);
    stat.poll();
    EXPECT_EQ(stat.is_inst_paused, 0);
    runUntilDone(20);
    EXPECT_LT(dist3(stat.act_cartpos, b), 0.01);
    EXPECT_LT(rotDiffDeg(stat.act_cartpos, b), 0.01);
    EXPECT_EQ(stat.cur_trajId, 5);
}

TEST_F(MotionTest, StopDeceleratesAndClearsQueue) {
    const double p[3][6] = {{60, 0, 0, 0, 90, 0}, {60, 20, 0, 0, 90, 0}, {0, 20, 0, 0, 90, 0}};
    for (int i = 0; i < 3; ++i) ASSERT_EQ(cmd.movjAbs(p[i], 40, 100, 10 + i, 5), 0);
    EXPECT_EQ(arm.queuedMoves(), 3u);
    arm.step(0.6);
    ASSERT_EQ(cmd.motionStop(), 0);
    EXPECT_EQ(arm.queuedMoves(), 0u);
    stat.poll();
    EXPECT_TRUE(stat.ra_is_moving) << "braking takes time";
    const double t = runUntilDone(5);
    EXPECT_NEAR(t, 0.4, 0.05);  // 40 deg/s at 100 deg/s^2: done braking, not timed out
    EXPECT_EQ(stat.cur_trajId, 10);
    EXPECT_LT(stat.act_jpos[0], 59.0);
    EXPECT_EQ(stat.errType, 0);
}

TEST_F(MotionTest, RefusalsAndLimitCodes) {
    const double over[6] = {0, 149, 0, 0, 90, 0};  // joint 2 above its default soft maximum of 145
    EXPECT_EQ(cmd.movjAbs(over, 10, 10, 1, 0), 0x10042);
    ASSERT_EQ(cmd.setMaxLimit(4, 80), 0);
    const double j5[6] = {0, 0, 0, 0, 85, 0};
    EXPECT_EQ(cmd.movjAbs(j5, 10, 10, 1, 0), 0x40042);
    const double ok[6] = {0, 0, 0, 0, 60, 0};
    EXPECT_EQ(cmd.movjAbs(ok, 0, 10, 1, 0), kErrBadArgument);
    EXPECT_EQ(cmd.movjAbs(ok, 10, -1, 1, 0), kErrBadArgument);
    double nanPose[6] = {0, 0, std::nan(""), 0, 0, 0};
    EXPECT_EQ(cmd.movl(nanPose, 10, 10, 1, 0), kErrBadArgument);
    const double far[6] = {5000, 0, 0, 180, 0, 0};
    EXPECT_EQ(cmd.movl(far, 100, 100, 1, 0), kKineUnreachable);
    EXPECT_EQ(arm.queuedMoves(), 0u);
    ASSERT_EQ(cmd.disableRobot(), 0);
    EXPECT_EQ(cmd.movjAbs(ok, 10, 10, 1, 0), kErrNotEnabled);
    stat.poll();
    EXPECT_EQ(stat.cur_trajId, -1);
}

// A straight line the arm cannot follow ends in an error on the way: behind the base joint 1
// would need 180 deg; through the wrist singularity joint 5 would have to jump. The arm stops
// short, refuses moves until the error is cleared, and moves again afterwards.
TEST_F(MotionTest, LinearPathTheArmCannotFollowStopsWithError) {
    ASSERT_EQ(cmd.setMaxLimit(0, 170), 0);
    ASSERT_EQ(cmd.setMinLimit(0, -170), 0);
    const struct {
        const char* what;
        double start[6];
        int joint;  // the line ends with this joint mirrored
        double vel, acc;
        int orCode;    // accepted besides kErrPathUnreachable
        double bound;  // where the arm stops, |joint| is beyond this bound (true) or within it (false)
        bool beyond;
    } cases[] = {
        {"behind the base", {160, 20, -10, 0, 60, 0}, 0, 200, 1000, kErrPathUnreachable, 169.0, true},
        {"through the wrist singularity", {0, 30, -20, 0, 8, 0}, 4, 50, 500, kErrJointJump, 8.0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(cmd.movjAbs(c.start, 100, 400, 1, 0), 0);
        runUntilDone(20);
        double end[6], pose[6];
        std::copy(c.start, c.start + 6, end);
        end[c.joint] = -c.start[c.joint];
        unsigned char cfg = 0;
        ASSERT_EQ(cmd.fkine(end, pose, &cfg, nullptr, nullptr), 0);
        ASSERT_EQ(cmd.movl(pose, c.vel, c.acc, 2, 0), 0);
        runUntilDone(20);
        const auto [code, type] = errInfo();
        EXPECT_TRUE(code == kErrPathUnreachable || code == c.orCode) << std::hex << code;
        EXPECT_EQ(type, -1);
        EXPECT_TRUE(stat.ra_is_inst_done);
        EXPECT_FALSE(stat.ra_is_moving);
        EXPECT_EQ(std::fabs(stat.act_jpos[c.joint]) > c.bound, c.beyond) << stat.act_jpos[c.joint];
        EXPECT_EQ(cmd.movjAbs(c.start, 10, 10, 3, 0), kErrFaultActive);
        EXPECT_EQ(cmd.exitProtect(0), 0);
        EXPECT_EQ(cmd.movjAbs(c.start, 10, 10, 3, 0), 0);
        runUntilDone(20);
    }
}

TEST_F(MotionTest, LinearMovesBlendAndEndOnTheLastTarget) {
    const auto a = pose();
    auto b = a;
    b[1] += 150;
    auto c = b;
    c[2] -= 150;
    ASSERT_EQ(cmd.movl(b.data(), 200, 1000, 1, 20), 0);
    ASSERT_EQ(cmd.movl(c.data(), 200, 1000, 2, 0), 0);
    auto prev = a;
    double minSpeed = 1e9, cornerDist = 1e9;
    runUntilDone(10, [&](const SrciPortStat& s) {
        const double v = dist3(s.act_cartpos, prev) / dt;
        std::copy(s.act_cartpos, s.act_cartpos + 3, prev.begin());
        cornerDist = std::min(cornerDist, dist3(s.act_cartpos, b));
        if (dist3(s.act_cartpos, a) > 30 && dist3(s.act_cartpos, c) > 30) minSpeed = std::min(minSpeed, v);
    });
    EXPECT_GT(minSpeed, 50.0) << "no stop at the corner";
    EXPECT_GT(cornerDist, 1.0) << "the corner is rounded";
    EXPECT_LT(cornerDist, 20.0);
    EXPECT_LT(dist3(stat.act_cartpos, c), 0.01);
    EXPECT_EQ(stat.cur_trajId, 2);
    EXPECT_EQ(stat.errType, 0);
}
