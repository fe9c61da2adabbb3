// SPDX-License-Identifier: Apache-2.0
// What the PLC sees must match what the robot does: aborting execution modes only where the
// adapter really aborts, both WorkAreaNo layouts and the progress of a running move. (Error
// severities and the highest indices are proven end to end in tests/e2e_inproc, the
// supported-functions bitmap by the golden handshake and Commands.SupportedFunctions.)
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"
#include "srci_plc/byte_order.hpp"

namespace srltest {
namespace {

using SafetyWire = ConnectedPlc;

// Aborting modes only where the adapter's handler stops the group; elsewhere they are refused
// without calling the handler and without touching the queued move.
TEST_F(SafetyWire, AbortingModesOnlyWhereTheHandlerAborts) {
    const struct {
        uint16_t type;
        uint8_t exec;
        const char* handler;
        bool accepted;
    } cases[] = {
        {5107, 1, "read_tool", false},      {5107, 8, "read_tool", false},  {1001, 1, "group_reset", false},
        {2001, 8, "group_continue", false}, {5205, 1, "write_tool", true},  {5200, 8, "write_frame", true},
        {5201, 1, "write_load", true},      {2103, 1, "move_linear", true},
    };
    for (const auto& c : cases) {
        reset_interpreter();
        plc.connect();
        plc.cycle({command(3, move_axes())});
        Bytes body(c.type == 2103 ? 88 : 60, 0);
        body[0] = 1;
        const Frag f = plc.cycle({command(4, payload(c.type, body, c.exec))}).find(4);
        EXPECT_EQ(fakes().count(c.handler), c.accepted ? 1 : 0) << c.type;
        if (!c.accepted) {
            EXPECT_EQ(f.state(), 15) << c.type;
            EXPECT_EQ(f.code(), 0x8F10) << c.type;
        }
        // Only an accepted aborting command ends the queued move (Aborted, 0x6C06).
        EXPECT_EQ(wait_for(plc, 3, 14).id != 0, c.accepted) << c.type;
    }
}

// Golden telegrams for both WorkAreaNo layouts: a USInt followed by a reserved byte, or a
// big-endian UINT in the same two bytes. Both bytes set is ambiguous: Error 0x8D47, no handler.
TEST_F(SafetyWire, WorkAreaNumberInBothLayouts) {
    const struct {
        const char* what;
        const char* payload;
        const char* handler;
        int area;
        const char* header;
    } cases[] = {
        // WriteWorkArea 7503, ExecMode 2, ParSeq 1/Prio 3; WorkAreaNo; J1 lower -100.0 (payload 57)
        // and upper 120.0 (payload 85) in the standard layout; the rest zero-filled.
        {"write USInt", "1D 4F 02 13 02 00", "write_workarea", 2, "1A 00 00 00"},
        {"write UINT", "1D 4F 02 13 00 02", "write_workarea", 2, "1A 00 00 00"},
        {"write area 0", "1D 4F 02 13 00 00", "write_workarea", 0, "1A 00 00 00"},
        {"write ambiguous", "1D 4F 02 13 02 01", nullptr, -1, "1F 1C 8D 47"},
        // ReadWorkArea 7502: 5 bytes with a USInt, 6 with a UINT.
        {"read USInt", "1D 4E 02 13 03", "read_workarea", 3, "1A 00 00 00"},
        {"read UINT", "1D 4E 02 13 00 03", "read_workarea", 3, "1A 00 00 00"},
        {"read ambiguous", "1D 4E 02 13 03 03", nullptr, -1, "1F 1C 8D 47"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        fakes() = Fakes{};
        Bytes p = hex(c.payload);
        const bool write = p[1] == 0x4F;
        if (write) {
            p.resize(89, 0);
            srci_plc::put_f32be(&p[57], -100.0f);
            srci_plc::put_f32be(&p[85], 120.0f);
        }
        const Frag f = plc.cycle({command(5, p)}).find(5);
        ASSERT_EQ(f.bytes.size(), write ? 4u : 154u);
        EXPECT_EQ(Bytes(f.bytes.begin(), f.bytes.begin() + 4), hex(c.header));
        if (c.handler == nullptr) {
            EXPECT_EQ(fakes().count("write_workarea") + fakes().count("read_workarea"), 0);
            continue;
        }
        EXPECT_EQ(received<uint8_t>(c.handler, 4), c.area);
        if (write) {
            const auto w = received<LRob_typeServerCmdWriteWorkArea>(c.handler);
            EXPECT_FLOAT_EQ(w.WorkAreaData.Data.JointLowerLimit.J1, -100.0f);
            EXPECT_FLOAT_EQ(w.WorkAreaData.Data.JointUpperLimit.J1, 120.0f);
        }
    }
}

// The adapter's per-cycle position push: Cartesian X, Y, Z (rest 0), joints, tool and frame.
void push_position(float x, float j1, uint8_t tool = 0, uint8_t frame = 0) {
    uint8_t block[104] = {};
    std::memcpy(block, &x, 4);
    std::memcpy(block + 54, &j1, 4);
    block[102] = tool;
    block[103] = frame;
    srl_set_current_pos(block, 1.0f);
}

// While a move is Active its answers carry Progress (percent x 100) and, for Cartesian moves,
// RemainingDistance in mm, from the target and the pushed position; Done is 100 %.
TEST_F(SafetyWire, ActiveMovesReportProgressAndRemainingDistance) {
    const struct {
        const char* what;
        uint16_t type;
        uint8_t tool;  // the move's ToolNo (Cartesian only)
        float at;      // X (mm) or J1 (deg) when the answer is read; target 100 from 0
        uint16_t progress;
        float remaining;
    } cases[] = {
        {"axes", 2101, 0, 25, 2500, 0},
        {"linear", 2103, 255, 60, 6000, 40},
        {"direct, same tool", 2102, 0, 90, 9000, 10},
        {"linear in another tool: not comparable", 2103, 3, 60, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        reset_interpreter();
        plc.connect();
        push_position(0, 0);
        Bytes body(c.type == 2101 ? 76 : 88, 0);
        srci_plc::put_f32be(&body[c.type == 2101 ? 24 : 26], 100.0f);
        if (c.type != 2101) body[14] = c.tool;
        plc.cycle({command(3, payload(c.type, body, 0))});
        srl_set_robot_motion_state_1(rid_of(c.type == 2101   ? "move_axes"
                                            : c.type == 2103 ? "move_linear"
                                                             : "move_direct"),
                                     3, 0, 0);
        ASSERT_EQ(wait_for(plc, 3, 4).state(), 4);
        push_position(c.at, c.at);
        Frag last;
        for (int i = 0; i < 40; ++i) {
            const Reply r = plc.cycle();
            if (r.has(3)) last = r.find(3);
        }
        if (c.tool == 3) {
            EXPECT_EQ(last.id, 0) << "no answer without a comparable position";
            continue;
        }
        ASSERT_EQ(last.state(), 4);
        EXPECT_EQ(srci_plc::get_u16be(&last.bytes[8]), c.progress);
        if (c.type != 2101) {
            EXPECT_NEAR(srci_plc::get_f32be(&last.bytes[10]), c.remaining, 1e-3);
        }
    }
}

}  // namespace
}  // namespace srltest
