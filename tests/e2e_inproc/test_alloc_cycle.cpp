// SPDX-License-Identifier: Apache-2.0
// The adapter's cycle allocates nothing: over 1 000 cycles with a move running and another
// queued behind it, the whole cycle (controller-state update, motion manager, interpreter,
// handlers, the simulated arm's step) makes no heap allocation. Allocations are counted on this
// thread only while the in-process adapter runs a cycle; the PLC client's own work in between is
// not counted.
#include <gtest/gtest.h>

#include <thread>

#include "counted_new.h"
#include "inprocess_adapter.h"
#include "plc_command.h"
#include "srci_plc/status_word.hpp"

static thread_local bool counting = false;
static thread_local long allocations = 0;

void noteAllocation() {
    if (counting) ++allocations;
}

namespace {

using srci_test::command;

// Counts every cycle the client asks for while `count` is set.
class CountingTransport : public srci_plc::Transport {
public:
    explicit CountingTransport(srci_test::InProcessAdapter& a) : adapter(a) {}
    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override {
        counting = count;
        adapter.exchange(tx, rx);
        counting = false;
        if (count) ++cycles;
    }
    srci_test::InProcessAdapter& adapter;
    bool count = false;
    long cycles = 0;
};

// Both cases share the process's one adapter start-up, whichever runs first.
void startOnce() {
    static const bool started = [] {
        srci_test::InProcessAdapter::startUp();
        return true;
    }();
    (void)started;
}

srci_plc::ParamValues axes(double j1, double vel) {
    return {{"j1", j1}, {"j2", 0}, {"j3", 0}, {"j4", 0}, {"j5", 90}, {"j6", 0}, {"vel", vel}, {"acc", 50}};
}

// One in-process adapter with a connected client and the robot enabled. The enable worker runs on
// its own thread and reports its end in a later cycle (a logged event, not a steady cycle): it is
// given time to finish before anything is counted.
struct EnabledSession {
    static srci_plc::ClientOptions options() {
        srci_plc::ClientOptions o;
        o.cycle_ms = 0;
        o.lifesign_timeout_ms = 5000;
        return o;
    }
    EnabledSession() : transport(adapter), client(transport, options()) {
        client.connect();
        enabled = client.execute(command("enable"), {{"enable", 1}}, srci_plc::WaitFor::Enabled, 60000).enabled;
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        for (int i = 0; i < 10; ++i) client.cycle();
    }
    bool started = (startOnce(), true);  // the adapter's start-up comes first
    srci_test::InProcessAdapter adapter;
    CountingTransport transport;
    srci_plc::Client client;
    bool enabled = false;
};

TEST(AllocCycle, SteadyCyclesWithMovesRunningAllocateNothing) {
    EnabledSession session;
    ASSERT_TRUE(session.enabled);
    CountingTransport& transport = session.transport;
    srci_plc::Client& client = session.client;

    // Two slow moves queued: the first runs for seconds, the second waits behind it.
    const uint16_t first = client.submit(command("move-axes"), axes(40, 5));
    client.submit(command("move-axes"), axes(0, 5));
    client.wait_until(
        first, [](const srci_plc::AcrEntry& e) { return e.last.state == 4; }, 60000);
    for (int i = 0; i < 50; ++i) client.cycle();  // the first reports pass; then the steady cycle

    transport.count = true;
    allocations = 0;
    while (transport.cycles < 1000) client.cycle();
    transport.count = false;

    EXPECT_TRUE(srci_plc::decode_status_word(client.last_telegram().status).is_moving) << "the arm must still move";
    EXPECT_EQ(allocations, 0) << "heap allocations in 1000 steady cycles";
}

// Every cycle from the one that accepts a move to its Done: the handler's log line, the arm's
// path planning, the state changes and their log lines, for joint and linear moves alike.
TEST(AllocCycle, BackToBackShortMovesAllocateNothingFromCommandToDone) {
    EnabledSession session;
    ASSERT_TRUE(session.enabled);
    CountingTransport& transport = session.transport;
    srci_plc::Client& client = session.client;
    const auto done = [](const srci_plc::AcrEntry& e) { return srci_plc::cmd_state::is_final(e.last.state); };
    const uint16_t first = client.submit(command("move-axes"), axes(2, 100));
    ASSERT_EQ(client.wait_until(first, done, 60000).header.state, srci_plc::cmd_state::kDone);
    ASSERT_TRUE(client.last_telegram().cartesian.has_value()) << "the linear moves start from the cyclic pose";
    const std::array<float, 6> pose = client.last_telegram().cartesian->pose;

    long counted = 0;
    long total = 0;
    for (int move = 0; move < 20; ++move) {
        const bool linear = move % 2 == 1;
        const srci_plc::ParamValues target =
            linear ? srci_plc::ParamValues{{"x", pose[0]},  {"y", pose[1]},  {"z", pose[2] + (move % 4 == 1 ? 5 : 0)},
                                           {"rx", pose[3]}, {"ry", pose[4]}, {"rz", pose[5]},
                                           {"vel", 100},    {"acc", 50}}
                   : axes(move % 4 == 0 ? 0 : 2, 100);
        transport.count = true;
        allocations = 0;
        const long before = transport.cycles;
        const uint16_t id = client.submit(command(linear ? "move-linear" : "move-axes"), target);
        const auto result = client.wait_until(id, done, 60000);
        transport.count = false;
        ASSERT_EQ(result.header.state, srci_plc::cmd_state::kDone) << "move " << move;
        counted += transport.cycles - before;
        total += allocations;
    }
    EXPECT_GT(counted, 60) << "the moves must have taken cycles";
    EXPECT_EQ(total, 0) << "heap allocations while 20 moves were accepted, started and finished";
}

}  // namespace
