// SPDX-License-Identifier: Apache-2.0
// Command dispatch: unsupported commands, reassembly, parameter updates, final states of
// commands the adapter drops, handler failures and the adapter-facing state.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"

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

using Commands = ConnectedPlc;

TEST_F(Commands, UnsupportedCommandsAreFinalAtOnce) {
    srl_set_move_axes_absolute_funs(nullptr);
    const Reply r = plc.cycle({command(3, payload(2110, Bytes(88, 0))),  // known, not served
                               command(4, payload(4242)),                // unknown CmdType
                               command(5, move_axes()),                  // handler unregistered
                               command(6, payload(5107, {1}, 5))});      // trigger ExecMode
    const uint16_t expected[][2] = {{3, 0x8F11}, {4, 0x8F20}, {5, 0x8F11}, {6, 0x8F10}};
    for (const auto& e : expected) {
        const RspFrag* f = r.find(e[0]);
        ASSERT_NE(f, nullptr) << e[0];
        EXPECT_EQ(f->state(), 15);
        EXPECT_EQ(f->severity(), 28);
        EXPECT_EQ(f->code(), e[1]);
    }
}

TEST_F(Commands, CommandSplitOverTwoTelegrams) {
    Bytes p = move_axes();
    p[28] = 0x41;  // J1 = 10.0 (BE REAL at payload 28)
    p[29] = 0x20;
    const Bytes head(p.begin(), p.begin() + 40), tail(p.begin() + 40, p.end());
    const Reply first = plc.cycle({{3, 0x02, 0, head}});
    EXPECT_EQ(first.find(3), nullptr);
    EXPECT_EQ(fakes().count("move_axes"), 0);
    const Reply second = plc.cycle({{3, 0x01, 40, tail}});
    ASSERT_EQ(fakes().count("move_axes"), 1);
    LRob_typeServerCmdMoveAxesAbs cmd;
    std::memcpy(&cmd, fakes().last("move_axes")->in.data(), sizeof cmd);
    EXPECT_FLOAT_EQ(cmd.Joint.J1, 10.0f);
    ASSERT_NE(second.find(3), nullptr);
    EXPECT_EQ(second.find(3)->state(), 2);
}

TEST_F(Commands, ShortPayloadsAreZeroFilledAndLongOnesTruncated) {
    std::vector<uint8_t> tool_payload = payload(5205, Bytes(26, 0));  // ToolNo (38) and ID lost
    tool_payload[6 + 4] = 0x3F;                                       // X = 1.0
    tool_payload[7 + 4] = 0x80;
    fakes().answer["write_tool"] = {};
    plc.cycle({command(3, tool_payload), command(4, payload(5107, Bytes(150, 7)))});
    LRob_typeServerCmdWriteToolData w;
    std::memcpy(&w, fakes().last("write_tool")->in.data(), sizeof w);
    EXPECT_FLOAT_EQ(w.ToolData.Data.X, 1.0f);
    EXPECT_EQ(w.ToolNo, 0);
    EXPECT_EQ(w.ToolData.Data.ID, 0);
    const Call* read = fakes().last("read_tool");
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->in[4], 7);
    EXPECT_EQ(read->in[5], 0);  // beyond the 5-byte record: nothing copied
}

TEST_F(Commands, GroupJogCallsTheModeHandlerOnStartAndOnEveryUpdate) {
    Reply r = plc.cycle({command(3, jog(1, 2, 0x01))});
    ASSERT_EQ(fakes().count("jog_joint"), 1);
    EXPECT_EQ(fakes().last("jog_joint")->in[20], 0x01);
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->state(), 4);
    EXPECT_EQ(r.find(3)->bytes[4] & 1, 1);  // Enabled
    for (int i = 0; i < 5; ++i) plc.cycle();
    EXPECT_EQ(fakes().count("jog_joint"), 1);  // never every cycle

    srl_set_jog_distance_togo(1);
    r = plc.cycle({{3, 0x05, 0, jog(1, 0, 0x40, 2)}});  // update: frame jog, X-
    EXPECT_EQ(fakes().count("jog_frame"), 1);
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->parseq(), 2);
    EXPECT_EQ(r.find(3)->bytes[4] & 2, 0);  // DistanceReached cleared by the new activation

    r = plc.cycle({{3, 0x05, 0, jog(0, 0, 0x40, 3)}});  // Enable = 0
    EXPECT_EQ(fakes().count("jog_frame"), 2);
    EXPECT_EQ(fakes().last("jog_frame")->in[20], 0);  // stop: no direction
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->state(), 10);
    EXPECT_EQ(r.find(3)->bytes[4], 0);
}

