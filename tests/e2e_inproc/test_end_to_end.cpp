// SPDX-License-Identifier: Apache-2.0
// Every handler group driven through real SRCI telegrams from the PLC client library, with the
// adapter's cycle and the simulated arm in this process. The cases run in order in one process:
// the first one sees a fresh start (no srci.ini), later ones build on the enabled robot.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <set>
#include <utility>
#include <vector>

#include "child_process.h"
#include "plc_session.h"

using namespace srci_test;

namespace {

constexpr uint32_t kErrorPendingBit = 1u << 5;

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

TEST_F(EndToEnd, AFreshStartCreatesSrciIniAndAnswersTheDocumentedDynamics) {
    const std::string ini = readFile("srci.ini");
    for (const char* section : {"[tool1]", "[tool15]", "[userFrame15]", "[load15]", "[refDyn]", "[defaultDyn]"})
        EXPECT_NE(ini.find(section), std::string::npos) << section;
    const auto def = run("read-default-dynamics");
    ASSERT_TRUE(def.ok());
    // 0.9 as rate units, and the unused -1 read back as -10000 in 16 bits.
    const std::pair<const char*, double> rates[] = {{"vel", 9000}, {"acc", 9000}, {"dec", 55536}, {"jerk", 55536}};
    for (const auto& [name, rate] : rates) EXPECT_NEAR(field(def, name) * 100, rate, 1e-6) << name;
    const auto ref = run("read-dynamics");
    EXPECT_FLOAT_EQ(field(ref, "vel"), 300);
    EXPECT_FLOAT_EQ(field(ref, "acc"), 300);
    EXPECT_FLOAT_EQ(field(ref, "dec"), -1);
}

TEST_F(EndToEnd, EnableTurnsOnTheDrivesAndTheStatusWord) {
    enableId = client->submit(command("enable"), {{"enable", 1}});
    const auto enabled = client->wait(enableId, WaitFor::Enabled, 60000);
    ASSERT_TRUE(enabled.ok()) << int(enabled.header.state) << " " << enabled.header.code;
    EXPECT_TRUE(enabled.enabled);
    EXPECT_NE(arm().ra_enable_stat, 0);
    cycles(5);
    EXPECT_NE(client->last_telegram().status & (1u << 7), 0u);
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
    const auto ik = run("ik", pose);
    EXPECT_NEAR(field(ik, "j3"), 70, 1e-2);
    EXPECT_NEAR(field(ik, "j5"), 50, 1e-2);
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

TEST_F(EndToEnd, PauseContinueAndStopReachTheMoveInFlight) {
    const double start = arm().act_jpos[0];
    const uint16_t id = client->submit(command("move-axes"), axes(start + 60, 5, 10));
    cycles(60);
    ASSERT_NE(arm().ra_is_moving, 0);
    // The group commands are followed through the move they act on.
    client->submit(command("pause"), {});
    ASSERT_EQ(until(id, kInterrupted), kInterrupted);
    cycles(100);
    EXPECT_EQ(arm().ra_is_moving, 0);
    client->submit(command("continue"), {});
    ASSERT_EQ(until(id, kActive), kActive);
    client->submit(command("stop"), {});
    const auto final = client->wait(id, WaitFor::Final, 30000);
    EXPECT_EQ(final.header.state, kAborted);
    cycles(100);
    EXPECT_EQ(arm().ra_is_moving, 0);
    EXPECT_LT(arm().act_jpos[0], start + 60 - 1) << "stopped before the target";
}

TEST_F(EndToEnd, RelativeMovesRunAsIncrementalJogs) {
    const double start = arm().act_jpos[0];
    const uint16_t id =
        client->submit(command("jog"), {{"mode", 2}, {"rot", 5}, {"inc", 0}, {"override", 100}, {"x+", 1}});
    for (int i = 0; i < 3000 && std::fabs(arm().act_jpos[0] - (start + 5)) > 1e-3; ++i) client->cycle();
    EXPECT_NEAR(arm().act_jpos[0], start + 5, 1e-3);
    client->update(id, {{"mode", 2}, {"rot", 5}, {"override", 100}, {"enable", 0}});
    const auto final = client->wait(id, WaitFor::Final, 30000);
    EXPECT_TRUE(final.answered);
}

TEST_F(EndToEnd, AControllerErrorFailsTheMoveAndGroupResetAcknowledgesIt) {
    const double start = arm().act_jpos[0];
    const uint16_t id = client->submit(command("move-axes"), axes(start - 40, 10, 10));
    cycles(50);
    SimArm::instance().injectError(0xF0018);
    const auto failed = client->wait(id, WaitFor::Final, 30000);
    EXPECT_EQ(failed.header.state, kError);
    EXPECT_EQ(failed.header.code, 0x6C03);
    EXPECT_EQ(failed.header.severity, 28);
    cycles(20);
    EXPECT_NE(client->last_telegram().status & kErrorPendingBit, 0u);
    ASSERT_TRUE(run("reset").ok());
    cycles(20);
    EXPECT_EQ(client->last_telegram().status & kErrorPendingBit, 0u);
    int code = 0, type = 0;
    SimArm::instance().errorInfo(code, type);
    EXPECT_EQ(type, 0) << "the reset also cleared the controller's protective state";
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

TEST_F(EndToEnd, ConfigurationExchangeRefusesWaitingAtBlendingZones) {
    client->update(client->exchange_config_id(), {{"enable", 1}, {"wait_at_blending", 1}, {"lifesign_timeout", 5000}});
    const auto refused = client->wait(client->exchange_config_id(), WaitFor::Final, 30000);
    EXPECT_EQ(refused.header.state, kError);
    EXPECT_EQ(refused.header.code, 36385);
}

}  // namespace
