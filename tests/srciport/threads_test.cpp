// SPDX-License-Identifier: Apache-2.0
// Commands from two threads at once against the real-time simulator thread (run under TSan).
#include "sim_fixture.h"

#include "child_process.h"

#include <atomic>
#include <filesystem>
#include <thread>

using namespace srciport;
namespace fs = std::filesystem;

namespace {

// Invariants every single snapshot must satisfy, whatever happens concurrently.
void checkSnapshot(const SrciPortStat& s) {
    EXPECT_TRUE(!s.ra_enable_stat || s.ra_power_stat);
    EXPECT_TRUE(!s.ra_is_inst_done || !s.ra_is_moving);
    EXPECT_GE(s.speed_ratio, 0.0);
    EXPECT_LE(s.speed_ratio, 1.0);
    for (int j = 0; j < 6; ++j) {
        EXPECT_GE(s.act_jpos[j], s.hard_limits[2 * j]);
        EXPECT_LE(s.act_jpos[j], s.hard_limits[2 * j + 1]);
    }
    EXPECT_TRUE(!s.errCode || s.errType == -1);
}

}  // namespace

TEST(SimArmTsan, TwoCommandThreadsAndPollAgainstRealTimeTick) {
    SimArm& arm = SimArm::instance();
    arm.setManual(false);
    arm.reset();
    arm.setPowerDelay(0.01);
    arm.setEnableDelay(0.01);
    // init() in a fresh working directory starts the tick thread and the channel there
    const srci_test::TempDir dir;
    const fs::path old = fs::current_path();
    fs::current_path(dir.path());
    SrciPortStat init;
    ASSERT_EQ(init.init(), 0);
    EXPECT_TRUE(arm.threadRunning());
    EXPECT_TRUE(fs::exists("srciport.sock"));

    std::atomic<bool> stop{false};
    std::atomic<int> polls{0};
    std::thread mainCycle([&] {
        SrciPortCmd cmd;
        SrciPortStat st;
        cmd.init();
        st.init();
        uint32_t id = 0;
        while (!stop) {
            st.poll();
            checkSnapshot(st);
            ++polls;
            const double a[6] = {static_cast<double>(id % 40), 10, -20, 0, 60, 0};
            cmd.movjAbs(a, 200, 2000, ++id, 2);
            cmd.setSpeedRatio((id % 10) / 10.0);
            if (id % 7 == 0) cmd.motionPause();
            if (id % 7 == 3) cmd.motionContinue();
            if (id % 13 == 0) cmd.motionStop();
            if (id % 17 == 0) cmd.exitProtect(0);
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    });
    std::thread powerWorker([&] {
        SrciPortCmd cmd;
        SrciPortStat st;
        int n = 0;
        while (!stop) {
            ++n;
            cmd.powerOnRobot();
            cmd.enableRobot();
            st.poll();
            checkSnapshot(st);
            if (n % 5 == 0) cmd.jogCont(2, 1 + n % 6, 20, 0);
            if (n % 5 == 2) cmd.jogStop(2, 1);
            if (n % 11 == 0) cmd.disableRobot();
            if (n % 23 == 0) arm.request("pstop on");
            if (n % 23 == 1) arm.request("pstop off");
            double pose[6];
            unsigned char cfg;
            cmd.fkine(st.act_jpos, pose, &cfg, nullptr, nullptr);
            cmd.ikine(pose, st.act_jpos, cfg, nullptr, nullptr);
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    stop = true;
    mainCycle.join();
    powerWorker.join();
    EXPECT_GT(polls.load(), 100);
    EXPECT_GT(arm.time(), 0.5) << "the tick thread advanced time";

    arm.stopControlChannel();
    arm.stopThread();
    arm.setManual(true);
    fs::current_path(old);
}
