// SPDX-License-Identifier: Apache-2.0
// The handlers that power and move the arm driven through real SRCI telegrams from the PLC client library, with the
// adapter's cycle and the simulated arm in this process. The cases run in order in one process
// and build on the robot the first one enables.
#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <vector>

#include "plc_session.h"

using namespace srci_test;

namespace {

class EndToEnd : public PlcSession {
protected:
    // Runs cycles until the command is final, collecting every state it showed on the way.
    static CommandResult follow(uint16_t id, std::set<int>& states) {
        return client->wait_until(
            id,
            [&](const srci_plc::AcrEntry& e) {
                states.insert(e.last.state);
                return srci_plc::cmd_state::is_final(e.last.state);
            },
            60000);
    }

    static uint16_t enableId;
};

uint16_t EndToEnd::enableId = 0;

TEST_F(EndToEnd, EnableTurnsOnTheDrives) {
    enableId = client->submit(command("enable"), {{"enable", 1}});
    const auto enabled = client->wait(enableId, WaitFor::Enabled, 60000);
    ASSERT_TRUE(enabled.ok()) << int(enabled.header.state) << " " << enabled.header.code;
    EXPECT_TRUE(enabled.enabled);
    EXPECT_NE(arm().ra_enable_stat, 0);
}

TEST_F(EndToEnd, AbsoluteMovesReachTheirTargetsThroughBufferedActiveDone) {
    std::set<int> states;
    auto done = follow(client->submit(command("move-axes"), axes(10)), states);
    ASSERT_EQ(done.header.state, kDone) << done.header.code;
    EXPECT_TRUE(states.count(kActive)) << "the move was reported active on its way";
    const double target[6] = {10, -20, 80, 0, 60, 0};
    for (int j = 0; j < 6; ++j) EXPECT_NEAR(arm().act_jpos[j], target[j], 0.01) << "joint " << j + 1;

    const auto fk = run("fk", {{"j1", 0}, {"j2", -10}, {"j3", 70}, {"j4", 0}, {"j5", 50}, {"j6", 0}});
    ASSERT_TRUE(fk.ok());
    ParamValues pose;
    for (const char* k : {"x", "y", "z", "rx", "ry", "rz"}) pose[k] = field(fk, k);
    pose["vel"] = 50;
    pose["acc"] = 50;
    pose["tool"] = 0;
    pose["frame"] = 0;
    done = follow(client->submit(command("move-linear"), pose), states);
    ASSERT_EQ(done.header.state, kDone) << done.header.code;
    EXPECT_NEAR(arm().act_cartpos[0], pose["x"], 0.05);
    EXPECT_NEAR(arm().act_cartpos[2], pose["z"], 0.05);

    run("move-axes", axes(20, 80, 10));
    done = run("move-direct", pose);
    ASSERT_EQ(done.header.state, kDone) << done.header.code;
    EXPECT_NEAR(arm().act_jpos[1], -10, 0.05);
}

// Pause and continue are followed through the move they act on in
// AbortingExecutionModesNeverLeaveAFinalMoveRunning.
TEST_F(EndToEnd, StopAbortsTheMoveInFlight) {
    const double start = arm().act_jpos[0];
    const uint16_t id = client->submit(command("move-axes"), axes(start + 60, 5, 10));
    cycles(60);
    ASSERT_NE(arm().ra_is_moving, 0);
    client->submit(command("stop"), {});
    EXPECT_EQ(client->wait(id, WaitFor::Final, 30000).header.state, kAborted);
    cycles(100);
    EXPECT_EQ(arm().ra_is_moving, 0);
    EXPECT_LT(arm().act_jpos[0], start + 60 - 1) << "stopped before the target";
}

TEST_F(EndToEnd, AbortingExecutionModesNeverLeaveAFinalMoveRunning) {
    const struct {
        const char* what;
        bool paused;
        bool aborting_move;  // else a ReadToolData with ExecMode 1
    } cases[] = {
        {"read, running move", false, false},
        {"read, paused move", true, false},
        {"failing aborting move, running move", false, true},
        {"failing aborting move, paused move", true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(run("move-axes", axes(0)).header.state, kDone);
        const double target = 40;
        const uint16_t id = client->submit(command("move-axes"), axes(target, 5));
        cycles(60);
        ASSERT_NE(arm().ra_is_moving, 0);
        if (c.paused) {
            client->submit(command("pause"), {});
            ASSERT_EQ(until(id, kInterrupted), kInterrupted);
            cycles(50);
        }
        ParamValues blend3 = axes(0, 5);
        blend3["blending"] = 3;  // not supported: the handler fails before its checks
        blend3["exec_mode"] = 1;
        const auto answer =
            c.aborting_move ? run("move-axes", blend3) : run("read-tool", {{"tool", 1}, {"exec_mode", 1}});
        EXPECT_EQ(answer.header.state, kError);
        EXPECT_EQ(answer.header.severity, 28);
        EXPECT_EQ(answer.header.code, c.aborting_move ? 36357 : 0x8F10);
        cycles(150);  // longer than the interpreter waits before it ends dropped commands itself
        if (c.paused) {
            ASSERT_TRUE(run("continue").ok());
        }
        const auto final = finalOf(id);
        EXPECT_EQ(final.header.state, c.aborting_move ? kAborted : kDone);
        cycles(300);
        EXPECT_EQ(arm().ra_is_moving, 0);
        if (c.aborting_move) {
            EXPECT_LT(arm().act_jpos[0], target - 1) << "the aborted move ran on";
        } else {
            EXPECT_NEAR(arm().act_jpos[0], target, 0.01);
        }
    }
}

// The highest tool, frame and load indices the PLC is offered are the ones the robot accepts.
TEST_F(EndToEnd, ConfigurationExchangeOffersOnlyIndicesTheRobotAccepts) {
    const auto* cfg = client->acr().find(client->exchange_config_id());
    ASSERT_NE(cfg, nullptr);
    ASSERT_GE(cfg->last_payload.size(), 12u);
    const uint8_t* highest = cfg->last_payload.data() + 8;  // tool, frame, load, work area
    EXPECT_EQ(highest[0], 15);
    EXPECT_EQ(highest[1], 15);
    EXPECT_EQ(highest[2], 15);
    EXPECT_EQ(highest[3], 0);
    EXPECT_TRUE(run("read-tool", {{"tool", highest[0]}}).ok());
    EXPECT_EQ(run("read-tool", {{"tool", highest[0] + 1}}).header.state, kError);
}

TEST_F(EndToEnd, AnOperatorApplicationStopsTheMoveAndFreezesThePlcImageUntilItLeaves) {
    const double start = arm().act_jpos[0];
    const uint16_t id = client->submit(command("move-axes"), axes(start + 40, 10, 10));
    cycles(50);
    ASSERT_NE(arm().ra_is_moving, 0);
    SimArm::instance().setAppConnected(true);
    std::vector<uint8_t> before, rx;
    transport->exchange(std::vector<uint8_t>(256, 0), before);
    for (int i = 0; i < 20; ++i) {
        transport->exchange(std::vector<uint8_t>(256, 0xAA), rx);
        ASSERT_EQ(rx, before) << "the PLC image is left alone while an application holds the robot";
    }
    SimArm::instance().setAppConnected(false);
    const auto failed = client->wait(id, WaitFor::Final, 30000);
    EXPECT_EQ(failed.header.state, kError) << "the move was stopped when the application connected";
    cycles(100);
    EXPECT_EQ(arm().ra_is_moving, 0);
}

TEST_F(EndToEnd, DisableEndsTheEnableCommand) {
    client->update(enableId, {{"enable", 0}});
    const auto disabled = client->wait(enableId, WaitFor::Final, 60000);
    EXPECT_EQ(disabled.header.state, kDone);
    // The power worker disables on its own thread: on a loaded machine it may need more cycles.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (arm().ra_enable_stat != 0 && std::chrono::steady_clock::now() < deadline) cycles(10);
    EXPECT_EQ(arm().ra_enable_stat, 0);
}

}  // namespace
