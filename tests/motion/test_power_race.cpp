// SPDX-License-Identifier: Apache-2.0
// The main cycle keeps polling the controller and running the motion manager while the power
// worker enables and disables the arm with moves queued. Run under ThreadSanitizer (label tsan):
// the worker must share neither a status snapshot nor the motion queues with the cycle.
#include <unistd.h>

#include <chrono>

#include "motion_fixture.h"

using namespace motion_test;

namespace {

class PowerRace : public MotionFixture {
protected:
    // One cycle as the runtime makes it: poll the controller, ask for a worker while the
    // arm's state differs from the wish, then run the motion manager.
    void runtimeCycle() {
        srci::RcItf* rc = srci::RcItf::get(true);
        const bool on = rc->isRobotPower() && rc->isRobotEnable();
        if (on != helper.requireEnable) helper.TryEnableRobot(helper.requireEnable);
        (void)rc->getCartesianPos();
        (void)rc->isProfinetRunning();
        cycle();
    }

    // Until the arm is in the wished state and no worker is left; the worker waits in real
    // time, so the cycles are paced (the limit only matters when something hangs).
    bool settle(bool enabled) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < limit) {
            srci::RcItf* rc = srci::RcItf::get(true);
            if (rc->isRobotEnable() == enabled && !enable_thread_running) return true;
            runtimeCycle();
            usleep(500);
        }
        return false;
    }
};

TEST_F(PowerRace, HundredEnableDisableRoundsWithMovesQueued) {
    int stoppedWithError = 0;
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        helper.TryEnableRobot(true);
        ASSERT_TRUE(settle(true));
        ASSERT_TRUE(idle());

        const uint32_t id = 10 + 2 * static_cast<uint32_t>(round % 50);
        mm.pushCmd(linearMove(id, offset(home, 0.0, 0.0, 40.0)));
        mm.pushCmd(linearMove(id + 1, home));
        ASSERT_TRUE(runUntil([&] { return srci::RcItf::get(true)->isRcMoving(); }))
            << mm.motionCmdList_.size() << " " << (idle() ? -9 : mm.motionCmdList_.front().state) << " "
            << (idle() ? -9 : mm.motionCmdList_.front().errorCode);

        srl_double::reset();
        helper.TryEnableRobot(false);
        ASSERT_TRUE(settle(false));
        ASSERT_TRUE(runUntil([&] { return idle(); }));
        const auto reports = srl_double::statesOf(id);
        if (!reports.empty() && reports.back().state == LRob_typeServerMotionStateError &&
            reports.back().errorCode == 48)
            ++stoppedWithError;
        // Back home for the next round.
        helper.TryEnableRobot(true);
        ASSERT_TRUE(settle(true));
        mm.pushCmd(linearMove(999, home));
        ASSERT_TRUE(runUntil([&] { return idle(); }));
    }
    EXPECT_EQ(stoppedWithError, 100) << "each disable during a move reports that move as failed";
}

}  // namespace
