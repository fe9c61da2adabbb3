// SPDX-License-Identifier: Apache-2.0
// srci_server as a real process against a process image created here, with a PLC client talking
// to it straight through the image in place of the I/O manager.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>
#include <variant>

#include "arm_channel.h"
#include "child_process.h"
#include "plc_command.h"
#include "plc_over_shm.h"
#include "process_image.h"
#include "srci_plc/client.hpp"

using namespace srci_test;
using srci_plc::WaitFor;

namespace {

// Without the I/O manager's image, or with the image but not its two attachments, the adapter
// must end with an error and say why instead of cycling against nothing. With one attachment
// it first waits ten seconds for the second.
TEST(ServerStartUp, WithoutAUsableProcessImageItLogsAndEndsWithAnError) {
    const struct {
        int attachments;  // 0: no image at all
        double minSeconds;
        const char* logged;
    } rows[] = {
        {0, 0.0, "[Profinet-IO_mgr]:>> shmget failed"},
        {1, 9.5, "[Profinet-IO_mgr]:>> shm_nattch=1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.logged);
        ProcessImage::removeStale();
        std::unique_ptr<ProcessImage> image;
        if (row.attachments > 0) image = std::make_unique<ProcessImage>(row.attachments);
        TempDir dir;
        const auto start = std::chrono::steady_clock::now();
        ChildProcess server(SRCI_SERVER_BIN, {}, dir.path(), dir.file("out.txt"));
        ASSERT_TRUE(server.waitExit(60000));
        EXPECT_GE(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), row.minSeconds);
        EXPECT_FALSE(server.exitedNormally() && server.exitCode() == 0);
        EXPECT_NE(readFile(dir.file("out.txt")).find(row.logged), std::string::npos);
    }
}

class RunningServer : public ServerOverShm {
protected:
    void SetUp() override { start(); }

    void start() {
        ASSERT_TRUE(startServer()) << readFile(dir.file("out.txt"));
        connect();
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

// The power worker does the slow part; the cycle keeps answering the PLC meanwhile. A blocked
// cycle would show the worker's one-second waits between two answers.
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
    EXPECT_LT(transport->maxGapMs(), 500.0);
}

// The first start writes its logs; what the PLC writes then survives a restart.
TEST_F(RunningServer, WritesItsLogsAndARestartKeepsToolsFramesLoadsAndDynamics) {
    EXPECT_TRUE(eventually([&] { return !readFile(dir.file("log/errorlog")).empty(); }, 2000));
    EXPECT_EQ(readFile(dir.file("log/errorlog")).rfind("******** Log start (", 0), 0u);
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
