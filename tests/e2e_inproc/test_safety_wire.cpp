// SPDX-License-Identifier: Apache-2.0
// The PLC's view matches the robot under faults, driven through real SRCI telegrams from the
// PLC client library with the adapter's cycle and the simulated arm in this process. The cases
// run in order in one process and build on the enabled robot of the first one.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "plc_session.h"

using namespace srci_test;

namespace {

class SafetyWire : public PlcSession {
protected:
    static void SetUpTestSuite() {
        PlcSession::SetUpTestSuite();
        const uint16_t id = client->submit(command("enable"), {{"enable", 1}});
        ASSERT_TRUE(client->wait(id, WaitFor::Enabled, 60000).enabled);
    }

    static void reset() { ASSERT_TRUE(run("reset").ok()); }
};

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

// Work area 0 through a PLC that honours RCSupportedFunctions: new limits in any order, an invalid
// pair changing nothing, a standing arm outside the new range that may only come back, and a
// move caught going out that GroupReset plus a move recover.
TEST_F(SafetyWire, LimitsChangeThroughWorkAreaZeroAndTheArmAlwaysGetsBack) {
    EXPECT_TRUE(client->supports(command("read-workarea")));
    EXPECT_TRUE(client->supports(command("write-workarea")));
    EXPECT_FALSE(client->supports(command("write-limits"))) << "always refused: not advertised";

    ASSERT_EQ(run("move-axes", axes(0)).header.state, kDone);
    const auto current = run("read-workarea", {{"area", 0}});
    ASSERT_TRUE(current.ok());
    const auto writeJ1 = [&](double lower, double upper) {
        ParamValues area{{"area", 0}};
        for (int j = 1; j <= 6; ++j) {
            area["min_j" + std::to_string(j)] = field(current, "min_j" + std::to_string(j));
            area["max_j" + std::to_string(j)] = field(current, "max_j" + std::to_string(j));
        }
        area["min_j1"] = lower;
        area["max_j1"] = upper;
        return run("write-workarea", area);
    };
    const auto j1Limits = [&] {
        const auto r = run("read-workarea", {{"area", 0}});
        return std::pair<double, double>(field(r, "min_j1"), field(r, "max_j1"));
    };
    ASSERT_TRUE(writeJ1(-165, 90).ok());
    ASSERT_TRUE(writeJ1(100, 160).ok());  // the new minimum lies above the old maximum
    EXPECT_EQ(j1Limits(), (std::pair<double, double>(100, 160)));
    EXPECT_FLOAT_EQ(field(run("read-limits"), "max_j1"), 160);
    EXPECT_DOUBLE_EQ(arm().soft_limits[0], 100);
    EXPECT_TRUE(writeJ1(160, 100).ok());  // answered as always, but refused by the arm
    EXPECT_EQ(j1Limits(), (std::pair<double, double>(100, 160)));

    cycles(100);  // J1 stands at 0, below the new range
    int code = 0, type = 0;
    SimArm::instance().errorInfo(code, type);
    EXPECT_EQ(type, 0) << "standing outside the range is no fault";
    EXPECT_EQ(run("move-axes", axes(-10)).header.state, kError) << "further out";
    reset();
    ASSERT_EQ(run("move-axes", axes(120)).header.state, kDone) << "back into the range";

    // Caught going out: the move fails, GroupReset and a move bring the arm back.
    const uint16_t id = client->submit(command("move-axes"), axes(150, 5));
    cycles(60);
    ASSERT_TRUE(writeJ1(100, 125).ok());
    EXPECT_EQ(finalOf(id).header.state, kError);
    reset();
    ASSERT_EQ(run("move-axes", axes(110)).header.state, kDone);
    EXPECT_NEAR(arm().act_jpos[0], 110, 0.01);
    ASSERT_TRUE(writeJ1(-165, 165).ok());
}

// A running linear move tells the PLC how far it got and how far it still has to go.
TEST_F(SafetyWire, ARunningMoveReportsProgressAndRemainingDistance) {
    ASSERT_EQ(run("move-axes", axes(0)).header.state, kDone);
    const auto from = run("read-position", {{"tool", 255}, {"frame", 255}});
    ParamValues target{{"y", field(from, "y")},
                       {"z", field(from, "z") - 100},
                       {"rx", field(from, "rx")},
                       {"ry", field(from, "ry")},
                       {"rz", field(from, "rz")},
                       {"vel", 5},
                       {"acc", 50}};
    target["x"] = field(from, "x");
    const uint16_t id = client->submit(command("move-linear"), target);
    std::vector<std::pair<double, double>> seen;  // (progress %, remaining mm) of Active answers
    const auto done = client->wait_until(
        id,
        [&](const srci_plc::AcrEntry& e) {
            const auto& p = e.last_payload;
            if (e.last.state == kActive && p.size() >= 14) {
                const uint32_t bits = uint32_t{p[10]} << 24 | uint32_t{p[11]} << 16 | uint32_t{p[12]} << 8 | p[13];
                float remaining;
                std::memcpy(&remaining, &bits, 4);
                const std::pair<double, double> now((p[8] << 8 | p[9]) / 100.0, remaining);
                if (seen.empty() || seen.back() != now) seen.push_back(now);
            }
            return srci_plc::cmd_state::is_final(e.last.state);
        },
        60000);
    EXPECT_EQ(done.header.state, kDone);
    ASSERT_GE(seen.size(), 3u);
    EXPECT_NEAR(seen.front().second, 100, 1) << "the whole way at the start";
    for (size_t i = 1; i < seen.size(); ++i) {
        EXPECT_GT(seen[i].first, seen[i - 1].first);
        EXPECT_LT(seen[i].second, seen[i - 1].second);
        EXPECT_NEAR(seen[i].first, 100 - seen[i].second, 1.0);  // a straight line of 100 mm
    }
}

// The highest tool, frame and load indices the PLC is offered are the ones the robot accepts.
TEST_F(SafetyWire, ConfigurationExchangeOffersOnlyIndicesTheRobotAccepts) {
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

}  // namespace
