// SPDX-License-Identifier: Apache-2.0
// One fault per row, each during a long joint move: what the PLC sees, that the arm stops and
// stays stopped until the PLC recovers, how long the stop takes (printed, never judged), and that
// the documented recovery (a new session where the link was lost, GroupReset, enable) brings the
// next move to Done.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <ostream>
#include <string>

#include "fault_chain.h"

using namespace srci_test;
namespace cs = srci_plc::cmd_state;

namespace {

constexpr int kSeverityError = 28;
constexpr uint16_t kProtectiveStop = 117;
constexpr uint16_t kDisabledWhileMoving = 0x30;
constexpr uint16_t kAbortedByOther = 0x6C06;
constexpr int kInitialized = 255;
constexpr int kLifesignLost = 165;

const srci_plc::Axes6 kFarTarget{90, 10, 10, 0, 70, 0};
const srci_plc::Axes6 kRecoveryTarget{0, 0, 0, 0, 90, 0};

enum class Plc { KeepsCycling, FallsSilent, ClosesSocket };

struct FaultRow {
    const char* name;
    Plc plc;
    const char* inject;   // control-channel request at the fault (empty: the PLC is the fault)
    const char* release;  // once the arm stands (empty: nothing to release)
    int holdMs;           // the fault lasts at least this long
    // What the PLC reads for the running move (only a PLC that keeps cycling can read it).
    uint8_t moveState;
    int severity;  // -1: not checked
    uint16_t code;
    int telegramState;         // as the PLC (or, without one, the process image) shows it
    const char* afterRelease;  // part of the arm's flags 1.5 s after the release, before any reset
};

const FaultRow kFaults[] = {
    {"protective stop", Plc::KeepsCycling, "pstop on", "pstop off", 0, cs::kError, kSeverityError, kProtectiveStop,
     kInitialized, "pstop=1"},
    {"emergency stop", Plc::KeepsCycling, "estop on", "estop off", 0, cs::kError, kSeverityError, kProtectiveStop,
     kInitialized, "powered=0 enabled=0"},
    {"controller error", Plc::KeepsCycling, "error 0x1234", "", 0, cs::kError, kSeverityError, 0x1234, kInitialized,
     "err=0x1234"},
    {"PROFINET down 2 s", Plc::KeepsCycling, "profinet down", "profinet up", 2000, cs::kAborted, -1, kAbortedByOther,
     kLifesignLost, "moving=0"},
    {"application connected", Plc::KeepsCycling, "app on", "app off", 0, cs::kError, kSeverityError,
     kDisabledWhileMoving, kInitialized, "moving=0"},
    {"PLC silent socket open", Plc::FallsSilent, "", "", 0, 0, -1, 0, kLifesignLost, "moving=0"},
    {"PLC closes its socket", Plc::ClosesSocket, "", "", 0, 0, -1, 0, kLifesignLost, "moving=0"},
};

void PrintTo(const FaultRow& row, std::ostream* os) { *os << row.name; }

class Faults : public ::testing::TestWithParam<FaultRow> {};

TEST_P(Faults, TheArmStopsThePlcIsToldAndTheDocumentedRecoveryWorks) {
    const FaultRow& row = GetParam();
    FaultChain chain;
    chain.connectPlc();
    ASSERT_TRUE(chain.commands->reset().ok());
    ASSERT_TRUE(chain.commands->enable().enabled);
    const srci_plc::CommandResult started = chain.commands->move_axes(kFarTarget, {{"vel", 5}}, false);
    ASSERT_TRUE(started.answered);
    const uint16_t move = started.cmd_id;
    chain.cycleFor(500);
    const double cruise = chain.cruiseSpeed();
    ASSERT_GT(cruise, 1.0) << "the arm moves before the fault";

    // For a silent PLC the fault starts with its last telegram.
    const long long since = nowMs();
    if (*row.inject) {
        ASSERT_EQ(chain.arm(row.inject).rfind("ok", 0), 0u);
    }
    if (row.plc == Plc::ClosesSocket) chain.dropPlc();
    const bool cycling = row.plc == Plc::KeepsCycling;
    const StopTiming t = chain.watchStop(since, cycling);
    std::printf("[ fault ] %-24s at %.1f deg/s: TelegramState 165 after %.0f ms, standstill after %.0f ms\n", row.name,
                cruise, t.lifesignLostMs, t.standstillMs);
    ASSERT_GE(t.standstillMs, 0) << "the arm never came to a standstill";
    EXPECT_LT(t.heldAt[0], kFarTarget[0] - 1) << "stopped on the way";
    const int imageState = chain.imageTelegramState();

    chain.cycleFor(row.holdMs);
    if (*row.release) {
        ASSERT_EQ(chain.arm(row.release).rfind("ok", 0), 0u);
    }
    chain.cycleFor(1500);
    EXPECT_EQ(chain.joints(), t.heldAt) << "nothing moves before the PLC's recovery";
    EXPECT_NE(chain.arm("flags").find(row.afterRelease), std::string::npos) << chain.arm("flags");

    if (cycling) {
        srci_plc::CommandResult r;
        for (const srci_plc::CommandResult& c : chain.client->take_completed())
            if (c.cmd_id == move) r = c;
        EXPECT_EQ(r.header.state, row.moveState);
        if (row.severity >= 0) {
            EXPECT_EQ(r.header.severity, row.severity);
        }
        EXPECT_EQ(r.header.code, row.code);
        EXPECT_EQ(chain.client->last_telegram().telegram_state, row.telegramState);
    } else {
        EXPECT_EQ(imageState, row.telegramState);
    }

    if (!cycling || !chain.client->initialized()) chain.connectPlc();
    const srci_plc::CommandResult reset = chain.commands->reset();
    EXPECT_TRUE(reset.ok()) << int(reset.header.state) << " " << reset.header.code;
    const srci_plc::CommandResult enabled = chain.commands->enable();
    EXPECT_TRUE(enabled.enabled) << int(enabled.header.state) << " " << enabled.header.code;
    const srci_plc::CommandResult done = chain.commands->move_axes(kRecoveryTarget, {{"vel", 50}});
    EXPECT_EQ(done.header.state, cs::kDone) << done.header.code;
    EXPECT_NEAR(chain.joints()[4], 90, 0.01);
}

INSTANTIATE_TEST_SUITE_P(DuringAMove, Faults, ::testing::ValuesIn(kFaults), [](const auto& info) {
    std::string name;
    for (const char* c = info.param.name; *c; ++c)
        if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
    return name;
});

}  // namespace
