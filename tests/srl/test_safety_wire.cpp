// What the PLC sees must match what the robot does: error answers a PLC cannot miss, aborting
// execution modes only where the adapter really aborts, the supported-functions bitmap, both
// WorkAreaNo layouts, the highest indices and the progress of a running move.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"

namespace srltest {
namespace {

Bytes move_axes(uint8_t exec = 0) { return payload(2101, Bytes(76, 0), exec); }

class SafetyWire : public ::testing::Test {
protected:
    void SetUp() override {
        reset_interpreter();
        plc.connect();
    }
    int rid_of(const char* handler) { return fakes().last(handler)->in[255]; }
    Plc plc;
};

// A failed command is State 15 with severity 28 and a non-zero code, whatever the code's family.
TEST_F(SafetyWire, EveryErrorAnswerCarriesSeverity28AndACode) {
    const struct { int reported; uint16_t sent; } cases[] = {
        {0x6C03, 0x6C03}, {0x7C04, 0x7C04}, {0x8C01, 0x8C01}, {0, 0x8FFF}};
    uint16_t id = 3;
    for (const auto& c : cases) {
        plc.cycle({command(id, move_axes())});
        srl_set_robot_motion_state_1(rid_of("move_axes"), 4, c.reported, 0);
        const auto f = wait_for(plc, id, 15);
        ASSERT_TRUE(f.has_value()) << c.reported;
        EXPECT_EQ(f->severity(), 28) << c.reported;
        EXPECT_EQ(f->code(), c.sent) << c.reported;
        ++id;
    }
    fakes().err["read_tool"] = 0x6C03;  // an instant handler failing with an info-family code
    const Reply r = plc.cycle({command(id, payload(5107, {1}))});
    ASSERT_NE(r.find(id), nullptr);
    EXPECT_EQ(r.find(id)->state(), 15);
    EXPECT_EQ(r.find(id)->severity(), 28);
}

// Aborting modes only where the adapter's handler stops the group; elsewhere they are refused
// without calling the handler and without touching the queued move.
TEST_F(SafetyWire, AbortingModesOnlyWhereTheHandlerAborts) {
    const struct { uint16_t type; uint8_t exec; const char* handler; bool accepted; } cases[] = {
        {5107, 1, "read_tool", false},  {5107, 8, "read_tool", false},
        {1001, 1, "group_reset", false}, {2001, 8, "group_continue", false},
        {5205, 1, "write_tool", true},  {5200, 8, "write_frame", true},
        {5201, 1, "write_load", true},  {2103, 1, "move_linear", true},
    };
    for (const auto& c : cases) {
        reset_interpreter();
        plc.connect();
        plc.cycle({command(3, move_axes())});
        Bytes body(c.type == 2103 ? 88 : 60, 0);
        body[0] = 1;
        const Reply r = plc.cycle({command(4, payload(c.type, body, c.exec))});
        EXPECT_EQ(fakes().count(c.handler), c.accepted ? 1 : 0) << c.type;
        if (!c.accepted) {
            ASSERT_NE(r.find(4), nullptr) << c.type;
            EXPECT_EQ(r.find(4)->state(), 15) << c.type;
            EXPECT_EQ(r.find(4)->code(), 0x8F10) << c.type;
        }
        // Only an accepted aborting command ends the queued move (Aborted, 0x6C06).
        const auto move = wait_for(plc, 3, 14);
        EXPECT_EQ(move.has_value(), c.accepted) << c.type;
    }
}

}  // namespace
}  // namespace srltest
