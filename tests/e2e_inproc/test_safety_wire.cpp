// The PLC's view matches the robot under faults, driven through real SRCI telegrams from the
// PLC client library with the adapter's cycle and the simulated arm in this process. The cases
// run in order in one process and build on the enabled robot of the first one.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <variant>

#include "inprocess_adapter.h"
#include "srci_plc/command_catalog.hpp"

using namespace srci_test;
using srci_plc::CommandResult;
using srci_plc::ParamValues;
using srci_plc::WaitFor;
using srciport::SimArm;

namespace {

constexpr uint8_t kActive = 4, kInterrupted = 5, kDone = 10, kAborted = 14, kError = 15;

const srci_plc::CommandDef& command(const char* name) {
    const auto* def = srci_plc::find_command(name);
    if (!def) throw std::runtime_error(std::string("unknown command ") + name);
    return *def;
}

double field(const CommandResult& r, const std::string& name) {
    for (const auto& f : r.data)
        if (f.name == name && std::holds_alternative<double>(f.value)) return std::get<double>(f.value);
    ADD_FAILURE() << "no field " << name;
    return 0;
}

SrciPortStat arm() {
    SrciPortStat s;
    SimArm::instance().snapshot(s);
    return s;
}

ParamValues axes(double j1, double vel = 80) {
    return {{"j1", j1}, {"j2", -20}, {"j3", 80}, {"j4", 0}, {"j5", 60}, {"j6", 0}, {"vel", vel}, {"acc", 80}};
}

class SafetyWire : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        InProcessAdapter::startUp();
        transport = new InProcessAdapter();
        srci_plc::ClientOptions options;
        options.cycle_ms = 0;  // the simulated arm advances one cycle per telegram
        options.lifesign_timeout_ms = 5000;
        client = new srci_plc::Client(*transport, options);
        client->connect();
        const uint16_t id = client->submit(command("enable"), {{"enable", 1}});
        ASSERT_TRUE(client->wait(id, WaitFor::Enabled, 60000).enabled);
    }

    static CommandResult run(const char* name, const ParamValues& values = {}) {
        collect();
        return client->execute(command(name), values, WaitFor::Final, 60000);
    }
    // Final answers that arrived while the test waited for something else, by CmdID.
    static void collect() {
        for (auto& r : client->take_completed()) finished[r.cmd_id] = r;
    }
    static CommandResult finalOf(uint16_t id) {
        collect();
        const auto it = finished.find(id);
        if (it == finished.end()) return client->wait(id, WaitFor::Final, 60000);
        const CommandResult r = it->second;
        finished.erase(it);
        return r;
    }
    static int until(uint16_t id, uint8_t state) {
        return client
            ->wait_until(id, [&](const srci_plc::AcrEntry& e) {
                return e.last.state == state || srci_plc::cmd_state::is_final(e.last.state);
            }, 60000)
            .header.state;
    }
    static void cycles(int n) {
        for (int i = 0; i < n; ++i) client->cycle();
    }
    static void reset() { ASSERT_TRUE(run("reset").ok()); }

    static InProcessAdapter* transport;
    static srci_plc::Client* client;
    static std::map<uint16_t, CommandResult> finished;
};

std::map<uint16_t, CommandResult> SafetyWire::finished;
InProcessAdapter* SafetyWire::transport = nullptr;
srci_plc::Client* SafetyWire::client = nullptr;

TEST_F(SafetyWire, AMoveThatFailsInTheControllerIsAnErrorThePlcCannotMiss) {
    ASSERT_EQ(run("move-axes", axes(0)).header.state, kDone);
    const uint16_t id = client->submit(command("move-axes"), axes(-40, 10));
    cycles(50);
    SimArm::instance().injectError(0xF0018);  // a path point out of reach
    const auto failed = client->wait(id, WaitFor::Final, 30000);
    EXPECT_EQ(failed.header.state, kError);
    EXPECT_EQ(failed.header.code, 0x6C03);
    EXPECT_EQ(failed.header.severity, 28);
    reset();
}

// A command the PLC sees as final never moves again: an aborting execution mode is refused where
// the adapter would not stop the group, and made real where it would, even when the aborting
// command itself fails its parameter checks. Each case with the move running and paused.
TEST_F(SafetyWire, AbortingExecutionModesNeverLeaveAFinalMoveRunning) {
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
        const auto answer = c.aborting_move ? run("move-axes", blend3)
                                            : run("read-tool", {{"tool", 1}, {"exec_mode", 1}});
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

}  // namespace
