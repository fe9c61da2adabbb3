// SPDX-License-Identifier: Apache-2.0
// The power/enable worker: one worker at a time, disable through the motion manager, and
// failures that leave the flags ready for the next attempt.
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include <pthread.h>

#include "motion_fixture.h"

using namespace motion_test;

namespace {

// The first worker's controller wait blocks here until the test opens the gate, so that a
// second worker started in the same cycle is sure to find the lock taken.
std::mutex gateMu;
std::condition_variable gateCv;
bool gateOpen = true;

void gatedSleep(int ms) {
    {
        std::unique_lock<std::mutex> lock(gateMu);
        gateCv.wait(lock, [] { return gateOpen; });
    }
    stepSleep(ms);
}

void setGate(bool open) {
    {
        std::lock_guard<std::mutex> lock(gateMu);
        gateOpen = open;
    }
    gateCv.notify_all();
}

// Workers are detached and cannot be joined. They inherit the name of the thread that
// requested them, so requests are made under a name of their own and the live workers are
// the threads that still carry it.
constexpr const char* kWorkerName = "power-request";

size_t liveWorkers() {
    size_t n = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        if (readFile(task.path() / "comm") == std::string(kWorkerName) + "\n") ++n;
    return n;
}

void waitForWorkers(size_t remaining) {
    while (liveWorkers() > remaining) usleep(1000);
}

void request(bool enable) {
    char own[16] = {};
    pthread_getname_np(pthread_self(), own, sizeof own);
    pthread_setname_np(pthread_self(), kWorkerName);
    helper.TryEnableRobot(enable);
    pthread_setname_np(pthread_self(), own);
}

class PowerTest : public MotionFixture {
protected:
    void SetUp() override {
        // Any helper thread of the runtime is created now, not under the workers' name.
        std::thread([] {}).join();
        MotionFixture::SetUp();
        EDK_Helper::power_enable_need_update = false;
    }
    void TearDown() override {
        setGate(true);
        srci::setRcItfSleep(stepSleep);
        sim().setPowerRefuse(false);
        MotionFixture::TearDown();
    }

    // Once no worker is left, everything it wrote is visible here.
    static void waitForAllWorkers() {
        waitForWorkers(0);
        EXPECT_FALSE(enable_thread_running);
    }
};

// The flag is set only once a worker holds the lock, so the second request normally finds it
// still clear and starts a second worker; when the first worker was quicker than that, the
// second request starts nothing, which is also correct, and the attempt is repeated.
TEST_F(PowerTest, TwoRequestsInOneCycleLeaveExactlyOneWorkerActing) {
    bool twoStarted = false;
    for (int attempt = 0; attempt < 50 && !twoStarted; ++attempt) {
        sim().reset();
        ASSERT_FALSE(srci::RcItf::get(true)->isRobotPower());
        Log::clear();
        EDK_Helper::power_enable_need_update = false;
        setGate(false);
        srci::setRcItfSleep(gatedSleep);
        request(true);
        request(true);
        // Whichever worker took the lock waits at the gate; any other one has to give up.
        waitForWorkers(1);
        setGate(true);
        waitForAllWorkers();

        const size_t started = Log::count("power thread working...");
        ASSERT_TRUE(started == 1 || started == 2);
        EXPECT_EQ(Log::count("power thread already in progress..."), started - 1);
        EXPECT_EQ(Log::count("power thread work end..."), 1u);
        EXPECT_FALSE(enable_thread_running);
        EXPECT_TRUE(EDK_Helper::power_enable_need_update);
        EXPECT_TRUE(helper.requireEnable);
        srci::RcItf* rc = srci::RcItf::get(true);
        EXPECT_TRUE(rc->isRobotPower());
        EXPECT_TRUE(rc->isRobotEnable());
        twoStarted = started == 2;
    }
    EXPECT_TRUE(twoStarted);
}

TEST_F(PowerTest, DisablingWhileMovingStopsThroughTheMotionManagerFirst) {
    mm.pushCmd(linearMove(5, offset(home, 0.0, 0.0, 60.0)));
    ASSERT_TRUE(runUntil([&] { return mm.motionCmdList_.front().state == LRob_typeServerMotionStateMove; }));
    ASSERT_TRUE(srci::RcItf::get(true)->isRcMoving());

    request(false);
    waitForAllWorkers();
    EXPECT_EQ(Log::count("raise error when moving"), 0u) << "the queues are the main thread's";
    cycle();
    EXPECT_EQ(Log::count("raise error when moving"), 1u);
    ASSERT_EQ(mm.motionCmdList_.size(), 1u);
    EXPECT_EQ(mm.motionCmdList_.front().state, LRob_typeServerMotionStateError);
    EXPECT_EQ(mm.motionCmdList_.front().errorCode, 48);
    EXPECT_EQ(Log::count("veld inner stop...no change edk motion state: 0"), 1u);
    srci::RcItf* rc = srci::RcItf::get(true);
    EXPECT_FALSE(rc->isRobotEnable());
    EXPECT_TRUE(rc->isRobotPower());  // disabling never switches power off
    EXPECT_FALSE(helper.requireEnable);

    ASSERT_TRUE(runUntil([&] { return idle(); }));
    const auto reports = srl_double::statesOf(5);
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back().state, LRob_typeServerMotionStateError);
    EXPECT_EQ(reports.back().errorCode, 48);
    EXPECT_EQ(srl_double::callsOf("error_warning").size(), 1u);
}

TEST_F(PowerTest, DisablingAnIdleRobotDoesNotTouchTheMotionManager) {
    request(false);
    waitForAllWorkers();
    EXPECT_EQ(Log::count("raise error when moving"), 0u);
    EXPECT_EQ(Log::count("veld inner stop"), 0u);
    EXPECT_FALSE(srci::RcItf::get(true)->isRobotEnable());
}

TEST_F(PowerTest, FailedPowerOnIsLoggedEnableIsNotTriedAndALaterRequestWorks) {
    sim().reset();
    sim().setPowerRefuse(true);
    request(true);
    waitForAllWorkers();
    EXPECT_EQ(Log::count("\n71\n"), 1u);  // err_power_on
    EXPECT_EQ(Log::count("\n74\n"), 0u);  // no enable attempt, so no err_enable
    EXPECT_EQ(Log::count("logErr"), 1u);
    EXPECT_TRUE(EDK_Helper::power_enable_need_update);
    EXPECT_FALSE(srci::RcItf::get(true)->isRobotPower());

    sim().setPowerRefuse(false);
    EDK_Helper::power_enable_need_update = false;
    request(true);
    waitForAllWorkers();
    EXPECT_TRUE(EDK_Helper::power_enable_need_update);
    EXPECT_TRUE(srci::RcItf::get(true)->isRobotEnable());
}

TEST(PowerLocker, TryLockNeverWaitsAndReleasesOnlyWhatItHolds) {
    std::mutex m;
    {
        VELD_Locker first(m);
        EXPECT_TRUE(first.tryLock());
        VELD_Locker second(m);
        EXPECT_FALSE(second.tryLock());
    }  // the second guard must not unlock what the first one holds... and the first releases
    EXPECT_TRUE(m.try_lock());
    m.unlock();
}

}  // namespace
