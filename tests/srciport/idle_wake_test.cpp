// SPDX-License-Identifier: Apache-2.0
// The tick thread sleeps while the arm stands with nothing to do; every command must wake it at
// once. Each step below starts from a standing arm, so a missing wake-up leaves the request
// undone (the generous deadlines only matter on failure).
#include "sim_fixture.h"

#include <chrono>
#include <cmath>
#include <thread>

#include "child_process.h"

using srci_test::eventually;

namespace {

void standStill() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

using SimArmIdle = SimArmTest;

TEST_F(SimArmIdle, EveryRequestWakesTheStandingArm) {
    arm.setManual(false);
    arm.startThread();

    standStill();
    ASSERT_EQ(arm.powerOn(), 0);
    EXPECT_TRUE(eventually(
        [&] {
            stat.poll();
            return stat.ra_power_stat != 0;
        },
        10000))
        << "power-on";

    standStill();
    ASSERT_EQ(arm.enable(), 0);
    EXPECT_TRUE(eventually(
        [&] {
            stat.poll();
            return stat.ra_enable_stat != 0;
        },
        10000))
        << "enable";

    const double targets[2][6] = {{10, 0, 0, 0, 90, 0}, {0, 0, 0, 0, 90, 0}};
    for (int round = 0; round < 2; ++round) {  // the second move starts from a parked thread again
        standStill();
        ASSERT_EQ(arm.moveJoint(targets[round], 200, 400, 7u + static_cast<unsigned>(round), 0), 0);
        const double want = targets[round][0];
        EXPECT_TRUE(eventually(
            [&] {
                stat.poll();
                return stat.ra_is_inst_done && !stat.ra_is_moving && std::abs(stat.act_jpos[0] - want) < 1e-6;
            },
            10000))
            << "move " << round;
    }
    arm.stopThread();
    EXPECT_FALSE(arm.threadRunning()) << "a parked thread must still stop";
}

}  // namespace
