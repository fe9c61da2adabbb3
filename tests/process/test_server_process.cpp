// SPDX-License-Identifier: Apache-2.0
// srci_server as a real process against a process image created here.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <regex>

#include "plc_over_shm.h"

using namespace srci_test;
using srci_plc::WaitFor;

namespace {

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

TEST(ServerStartUp, WithoutTheProcessImageItLogsAndEndsWithAnError) {
    ProcessImage::removeStale();
    TempDir dir;
    ChildProcess server(SRCI_SERVER_BIN, {}, dir.path(), dir.file("out.txt"));
    ASSERT_TRUE(server.waitExit(30000)) << "must not wait for an image that does not exist";
    EXPECT_FALSE(server.exitedNormally() && server.exitCode() == 0);
    EXPECT_NE(readFile(dir.file("out.txt")).find("[Profinet-IO_mgr]:>> shmget failed"), std::string::npos);
}

TEST(ServerStartUp, WithOneAttachmentItWaitsTenSecondsAndLogsTheCount) {
    ProcessImage image(1);
    TempDir dir;
    const auto start = std::chrono::steady_clock::now();
    ChildProcess server(SRCI_SERVER_BIN, {}, dir.path(), dir.file("out.txt"));
    ASSERT_TRUE(server.waitExit(60000));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(seconds, 9.5);
    EXPECT_FALSE(server.exitedNormally() && server.exitCode() == 0);
    EXPECT_NE(readFile(dir.file("out.txt")).find("[Profinet-IO_mgr]:>> shm_nattch=1"), std::string::npos);
}

class RunningServer : public ServerOverShm {
protected:
    void SetUp() override { start(); }

    void start() {
        ASSERT_TRUE(startServer()) << readFile(dir.file("out.txt"));
        srci_plc::ClientOptions options;
        // Debug level keeps the adapter's stage monitor ("d1: .., d2: ..") in the log.
        options.exchange_config = {{"log_level", 4}};
        connect(options);
    }

    void restart() {
        client.reset();
        server->kill();
        start();
    }

    srci_plc::CommandResult run(const char* name, const srci_plc::ParamValues& values = {},
                                WaitFor what = WaitFor::Final) {
        return client->execute(command(name), values, what, 30000);
    }
};

// The power worker does the slow part; the cycle keeps answering the PLC meanwhile.
TEST_F(RunningServer, PoweringUpAndEnablingNeverStallsTheCycle) {
    ASSERT_EQ(armRequest(dir.file("srciport.sock"), "estop on").rfind("ok", 0), 0u);
    ASSERT_EQ(armRequest(dir.file("srciport.sock"), "estop off").rfind("ok", 0), 0u);
    ASSERT_TRUE(run("reset").ok()) << "the released emergency stop stays latched until reset";
    transport->resetGap();
    const auto enabled = run("enable", {}, WaitFor::Enabled);
    ASSERT_TRUE(enabled.ok()) << "enable answered " << int(enabled.header.state);
    EXPECT_TRUE(enabled.enabled);
    std::printf("longest gap between two adapter telegrams while powering and enabling: %.1f ms\n",
                transport->maxGapMs());
    // A blocked cycle would show the worker's one-second waits, both from outside and in the
    // adapter's own stage monitor, which logs every stage above 50 ms.
    EXPECT_LT(transport->maxGapMs(), 500.0);
    ASSERT_TRUE(eventually(
        [&] { return readFile(dir.file("log/rvodbg.log")).find("power_enable: 1") != std::string::npos; }, 5000));
    const std::string log = readFile(dir.file("log/rvodbg.log"));
    const std::regex slowStage(R"(d1: (\d+), d2: (\d+))");
    int slowStages = 0;
    for (std::sregex_iterator it(log.begin(), log.end(), slowStage), end; it != end; ++it, ++slowStages) {
        EXPECT_LT(std::stoi((*it)[1]), 1000) << it->str();
        EXPECT_LT(std::stoi((*it)[2]), 1000) << it->str();
    }
    std::printf("cycle stages above 50 ms while powering and enabling: %d\n", slowStages);
}

// The first start writes its logs; what the PLC writes then survives a restart.
TEST_F(RunningServer, WritesItsLogsAndARestartKeepsToolsFramesLoadsAndDynamics) {
    EXPECT_TRUE(client->initialized());
    EXPECT_TRUE(server->running());
    EXPECT_TRUE(eventually([&] { return !readFile(dir.file("log/errorlog")).empty(); }, 2000));
    EXPECT_NE(firstLine(readFile(dir.file("log/errorlog"))).find("******** Log start ("), std::string::npos);
    EXPECT_FALSE(readFile(dir.file("log/rvodbg.log")).empty());
    EXPECT_TRUE(std::filesystem::exists(dir.file("log/bus")));

    ASSERT_TRUE(run("write-tool", {{"tool", 2}, {"x", 10}, {"y", 20}, {"z", 150}, {"rz", 90}, {"load", 3}}).ok());
    ASSERT_TRUE(run("write-frame", {{"frame", 3}, {"x", 500}, {"y", -100}, {"z", 20}, {"rz", 45}}).ok());
    ASSERT_TRUE(run("write-load", {{"load", 4}, {"mass", 2.5}, {"x", 1}, {"y", 2}, {"z", 30}}).ok());
    ASSERT_TRUE(run("write-dynamics", {{"vel", 500}, {"acc", -1}}).ok());
    ASSERT_TRUE(run("write-default-dynamics", {{"vel", 50}, {"acc", 100}}).ok());

    restart();

    const auto tool = run("read-tool", {{"tool", 2}});
    ASSERT_TRUE(tool.ok());
    EXPECT_FLOAT_EQ(field(tool, "z"), 150);
    EXPECT_FLOAT_EQ(field(tool, "rz"), 90);
    EXPECT_EQ(field(tool, "load"), 3);
    const auto frame = run("read-frame", {{"frame", 3}});
    EXPECT_FLOAT_EQ(field(frame, "x"), 500);
    EXPECT_FLOAT_EQ(field(frame, "rz"), 45);
    const auto load = run("read-load", {{"load", 4}});
    EXPECT_FLOAT_EQ(field(load, "mass"), 2.5);
    EXPECT_FLOAT_EQ(field(load, "z"), 30);
    const auto dyn = run("read-dynamics");
    EXPECT_FLOAT_EQ(field(dyn, "vel"), 500);
    EXPECT_FLOAT_EQ(field(dyn, "acc"), 300) << "acc -1 kept the default";
    const auto def = run("read-default-dynamics");
    EXPECT_NEAR(field(def, "vel"), 50, 0.01);
}

}  // namespace
