// SPDX-License-Identifier: Apache-2.0
// The adapter's cycle allocates nothing: over 1 000 cycles with a move running and another
// queued behind it, the whole cycle (controller-state update, motion manager, interpreter,
// handlers, the simulated arm's step) makes no heap allocation. Allocations are counted on this
// thread only while the in-process adapter runs a cycle; the PLC client's own work in between is
// not counted.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <thread>

#include "counted_new.h"
#include "plc_session.h"
#include "srci_plc/status_word.hpp"

static thread_local bool counting = false;
static thread_local long allocations = 0;

void noteAllocation() {
    if (counting && srci_test::InProcessAdapter::inExchange) ++allocations;
}

using namespace srci_test;

namespace {

// The cases run in order on one enabled robot: the short moves first, then the long ones that
// are still running when the program ends.
class AllocCycle : public PlcSession {
protected:
    // The enable worker runs on its own thread and reports its end in a later cycle (a logged
    // event, not a steady cycle): it is given time to finish before anything is counted.
    static void SetUpTestSuite() {
        PlcSession::SetUpTestSuite();
        ASSERT_TRUE(client->execute(command("enable"), {{"enable", 1}}, WaitFor::Enabled, 60000).enabled);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        cycles(10);
    }

    static void count(bool on) {
        if (on) allocations = 0;
        counting = on;
    }
};

// Every cycle from the one that accepts a move to its Done: the handler's log line, the arm's
// path planning, the state changes and their log lines, for joint and linear moves alike.
TEST_F(AllocCycle, BackToBackShortMovesAllocateNothingFromCommandToDone) {
    ASSERT_EQ(run("move-axes", axes(2, 100)).header.state, kDone);
    ASSERT_TRUE(client->last_telegram().cartesian.has_value()) << "the linear moves start from the cyclic pose";
    const std::array<float, 6> pose = client->last_telegram().cartesian->pose;

    long counted = 0;
    long total = 0;
    for (int move = 0; move < 20; ++move) {
        const bool linear = move % 2 == 1;
        const ParamValues target =
            linear ? ParamValues{{"x", pose[0]},  {"y", pose[1]},  {"z", pose[2] + (move % 4 == 1 ? 5 : 0)},
                                 {"rx", pose[3]}, {"ry", pose[4]}, {"rz", pose[5]},
                                 {"vel", 100},    {"acc", 50}}
                   : axes(move % 4 == 0 ? 0 : 2, 100);
        const long before = transport->cycles;
        count(true);
        const uint16_t id = client->submit(command(linear ? "move-linear" : "move-axes"), target);
        const int state = until(id, kDone);
        count(false);
        ASSERT_EQ(state, kDone) << "move " << move;
        counted += transport->cycles - before;
        total += allocations;
    }
    EXPECT_GT(counted, 60) << "the moves must have taken cycles";
    EXPECT_EQ(total, 0) << "heap allocations while 20 moves were accepted, started and finished";
}

TEST_F(AllocCycle, SteadyCyclesWithMovesRunningAllocateNothing) {
    // Two slow moves queued: the first runs for seconds, the second waits behind it.
    const uint16_t first = client->submit(command("move-axes"), axes(40, 5));
    client->submit(command("move-axes"), axes(0, 5));
    ASSERT_EQ(until(first, kActive), kActive);
    cycles(50);  // the first reports pass; then the steady cycle

    const long before = transport->cycles;
    count(true);
    while (transport->cycles - before < 1000) client->cycle();
    count(false);

    EXPECT_TRUE(srci_plc::decode_status_word(client->last_telegram().status).is_moving) << "the arm must still move";
    EXPECT_EQ(allocations, 0) << "heap allocations in 1000 steady cycles";
}

}  // namespace
