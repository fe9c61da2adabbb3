// SPDX-License-Identifier: Apache-2.0
// The tick thread sleeps while the arm stands with nothing to do; every command must wake it at
// once. Each step below starts from a standing arm, so a missing wake-up leaves the request
// undone (the generous deadlines only matter on failure).
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <thread>

#include "srciport/sim_arm.h"
#include "srciport/srciport.h"

using srciport::SimArm;

namespace {

SrciPortStat status() {
    SrciPortStat s;
    SimArm::instance().snapshot(s);
    return s;
}

bool within(std::chrono::seconds limit, const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void standStill() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

TEST(SimArmIdle, EveryRequestWakesTheStandingArm) {
    SimArm& arm = SimArm::instance();
    arm.setManual(true);
    arm.stopThread();
    arm.reset();
    arm.setManual(false);
    arm.startThread();

    standStill();
    ASSERT_EQ(arm.powerOn(), 0);
    EXPECT_TRUE(within(std::chrono::seconds(10), [] { return status().ra_power_stat != 0; })) << "power-on";

    standStill();
    ASSERT_EQ(arm.enable(), 0);
    EXPECT_TRUE(within(std::chrono::seconds(10), [] { return status().ra_enable_stat != 0; })) << "enable";

    const double targets[2][6] = {{10, 0, 0, 0, 90, 0}, {0, 0, 0, 0, 90, 0}};
    for (int round = 0; round < 2; ++round) {  // the second move starts from a parked thread again
        standStill();
        ASSERT_EQ(arm.moveJoint(targets[round], 200, 400, 7u + static_cast<unsigned>(round), 0), 0);
        const double want = targets[round][0];
        EXPECT_TRUE(within(std::chrono::seconds(10),
                           [&] {
                               const SrciPortStat s = status();
                               return s.ra_is_inst_done && !s.ra_is_moving && std::abs(s.act_jpos[0] - want) < 1e-6;
                           }))
            << "move " << round;
    }
    arm.stopThread();
    EXPECT_FALSE(arm.threadRunning()) << "a parked thread must still stop";
}

}  // namespace
