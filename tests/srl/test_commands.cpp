// SPDX-License-Identifier: Apache-2.0
// Command dispatch: unsupported commands, reassembly, parameter updates, final states of
// commands the adapter drops, handler failures and the adapter-facing state.
#include <gtest/gtest.h>

#include "fake_handlers.h"
#include "srci_plc/byte_order.hpp"

namespace srltest {
namespace {

Bytes jog(uint8_t enable, uint8_t mode, uint8_t dir0, uint8_t parseq = 1) {
    Bytes b(19, 0);
    b[0] = enable;
    b[2] = 255;  // ToolNo current
    b[3] = 255;
    b[4] = mode;
    b[16] = dir0;
    return payload(2100, b, 7, parseq);
}

// Every listed CmdID answered Error, severity 28, with its code.
void expect_errors(const Reply& r, std::initializer_list<std::pair<uint16_t, uint16_t>> id_code) {
    for (const auto& [id, code] : id_code) {
        SCOPED_TRACE(id);
        EXPECT_EQ(r.find(id).state(), 15);
        EXPECT_EQ(r.find(id).severity(), 28);
        EXPECT_EQ(r.find(id).code(), code);
    }
}

using Commands = ConnectedPlc;

TEST_F(Commands, UnsupportedCommandsAreFinalAtOnce) {
    srl_set_move_axes_absolute_funs(nullptr);
    expect_errors(plc.cycle({command(3, payload(2110, Bytes(88, 0))),  // known, not served
                             command(4, payload(4242)),                // unknown CmdType
                             command(5, move_axes()),                  // handler unregistered
                             command(6, payload(5107, {1}, 5)),        // trigger ExecMode
                             command(7, payload(9000, {20, 0x02}))}),  // a second ExchangeConfiguration
                  {{3, 0x8F11}, {4, 0x8F20}, {5, 0x8F11}, {6, 0x8F10}, {7, 0x8F12}});
}

TEST_F(Commands, ShortPayloadsAreZeroFilledAndLongOnesTruncated) {
    std::vector<uint8_t> tool_payload = payload(5205, Bytes(26, 0));  // ToolNo (38) and ID lost
    srci_plc::put_f32be(&tool_payload[6 + 4], 1.0f);                  // X
    plc.cycle({command(3, tool_payload), command(4, payload(5107, Bytes(150, 7)))});
    const auto w = received<LRob_typeServerCmdWriteToolData>("write_tool");
    EXPECT_FLOAT_EQ(w.ToolData.Data.X, 1.0f);
    EXPECT_EQ(w.ToolNo, 0);
    EXPECT_EQ(w.ToolData.Data.ID, 0);
    EXPECT_EQ(received<uint8_t>("read_tool", 4), 7);
    EXPECT_EQ(received<uint8_t>("read_tool", 5), 0);  // beyond the 5-byte record: nothing copied
}

TEST_F(Commands, GroupJogCallsTheModeHandlerOnStartAndOnEveryUpdate) {
    Reply r = plc.cycle({command(3, jog(1, 2, 0x01))});
    ASSERT_EQ(fakes().count("jog_joint"), 1);
    EXPECT_EQ(fakes().last("jog_joint")->in[20], 0x01);
    ASSERT_EQ(r.find(3).state(), 4);
    EXPECT_EQ(r.find(3).bytes[4] & 1, 1);  // Enabled
    for (int i = 0; i < 5; ++i) plc.cycle();
    EXPECT_EQ(fakes().count("jog_joint"), 1);  // never every cycle
    const auto sequence_state = [] {
        LRob_typeSystemState s{};
        srl_get_system_state(&s);
        return s.state.rcSequenceState;
    };
    EXPECT_EQ(sequence_state(), 92);  // a jog with a direction runs the sequence

    srl_set_jog_distance_togo(1);
    r = plc.cycle({{3, 0x05, 0, jog(1, 0, 0x40, 2)}});  // update: frame jog, X-
    EXPECT_EQ(fakes().count("jog_frame"), 1);
    ASSERT_EQ(r.find(3).parseq(), 2);
    EXPECT_EQ(r.find(3).bytes[4] & 2, 0);  // DistanceReached cleared by the new activation

    r = plc.cycle({{3, 0x05, 0, jog(0, 0, 0x40, 3)}});  // Enable = 0
    EXPECT_EQ(fakes().count("jog_frame"), 2);
    EXPECT_EQ(fakes().last("jog_frame")->in[20], 0);  // stop: no direction
    ASSERT_EQ(r.find(3).state(), 10);
    EXPECT_EQ(r.find(3).bytes[4], 0);
    EXPECT_EQ(sequence_state(), 91);
}

TEST_F(Commands, GroupStopFinalisesEveryQueuedMove) {
    plc.cycle({command(3, move_axes())});
    const int front = rid_of("move_axes");
    plc.cycle({command(4, move_axes()), command(5, payload(2102, Bytes(88, 0), 0))});
    srl_set_robot_motion_state_1(front, 3, 0, 0);
    set_moving(true);
    EXPECT_EQ(plc.cycle({command(6, payload(2003))}).find(6).state(), 4);  // waits for the arm to stand still
    // The adapter keeps the front and reports it stopped; the two behind vanish silently.
    srl_set_robot_motion_state_1(front, 0, 0, 0);
    set_moving(false);
    std::map<uint16_t, Frag> final_rsp;
    for (int i = 0; i < 60; ++i) {
        for (const Frag& f : plc.cycle().frags) final_rsp[f.id] = f;
    }
    EXPECT_EQ(final_rsp[6].state(), 10);
    for (uint16_t id : {3, 4, 5}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(final_rsp[id].state(), 14);
        EXPECT_EQ(final_rsp[id].code(), 0x6C05);
        EXPECT_EQ(final_rsp[id].severity(), 5);
    }
    srl_set_robot_motion_state_1(front, 1, 0, 0);  // late report: dropped
    EXPECT_EQ(plc.cycle().frags.size(), 0u);
}

TEST_F(Commands, SetSequenceAndAbortingModesAbortTheDroppedMoves) {
    plc.cycle({command(3, move_axes())});
    plc.cycle({command(4, move_axes(1))});  // primary + abort others
    EXPECT_EQ(wait_for(plc, 3, 14).code(), 0x6C06);
    plc.cycle({command(5, payload(1004, {2}))});
    EXPECT_EQ(wait_for(plc, 4, 14).code(), 0x6C06);
    EXPECT_EQ(plc.cycle().status() & (1u << 3), 1u << 3);  // secondary sequence active
}

TEST_F(Commands, NewJogAndPowerLossAbortWhatTheAdapterDrops) {
    plc.cycle({command(6, move_axes())});
    plc.cycle({command(7, jog(1, 2, 0x01))});  // the adapter's jog drops queued moves
    EXPECT_EQ(wait_for(plc, 6, 14).code(), 0x6C06);
    srl_set_ra_state(209);
    plc.cycle();
    srl_set_ra_state(217);  // drives lost while jogging
    const Frag jogged = wait_for(plc, 7, 14);
    EXPECT_EQ(jogged.code(), 0x6C15);
    ASSERT_EQ(jogged.bytes.size(), 5u);
    EXPECT_EQ(jogged.bytes[4], 0);  // Enabled, MotionActive cleared
}

TEST_F(Commands, HandlerFailuresBecomeErrorAnswers) {
    fakes().err["read_tool"] = 0x8D35;
    fakes().throws["read_frame"] = true;
    fakes().err["read_load"] = 0x12345;
    const Reply r =
        plc.cycle({command(3, payload(5107, {99})), command(4, payload(5102, {1})), command(5, payload(5103, {1}))});
    expect_errors(r, {{3, 0x8D35}, {4, 0x8FFF}, {5, 0x8FFF}});
    EXPECT_EQ(r.state(), 255);
    // A motion the adapter reports as failed.
    plc.cycle({command(6, move_axes())});
    srl_set_robot_motion_state_1(rid_of("move_axes"), 4, 0x6C03, 0);
    EXPECT_EQ(wait_for(plc, 6, 15).code(), 0x6C03);
}

TEST_F(Commands, EnableRobotDisableEndsTheCommand) {
    fakes().enable_param_result = 0x8C01;  // refused by the parameter check: a warning
    const Frag first = plc.cycle({command(3, payload(1000, {1, 0, 0, 0}))}).find(3);
    EXPECT_TRUE(fakes().last_enable_param_new);
    EXPECT_EQ(first.state(), 4);
    EXPECT_EQ(first.severity(), 20);
    EXPECT_EQ(first.code(), 0x8C01);
    const int calls = fakes().enable_param_calls;
    plc.cycle();
    EXPECT_EQ(fakes().enable_param_calls, calls + 1);  // every cycle
    EXPECT_FALSE(fakes().last_enable_param_new);
    // ManualStep in byte 7 (some clients) reaches the handler as bit 1 of byte 6.
    plc.cycle({{3, 0x05, 0, payload(1000, {1, 0, 0, 1}, 2, 2)}});
    EXPECT_EQ(fakes().last("robot_enable")->in[6], 0x02);
    const Frag off = plc.cycle({{3, 0x05, 0, payload(1000, {0, 0, 0, 0}, 2, 3)}}).find(3);
    EXPECT_EQ(fakes().count("robot_disable"), 1);
    EXPECT_EQ(off.state(), 10);
    EXPECT_EQ(off.parseq(), 3);
    ASSERT_EQ(off.bytes.size(), 5u);
    EXPECT_EQ(off.bytes[4], 0);
}

TEST_F(Commands, RollingIdsAreNeverThoseOfLiveCommands) {
    plc.cycle({command(3, move_axes())});
    const int live = rid_of("move_axes");
    for (int i = 0; i < 300; ++i) {
        plc.cycle({command(4, payload(5107, {1}))});
        ASSERT_NE(fakes().last("read_tool")->in[255], live);
    }
    srl_set_robot_motion_state_1(live, 1, 0, 0);
    EXPECT_TRUE(wait_for(plc, 3, 10).id != 0);
}

TEST_F(Commands, ResetOfARunningCmdIdForgetsTheOldCommand) {
    plc.cycle({command(3, move_axes())});
    const int old_id = rid_of("move_axes");
    // The client reuses CmdID 3 for a new command: the old move is forgotten, not answered.
    EXPECT_EQ(plc.cycle({command(3, move_axes())}).find(3).state(), 2);
    const int new_id = rid_of("move_axes");
    EXPECT_NE(new_id, old_id);
    srl_set_robot_motion_state_1(old_id, 1, 0, 0);  // the adapter ends the forgotten one
    EXPECT_EQ(plc.cycle().frags.size(), 0u);
    srl_set_robot_motion_state_1(new_id, 1, 0, 0);
    EXPECT_EQ(plc.cycle().find(3).state(), 10);
}

TEST_F(Commands, GroupInterruptAndContinueDriveTheSequenceState) {
    LRob_typeSystemState s{};
    const auto& sequence = s.taskManager.sequencing.sequence;
    srl_get_system_state(&s);
    EXPECT_EQ(sequence.activeCMD[sequence.activeSequence], 0);  // nothing in the register
    plc.cycle({command(3, move_axes())});
    set_moving(true);
    plc.cycle({command(4, payload(2002))});
    srl_set_robot_motion_state_1(rid_of("move_axes"), 2, 0, 0);
    set_moving(false);
    ASSERT_EQ(wait_for(plc, 4, 10).state(), 10);
    srl_get_system_state(&s);
    EXPECT_EQ(s.state.rcSequenceState, 93);
    EXPECT_EQ(sequence.activeCMD[sequence.activeSequence], 1);  // the interrupted move: Continue may resume it
    EXPECT_EQ(s.state.riState, 'G');
    EXPECT_EQ(s.state.telegramState, 255);
    EXPECT_EQ(plc.cycle().status() & 0x302u, 0x202u);  // paused, sequence interrupted
    plc.cycle({command(5, payload(2001))});
    srl_get_system_state(&s);
    EXPECT_EQ(s.state.rcSequenceState, 92);  // the move is still there
    srl_set_ra_state(209);
    srl_get_system_state(&s);
    EXPECT_EQ(s.state.riState, 'H');
    EXPECT_EQ(s.state.rcPowerState, 1);
}

TEST_F(Commands, SupportedFunctionsFollowRegistrationsAndSwitches) {
    srl_set_read_digital_input(nullptr);
    srl_config cfg = srl_config_get();
    cfg.advertise_digital_io = true;
    cfg.advertise_sw_limit_write = true;
    srl_config_set(cfg);
    const Bytes b = plc.cycle({command(3, payload(9002))}).find(3).bytes;
    ASSERT_EQ(b.size(), 134u);
    EXPECT_EQ(b[96 + 4], 0xC0);       // ReadDigitalOutputs, WriteDigitalOutputs
    EXPECT_EQ(b[96 + 9], 0x0F);       // limits, operation mode, work areas
    EXPECT_EQ(b[96 + 3] & 0x20, 0);   // MoveLinearAbsoluteJ never
    EXPECT_EQ(b[96 + 13] & 0x02, 0);  // SoftSwitchTCP never
}

}  // namespace
}  // namespace srltest
