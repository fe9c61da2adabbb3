// SPDX-License-Identifier: Apache-2.0
// Shared set-up for tests that drive the simulated arm by hand.
#pragma once

#include "srciport/codes.h"
#include "srciport/euler.h"
#include "srciport/kinematics.h"
#include "srciport/sim_arm.h"
#include "srciport/srciport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

using Samples = std::vector<std::array<double, 6>>;

// Largest first (order 1: speed) or second (order 2: acceleration) difference per tick, of the
// xyz vector (n = 3) or of any joint (n = 6).
inline double maxRate(const Samples& s, int order, int n) {
    double m = 0;
    for (size_t k = static_cast<size_t>(order); k < s.size(); ++k) {
        double d[6], sq = 0;
        for (int j = 0; j < 6; ++j) {
            d[j] = order == 1 ? s[k][j] - s[k - 1][j] : s[k][j] - 2 * s[k - 1][j] + s[k - 2][j];
            sq += j < 3 ? d[j] * d[j] : 0;
            if (n == 6) m = std::max(m, std::fabs(d[j]));
        }
        if (n == 3) m = std::max(m, std::sqrt(sq));
    }
    return m / std::pow(srciport::SimArm::kTick, order);
}

class SimArmTest : public ::testing::Test {
protected:
    srciport::SimArm& arm = srciport::SimArm::instance();
    SrciPortCmd cmd;
    SrciPortStat stat;

    void SetUp() override {
        arm.setManual(true);
        arm.stopThread();
        arm.reset();
        ASSERT_EQ(stat.init(), 0);
        ASSERT_EQ(cmd.init(), 0);
        ASSERT_FALSE(arm.threadRunning());
    }

    void powerAndEnable() {
        ASSERT_EQ(cmd.powerOnRobot(), 0);
        arm.step(1.0);
        ASSERT_EQ(cmd.enableRobot(), 0);
        arm.step(1.0);
        stat.poll();
        ASSERT_NE(stat.ra_enable_stat, 0);
    }

    // The status `seconds` of simulated time from now.
    const SrciPortStat& statusAfter(double seconds) {
        arm.step(seconds);
        stat.poll();
        return stat;
    }

    // Steps tick by tick until the queue is done (or maxSeconds), calling `each` after every
    // tick with a fresh snapshot.
    double runUntilDone(double maxSeconds, const std::function<void(const SrciPortStat&)>& each = {}) {
        const double t0 = arm.time();
        while (arm.time() - t0 < maxSeconds) {
            arm.step(srciport::SimArm::kTick);
            stat.poll();
            if (each) each(stat);
            if (stat.ra_is_inst_done && !stat.ra_is_moving) break;
        }
        return arm.time() - t0;
    }

    std::array<double, 6> joints() {
        stat.poll();
        std::array<double, 6> q;
        for (int j = 0; j < 6; ++j) q[j] = stat.act_jpos[j];
        return q;
    }

    // The TCP pose (x, y, z, rx, ry, rz) in the active user frame.
    std::array<double, 6> pose() {
        stat.poll();
        std::array<double, 6> p;
        std::copy(stat.act_cartpos, stat.act_cartpos + 6, p.begin());
        return p;
    }

    // The controller's error code and type, as the adapter reads them.
    std::pair<int, int> errInfo() {
        int code = 0, type = 0;
        EXPECT_EQ(cmd.updateErrInfo(code, type), 0);
        return {code, type};
    }

    // The joints after every tick for `seconds`, starting with where they stand now.
    Samples jointsDuring(double seconds) {
        Samples q{joints()};
        for (double t = 0; t < seconds; t += srciport::SimArm::kTick) {
            arm.step(srciport::SimArm::kTick);
            q.push_back(joints());
        }
        return q;
    }
};