TEST_F(Commands, GroupStopFinalisesEveryQueuedMove) {
    plc.cycle({command(3, move_axes())});
    const int front = rid_of("move_axes");
    plc.cycle({command(4, move_axes()), command(5, payload(2102, Bytes(88, 0), 0))});
    srl_set_robot_motion_state_1(front, 3, 0, 0);
    set_moving(true);
    Reply r = plc.cycle({command(6, payload(2003))});
    ASSERT_NE(r.find(6), nullptr);
    EXPECT_EQ(r.find(6)->state(), 4);  // waits for the arm to stand still
    // The adapter keeps the front and reports it stopped; the two behind vanish silently.
    srl_set_robot_motion_state_1(front, 0, 0, 0);
    set_moving(false);
    std::map<uint16_t, RspFrag> final_rsp;
    for (int i = 0; i < 60; ++i) {
        for (const RspFrag& f : plc.cycle().frags) final_rsp[f.id] = f;
    }
    ASSERT_EQ(final_rsp.count(6), 1u);
    EXPECT_EQ(final_rsp[6].state(), 10);
    for (uint16_t id : {3, 4, 5}) {
        ASSERT_EQ(final_rsp.count(id), 1u) << id;
        EXPECT_EQ(final_rsp[id].state(), 14) << id;
        EXPECT_EQ(final_rsp[id].code(), 0x6C05) << id;
        EXPECT_EQ(final_rsp[id].severity(), 5) << id;
    }
    srl_set_robot_motion_state_1(front, 1, 0, 0);  // late report: dropped
    EXPECT_EQ(plc.cycle().frags.size(), 0u);
}

TEST_F(Commands, SetSequenceAndAbortingModesAbortTheDroppedMoves) {
    plc.cycle({command(3, move_axes())});
    plc.cycle({command(4, move_axes(1))});  // primary + abort others
    auto a = wait_for(plc, 3, 14);
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->code(), 0x6C06);
    plc.cycle({command(5, payload(1004, {2}))});
    auto b = wait_for(plc, 4, 14);
    ASSERT_TRUE(b.has_value());
    EXPECT_EQ(b->code(), 0x6C06);
    EXPECT_EQ(plc.cycle().status() & (1u << 3), 1u << 3);  // secondary sequence active
}

TEST_F(Commands, NewJogAndPowerLossAbortWhatTheAdapterDrops) {
    plc.cycle({command(3, move_axes())});
    plc.cycle({command(4, jog(1, 2, 0x01))});  // the adapter's jog drops queued moves
    auto move = wait_for(plc, 3, 14);
    ASSERT_TRUE(move.has_value());
    EXPECT_EQ(move->code(), 0x6C06);
    srl_set_ra_state(209);
    plc.cycle();
    srl_set_ra_state(217);  // drives lost while jogging
    auto jogged = wait_for(plc, 4, 14);
    ASSERT_TRUE(jogged.has_value());
    EXPECT_EQ(jogged->code(), 0x6C15);
    EXPECT_EQ(jogged->bytes[4], 0);  // Enabled, MotionActive cleared
}

TEST_F(Commands, HandlerFailuresBecomeErrorAnswers) {
    fakes().err["read_tool"] = 0x8D35;
    fakes().throws["read_frame"] = true;
    fakes().err["read_load"] = 0x12345;
    const Reply r =
        plc.cycle({command(3, payload(5107, {99})), command(4, payload(5102, {1})), command(5, payload(5103, {1}))});
    const uint16_t expected[][2] = {{3, 0x8D35}, {4, 0x8FFF}, {5, 0x8FFF}};
    for (const auto& e : expected) {
        const RspFrag* f = r.find(e[0]);
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->state(), 15);
        EXPECT_EQ(f->severity(), 28);
        EXPECT_EQ(f->code(), e[1]);
    }
    EXPECT_EQ(r.state(), 255);
    // A motion the adapter reports as failed.
    plc.cycle({command(6, move_axes())});
    srl_set_robot_motion_state_1(rid_of("move_axes"), 4, 0x6C03, 0);
    auto f = wait_for(plc, 6, 15);
    ASSERT_TRUE(f.has_value());
    EXPECT_EQ(f->code(), 0x6C03);
}

