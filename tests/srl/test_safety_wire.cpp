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

}  // namespace
}  // namespace srltest
