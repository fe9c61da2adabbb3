// SPDX-License-Identifier: Apache-2.0
#include "srciport/kinematics.h"
#include "srciport/euler.h"
#include "srciport/srciport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace srciport;

namespace {

double posError(const Transform& a, const Transform& b) { return norm(a.pos - b.pos); }
double rotErrorDeg(const Transform& a, const Transform& b) { return rad2deg(rotationAngle(transpose(a.rot) * b.rot)); }

// Random joints inside the hard limits, with every singular configuration at least
// `margin` deg (wrist) or mm (shoulder) away.
Joints randomJoints(std::mt19937_64& rng, const Kinematics& k) {
    for (;;) {
        Joints q;
        for (int j = 0; j < 6; ++j) {
            std::uniform_real_distribution<double> d(k.limits()[j][0], k.limits()[j][1]);
            q[j] = d(rng);
        }
        if (std::fabs(std::sin(deg2rad(q[4]))) < std::sin(deg2rad(2.0))) continue;
        const Transform f = k.forward(q);
        const Vec3 wc = f.pos - k.table()[5].d * f.rot.col(2);
        if (std::hypot(wc.x, wc.y) < 20.0) continue;
        // keep away from the stretched / folded elbow as well
        const double beta = deg2rad(q[2]) + std::atan2(k.table()[3].d, k.table()[2].a);
        if (std::fabs(std::sin(beta)) < 0.03) continue;
        return q;
    }
}

}  // namespace

TEST(Euler, RoundTripAndConvention) {
    // Convention check on one non-trivial rotation: R = Rz * Ry * Rx.
    const Mat3 r = eulerToMatrix(30, 20, 10);
    const Mat3 expect = rotZ(deg2rad(10)) * rotY(deg2rad(20)) * rotX(deg2rad(30));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(r.m[i][j], expect.m[i][j], 1e-15);
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> a(-179.9, 179.9), b(-89.9, 89.9);
    for (int n = 0; n < 1000; ++n) {
        const double in[3] = {a(rng), b(rng), a(rng)};
        double out[3];
        matrixToEuler(eulerToMatrix(in[0], in[1], in[2]), out);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(out[i], in[i], 1e-9);
    }
    // Gimbal lock: the reported angles still give the same rotation.
    double out[3];
    const Mat3 g = eulerToMatrix(25, 90, -40);
    matrixToEuler(g, out);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_LT(rad2deg(rotationAngle(transpose(g) * eulerToMatrix(out[0], out[1], out[2]))), 1e-9);
}

TEST(Kinematics, RandomRoundTripAllConfigurations) {
    Kinematics k;
    std::mt19937_64 rng(20240611);
    int solved = 0;
    double worstPos = 0, worstRot = 0;
    for (int n = 0; n < 10000; ++n) {
        const Joints q = randomJoints(rng, k);
        uint8_t cfg = 0;
        const Transform p = k.forward(q, &cfg);
        for (uint8_t want = 0; want < 8; ++want) {
            Joints sol;
            const int rc = k.inverse(p, want, q, sol);
            if (want == cfg) {
                // The configuration the pose came from always solves, back to the same joints.
                ASSERT_EQ(rc, 0) << "n=" << n;
                for (int j = 0; j < 6; ++j) ASSERT_NEAR(sol[j], q[j], 1e-6);
            }
            if (rc != 0) {
                // Other arm configurations may be out of reach (the shoulder offset shortens
                // the reach backwards) or out of the joint ranges, never singular here.
                EXPECT_TRUE(rc == kKineJointRange || rc == kKineUnreachable) << rc;
                continue;
            }
            ++solved;
            uint8_t got = 0;
            const Transform back = k.forward(sol, &got);
            ASSERT_EQ(got, want) << "n=" << n;
            worstPos = std::max(worstPos, posError(back, p));
            worstRot = std::max(worstRot, rotErrorDeg(back, p));
            for (int j = 0; j < 6; ++j) {
                ASSERT_GE(sol[j], k.limits()[j][0] - 1e-9);
                ASSERT_LE(sol[j], k.limits()[j][1] + 1e-9);
            }
        }
    }
    EXPECT_LT(worstPos, 1e-6);
    EXPECT_LT(worstRot, 1e-6);
    // Most of the eight solutions of a random pose lie within the joint ranges.
    EXPECT_GT(solved, 10000 * 3);
}