TEST_F(Commands, EnableRobotDisableEndsTheCommand) {
    fakes().enable_param_result = 0x8C01;  // refused by the parameter check: a warning
    const Reply first = plc.cycle({command(3, payload(1000, {1, 0, 0, 0}))});
    EXPECT_TRUE(fakes().last_enable_param_new);
    ASSERT_NE(first.find(3), nullptr);
    EXPECT_EQ(first.find(3)->state(), 4);
    EXPECT_EQ(first.find(3)->severity(), 20);
    EXPECT_EQ(first.find(3)->code(), 0x8C01);
    const int calls = fakes().enable_param_calls;
    plc.cycle();
    EXPECT_EQ(fakes().enable_param_calls, calls + 1);  // every cycle
    EXPECT_FALSE(fakes().last_enable_param_new);
    // ManualStep in byte 7 (some clients) reaches the handler as bit 1 of byte 6.
    plc.cycle({{3, 0x05, 0, payload(1000, {1, 0, 0, 1}, 2, 2)}});
    EXPECT_EQ(fakes().last("robot_enable")->in[6], 0x02);
    const Reply r = plc.cycle({{3, 0x05, 0, payload(1000, {0, 0, 0, 0}, 2, 3)}});
    EXPECT_EQ(fakes().count("robot_disable"), 1);
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->state(), 10);
    EXPECT_EQ(r.find(3)->bytes[4], 0);
    EXPECT_EQ(r.find(3)->parseq(), 3);
}

TEST_F(Commands, RollingIdsAreNeverThoseOfLiveCommands) {
    plc.cycle({command(3, move_axes())});
    const int live = rid_of("move_axes");
    for (int i = 0; i < 300; ++i) {
        plc.cycle({command(4, payload(5107, {1}))});
        ASSERT_NE(fakes().last("read_tool")->in[255], live);
    }
    srl_set_robot_motion_state_1(live, 1, 0, 0);
    auto done = wait_for(plc, 3, 10);
    ASSERT_TRUE(done.has_value());
}

TEST_F(Commands, ResetOfARunningCmdIdForgetsTheOldCommand) {
    plc.cycle({command(3, move_axes())});
    const int old_id = rid_of("move_axes");
    // The client reuses CmdID 3 for a new command: the old move is forgotten, not answered.
    Reply r = plc.cycle({command(3, move_axes())});
    const int new_id = rid_of("move_axes");
    EXPECT_NE(new_id, old_id);
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->state(), 2);
    srl_set_robot_motion_state_1(old_id, 1, 0, 0);  // the adapter ends the forgotten one
    EXPECT_EQ(plc.cycle().frags.size(), 0u);
    srl_set_robot_motion_state_1(new_id, 1, 0, 0);
    r = plc.cycle();
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->state(), 10);
}

TEST_F(Commands, GroupInterruptAndContinueDriveTheSequenceState) {
    plc.cycle({command(3, move_axes())});
    set_moving(true);
    plc.cycle({command(4, payload(2002))});
    srl_set_robot_motion_state_1(rid_of("move_axes"), 2, 0, 0);
    set_moving(false);
    auto done = wait_for(plc, 4, 10);
    ASSERT_TRUE(done.has_value());
    LRob_typeSystemState s{};
    srl_get_system_state(&s);
    EXPECT_EQ(s.state.rcSequenceState, 93);
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
    const Reply r = plc.cycle({command(3, payload(9002))});
    ASSERT_NE(r.find(3), nullptr);
    const Bytes& b = r.find(3)->bytes;
    EXPECT_EQ(b[96 + 4], 0xC0);       // ReadDigitalOutputs, WriteDigitalOutputs
    EXPECT_EQ(b[96 + 9], 0x0F);       // limits, operation mode, work areas
    EXPECT_EQ(b[96 + 3] & 0x20, 0);   // MoveLinearAbsoluteJ never
    EXPECT_EQ(b[96 + 13] & 0x02, 0);  // SoftSwitchTCP never
}

TEST_F(Commands, SingleInstanceCommands) {
    const Reply r = plc.cycle({command(3, payload(9000, {20, 0x02}))});
    ASSERT_NE(r.find(3), nullptr);
    EXPECT_EQ(r.find(3)->code(), 0x8F12);
}

}  // namespace
}  // namespace srltest
