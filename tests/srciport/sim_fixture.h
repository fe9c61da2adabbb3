// SPDX-License-Identifier: Apache-2.0
// Shared set-up for tests that drive the simulated arm by hand.
#pragma once

#include "srciport/codes.h"
#include "srciport/euler.h"
#include "srciport/kinematics.h"
#include "srciport/sim_arm.h"
#include "srciport/srciport.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <vector>

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
};