TEST(Kinematics, ConfigurationBitsMeanWhatTheHeaderSays) {
    // Geometry of the default arm written out by hand: shoulder 400 up and 100 out along the
    // heading of joint 1, upper arm of 450 vertical at joint 2 = 0 and leaning forward.
    Kinematics k;
    std::mt19937_64 rng(11);
    int checked = 0;
    for (int n = 0; n < 2000; ++n) {
        const Joints q = randomJoints(rng, k);
        uint8_t cfg = 0;
        const Transform f = k.forward(q, &cfg);
        const Vec3 heading{std::cos(deg2rad(q[0])), std::sin(deg2rad(q[0])), 0};
        const Vec3 shoulder = Vec3{0, 0, 400} + 100.0 * heading;
        const Vec3 elbow = shoulder + 450.0 * (std::sin(deg2rad(q[1])) * heading + Vec3{0, 0, std::cos(deg2rad(q[1]))});
        const Vec3 wc = f.pos - 90.0 * f.rot.col(2);
        const double ahead = dot(wc, heading);
        const Vec3 line = wc - shoulder;
        const Vec3 e = elbow - shoulder;
        const Vec3 perp = e - (dot(e, line) / dot(line, line)) * line;
        if (std::fabs(ahead) < 120 || std::fabs(perp.z) < 5 || dot(line, heading) * ahead < 0) continue;
        ++checked;
        EXPECT_EQ((cfg & 1) != 0, ahead > 0) << "shoulder: front = wrist centre ahead of axis 1";
        EXPECT_EQ((cfg & 2) != 0, perp.z > 0) << "elbow: up = elbow above the shoulder-wrist line";
        EXPECT_EQ((cfg & 4) != 0, q[4] > 0) << "wrist: non-flip = joint 5 positive";
    }
    EXPECT_GT(checked, 500);
}

// Joint 6 (+-450) has several turns: the seed picks the nearest. Joint 1 has no second turn
// inside +-170, so the seed cannot push it out of range. On joint 4 (+-190), 175 and -185 are
// the same angle.
TEST(Kinematics, SeedSelectsTurnNumber) {
    Kinematics k;
    const struct {
        Joints q;
        int joint;
        double seed, expected;
    } rows[] = {
        {{10, 20, -30, 40, 50, 20}, 5, 350, 380},
        {{10, 20, -30, 40, 50, 20}, 5, -300, -340},
        {{10, 20, -30, 40, 50, 20}, 0, 370, 10},
        {{0, 10, -20, 175, 40, 0}, 3, -170, -185},
    };
    for (const auto& r : rows) {
        uint8_t cfg = 0;
        const Transform p = k.forward(r.q, &cfg);
        Joints seed = r.q, sol;
        seed[r.joint] = r.seed;
        ASSERT_EQ(k.inverse(p, cfg, seed, sol), 0);
        EXPECT_NEAR(sol[r.joint], r.expected, 1e-9) << "joint " << r.joint + 1 << " seed " << r.seed;
    }
}

TEST(Kinematics, SingularAndUnreachableFailCleanly) {
    Kinematics k;
    Joints sol = {1, 2, 3, 4, 5, 6};
    const Joints before = sol;
    // Wrist singularity: joint 5 exactly 0. Both wrist flags of that arm configuration fail;
    // the other arm configurations put the wrist elsewhere and may solve.
    uint8_t cfg = 0;
    const Transform wrist = k.forward({10, 20, -30, 40, 0, 20}, &cfg);
    EXPECT_EQ(k.inverse(wrist, cfg & 3, sol, sol), kKineSingular);
    EXPECT_EQ(k.inverse(wrist, (cfg & 3) | 4, sol, sol), kKineSingular);
    // Shoulder singularity: wrist centre on axis 1. Build the flange pose directly.
    Transform shoulder;
    shoulder.rot = rotX(kPi);  // flange pointing down
    shoulder.pos = {0, 0, 900 + k.table()[5].d};
    for (uint8_t c = 0; c < 8; ++c) EXPECT_EQ(k.inverse(shoulder, c, sol, sol), kKineSingular);
    // Out of reach.
    Transform far;
    far.pos = {3000, 0, 400};
    for (uint8_t c = 0; c < 8; ++c) EXPECT_EQ(k.inverse(far, c, sol, sol), kKineUnreachable);
    // Not a number.
    Transform nan = far;
    nan.pos.x = std::nan("");
    EXPECT_EQ(k.inverse(nan, 0, sol, sol), kKineBadInput);
    for (int j = 0; j < 6; ++j) EXPECT_EQ(sol[j], before[j]) << "a failed solve leaves the output alone";
}

TEST(Kinematics, LoadRejectsTablesWithoutSphericalWrist) {
    Kinematics k;
    DhTable t = defaultDhTable();
    t[4].a = 10;  // wrist axes no longer meet
    EXPECT_EQ(k.load(t), kKineBadTable);
    t = defaultDhTable();
    t[1].alpha = 45;
    EXPECT_EQ(k.load(t), kKineBadTable);
    // A different but well-formed arm loads and solves.
    // (alpha, a, d, offset) per joint; d = 30 on joint 2 is a lateral shoulder offset.
    t = {{{90, 150, 500, 0}, {0, 600, 30, 90}, {90, 120, 0, 0}, {-90, 0, 640, 0}, {90, 0, 0, 0}, {0, 0, 110, 0}}};
    ASSERT_EQ(k.load(t), 0);
    std::mt19937_64 rng(3);
    for (int n = 0; n < 500; ++n) {
        const Joints q = randomJoints(rng, k);
        uint8_t cfg = 0;
        const Transform p = k.forward(q, &cfg);
        Joints sol;
        ASSERT_EQ(k.inverse(p, cfg, q, sol), 0);
        EXPECT_LT(posError(k.forward(sol), p), 1e-6);
        for (int j = 0; j < 6; ++j) EXPECT_NEAR(sol[j], q[j], 1e-6);
    }
}

TEST(Kinematics, PortToolAndFrameTransforms) {
    SrciPortCmd cmd;
    const double q[6] = {15, 25, -35, 45, 55, 65};
    const double tool[6] = {10, -20, 150, 0, 90, 0};
    const double frame[6] = {500, 300, 100, 0, 0, 30};
    double flange[6], tcp[6], tcpUser[6];
    unsigned char c0 = 0, c1 = 0;
    ASSERT_EQ(cmd.fkine(q, flange, &c0, nullptr, nullptr), 0);
    ASSERT_EQ(cmd.fkine(q, tcpUser, &c1, tool, frame), 0);
    EXPECT_EQ(c0, c1);
    // The TCP is the tool offset applied in flange coordinates.
    const Transform expectTcp = poseToTransform(flange) * poseToTransform(tool);
    const double zeroFrame[6] = {};
    ASSERT_EQ(cmd.fkine(q, tcp, &c1, tool, zeroFrame), 0);
    EXPECT_LT(posError(poseToTransform(tcp), expectTcp), 1e-9);
    // Expressed in the user frame it matches the world->user conversion.
    double conv[6];
    ASSERT_EQ(cmd.calFrameWorldToUser(tcp, frame, conv), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(conv[i], tcpUser[i], 1e-9);
    double world[6];
    ASSERT_EQ(cmd.calFrameUserToWorld(conv, frame, world), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(world[i], tcp[i], 1e-9);
    // Frame translation only: a point at the frame origin is zero in the frame.
    const double origin[6] = {500, 300, 100, 0, 0, 30};
    ASSERT_EQ(cmd.calFrameWorldToUser(origin, frame, conv), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(conv[i], 0.0, 1e-9);
    // IK through tool and frame returns the joints.
    double sol[6] = {0, 0, 0, 0, 30, 0};
    ASSERT_EQ(cmd.ikine(tcpUser, sol, c0, tool, frame), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(sol[i], q[i], 1e-6);
    // Non-finite input is refused without touching the output.
    double bad[6] = {0, 0, std::nan(""), 0, 0, 0};
    EXPECT_NE(cmd.calFrameWorldToUser(bad, frame, conv), 0);
    EXPECT_NE(cmd.ikine(bad, sol, c0, tool, frame), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(sol[i], q[i], 1e-6);
}
