// SPDX-License-Identifier: Apache-2.0
// Connection behaviour: TelegramState machine, lifesign, SEQ/ACK, fragments, cyclic layout,
// fast stop and the ReadMessages channel.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_handlers.h"

namespace srltest {
namespace {

class Connection : public ::testing::Test {
protected:
    void SetUp() override { reset_interpreter(); }
    Plc plc;
};

TEST_F(Connection, InitializeChecksTheHeaderInOrder) {
    struct Case {
        const char* what;
        void (*tweak)(Plc&);
        uint8_t state;
    };
    const Case cases[] = {
        {"major version 2", [](Plc& p) { p.version = 0x43; }, 164},
        {"axes group 5", [](Plc& p) { p.group = 5; }, 170},
        {"length 128", [](Plc& p) { p.lengths[1] = 128; }, 163},
        {"two sequences in one direction", [](Plc& p) { p.p2r_words = 0x100; }, 171},
        {"R->P force block", [](Plc& p) { p.r2p_words = 0x08; }, 172},
        {"two sequences", [](Plc& p) { p.p2r_words = p.r2p_words = 0x100; }, 172},
        {"P->R joint block", [](Plc& p) { p.p2r_words = 0x04; }, 172},
        {"group 1 accepted", [](Plc& p) { p.group = 1; }, 255},
        {"Cartesian + joint", [](Plc& p) { p.r2p_words = 0x06; }, 255},
        // 80 bytes hold both blocks (76) but not a usable sequence area after them.
        {"optional data too large for 80-byte telegrams",
         [](Plc& p) {
             srl_config cfg = srl_config_get();
             cfg.length_plc_to_rob = cfg.length_rob_to_plc = 80;
             srl_config_set(cfg);
             p.lengths[0] = p.lengths[1] = 80;
             p.r2p_words = 0x06;
         },
         166},
    };
    for (const Case& c : cases) {
        reset_interpreter();
        Plc p;
        c.tweak(p);
        p.control = 1;
        EXPECT_EQ(p.cycle().state(), c.state) << c.what;
    }
}

TEST_F(Connection, ControlRequestsOutsideTheirStateAndRepeatedInitialize) {
    plc.control = 2;  // RESUME while 254
    EXPECT_EQ(plc.cycle().state(), 161);
    plc.control = 1;  // INITIALIZE in an error state
    EXPECT_EQ(plc.cycle().state(), 161);
    plc.control = 3;
    EXPECT_EQ(plc.cycle().state(), 254);
    EXPECT_EQ(plc.cycle().state(), 254);  // RESET still held: no-op
    plc.control = 1;
    EXPECT_EQ(plc.cycle().state(), 255);
    EXPECT_EQ(plc.cycle().state(), 255);        // INITIALIZE still held: no-op
    EXPECT_EQ(fakes().count("group_stop"), 1);  // only the RESET stopped the arm
    plc.control = 0;
    plc.r2p_words = 0x04;  // TelegramNumber changed while initialised
    EXPECT_EQ(plc.cycle().state(), 169);
}

TEST_F(Connection, LifesignTimeoutStopsTheArmAndResetRecovers) {
    plc.connect();  // LifeSignTimeOut 1000 ms
    plc.cycle({command(3, move_axes())});
    const size_t calls_before = fakes().calls.size();
    plc.freeze_life = true;
    Reply r;
    for (int i = 0; i < 300 && r.state() != 165; ++i) r = plc.cycle();
    ASSERT_EQ(r.state(), 165);
    EXPECT_GE(g_now_ms, 1000u + 1000u);
    // group stop first, then the command buffer is cleared
    std::vector<std::string> after;
    for (size_t i = calls_before; i < fakes().calls.size(); ++i) after.push_back(fakes().calls[i].name);
    EXPECT_EQ(after, (std::vector<std::string>{"group_stop", "clear_cmd"}));
    // The move the client still waits for is finalised while the client can listen.
    const Frag aborted = r.has(3) ? r.find(3) : plc.cycle().find(3);
    EXPECT_EQ(aborted.state(), 14);
    EXPECT_EQ(aborted.code(), 0x6C06);

    plc.freeze_life = false;
    plc.control = 3;
    EXPECT_EQ(plc.cycle().state(), 254);
    plc.control = 1;
    EXPECT_EQ(plc.cycle().state(), 255);
    plc.control = 0;
    EXPECT_EQ(plc.cycle({command(1, payload(9001, {0, 1, 20}))}).find(1).state(), 4);
}

TEST_F(Connection, ConstantZeroLifesignTimesOutWithTheClientsTimeout) {
    plc.connect();
    Bytes cfg = payload(9000, {20, 0x02, 0, 0, 0, 0, 0x00, 0x32}, 2, 2);  // 50 ms
    plc.cycle({{2, 0x05, 0, cfg}});
    plc.freeze_life = true;
    plc.life = 0;
    Reply r = plc.cycle();  // the change to 0 re-arms the supervision
    const uint64_t since = g_now_ms;
    while (r.state() == 255 && g_now_ms - since < 200) r = plc.cycle();
    EXPECT_EQ(r.state(), 165);
    EXPECT_GT(g_now_ms - since, 50u - 4u);
    EXPECT_LT(g_now_ms - since, 70u);
}

// What the I/O manager shows without a PLC: no header to judge, only a lifesign that stands still.
TEST_F(Connection, AnAllZeroImageIsNoPlcAndEndsInLifesignLoss) {
    plc.connect();
    Reply r = plc.send_raw(Tel{});
    EXPECT_EQ(r.state(), 255);
    const uint64_t since = g_now_ms;
    while (r.state() == 255 && g_now_ms - since < 3000) r = plc.send_raw(Tel{});
    EXPECT_EQ(r.state(), 165);
    EXPECT_GE(g_now_ms - since, 1000u - 8u) << "the configured 1000 ms lifesign timeout";
}

TEST_F(Connection, TornTelegramIsIgnored) {
    plc.connect();
    Tel t = plc.next({command(3, payload(5107, {1}))});
    t[255] = static_cast<uint8_t>((t[1] + 1) & 0x0F);  // footer lifesign differs
    const Reply torn = plc.send_raw(t);
    EXPECT_EQ(fakes().count("read_tool"), 0);
    EXPECT_EQ(torn.ack, static_cast<uint16_t>(plc.seq - 1));
    EXPECT_EQ(torn.state(), 255);
    t[255] = t[1] & 0x0F;
    const Reply ok = plc.send_raw(t);
    EXPECT_EQ(fakes().count("read_tool"), 1);
    EXPECT_EQ(ok.ack, plc.seq);
}

TEST_F(Connection, RepeatedSeqIsProcessedOnceAndItsContentStaysUnchanged) {
    plc.connect();
    const Reply first = plc.cycle({command(3, move_axes())});
    const int rid = received<uint8_t>("move_axes", 255);
    srl_set_robot_motion_state_1(rid, 3, 0, 0);  // new state, but no new SEQ yet
    const Reply again = plc.cycle({command(3, move_axes())}, true);
    EXPECT_EQ(fakes().count("move_axes"), 1);
    EXPECT_TRUE(std::equal(first.raw.begin() + 10, first.raw.begin() + 255, again.raw.begin() + 10));
    EXPECT_EQ(plc.cycle().find(3).state(), 4);
    EXPECT_EQ(plc.cycle().frags.size(), 0u);  // delivered once
}

TEST_F(Connection, MalformedFragmentsNeverExecute) {
    plc.connect();
    // Sequence payload length beyond the telegram: discarded, still acknowledged.
    Tel t = plc.next({command(3, payload(5107, {1}))});
    t[plc.cp() + 2] = 0x01;  // 0x01xx bytes announced
    EXPECT_EQ(plc.send_raw(t).ack, plc.seq);
    // Fragment length running past the sequence payload.
    t = plc.next({command(3, payload(5107, {1}))});
    t[plc.cp() + 4 + 7] = 40;
    plc.send_raw(t);
    EXPECT_EQ(fakes().count("read_tool"), 0);

    // A gap in the payload pointer, a Reset with a pointer, CmdID 0 and CmdIDs beyond LengthACR.
    const Reply r = plc.cycle({{4, 0x02, 0, payload(5107)},
                               {4, 0x01, 6, {1}},
                               {5, 0x03, 2, payload(5107, {1})},
                               {0, 0x03, 0, payload(5107, {1})},
                               {51, 0x03, 0, payload(5107, {1})}});
    EXPECT_EQ(r.find(4).code(), 0x9A10);
    EXPECT_EQ(r.find(5).code(), 0x9A08);
    EXPECT_EQ(r.find(51).state(), 15);
    EXPECT_EQ(r.find(51).severity(), 28);
    EXPECT_EQ(r.find(51).code(), 0x9A03);
    EXPECT_FALSE(r.has(0));
    EXPECT_EQ(fakes().count("read_tool"), 0);
}

TEST_F(Connection, ToolFrameBytesFollowTheConfiguration) {
    // Standard client without R->P Cartesian: SEQ at byte 18.
    srl_config cfg = srl_config_get();
    cfg.always_tool_frame = false;
    srl_config_set(cfg);
    plc.tool_frame = false;
    plc.connect();
    EXPECT_EQ(plc.cycle({command(3, payload(5107, {2}))}).find(3).state(), 10);

    // With R->P Cartesian the bytes are there and feed the cyclic position handler.
    reset_interpreter();
    cfg.always_tool_frame = false;
    srl_config_set(cfg);
    Plc cart;
    cart.r2p_words = 0x06;
    cart.tool = 7;
    cart.frame = 9;
    cart.connect();
    EXPECT_EQ(cart.cycle({command(3, payload(5107, {2}))}).find(3).state(), 10);
    EXPECT_EQ(received<uint8_t>("cyclic_position", 0), 7);
    EXPECT_EQ(received<uint8_t>("cyclic_position", 1), 9);
    // "Always expect ToolNo/FrameNo" (SEQ at byte 20 without any optional data) is the fixture's
    // default, which every other case runs with.
}

TEST_F(Connection, CyclicBlocksCarryPositionAndJoints) {
    LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data block{};
    block.Position.X = 1.0f;
    block.CurrentCoordinateSystem = {7, 9};
    answer("cyclic_position", block);
    uint8_t pos[104] = {};
    const float j1 = -90.0f;
    std::memcpy(pos + 54, &j1, 4);
    srl_set_current_pos(pos, 0.5f);
    plc.r2p_words = 0x06;
    plc.control = 1;
    const Reply r = plc.cycle();
    EXPECT_EQ(Bytes(r.raw.begin() + 8, r.raw.begin() + 10), hex("13 88"));         // override 50 %
    EXPECT_EQ(Bytes(r.raw.begin() + 10, r.raw.begin() + 14), hex("3F 80 00 00"));  // X
    EXPECT_EQ(Bytes(r.raw.begin() + 46, r.raw.begin() + 48), hex("07 09"));        // currently used
    EXPECT_EQ(Bytes(r.raw.begin() + 50, r.raw.begin() + 54), hex("C2 B4 00 00"));  // J1
}

TEST_F(Connection, ResponsesAreNeverSplitButShortenedOrDeferred) {
    plc.r2p_words = 0x06;  // Cartesian + joint: 171 bytes of sequence area
    plc.control = 1;
    plc.cycle();
    plc.control = 0;
    const Frag m = plc.cycle({command(1, payload(9001, {0, 1, 20}))}).find(1);
    EXPECT_EQ(m.bytes.size(), 163u);  // 170-byte ReadMessages, text shortened
    EXPECT_EQ(m.action, 0x05);
    EXPECT_EQ(m.pointer, 0);
    Reply r = plc.cycle({command(3, payload(5100, Bytes(8, 0))), command(4, payload(9002))});
    ASSERT_EQ(r.frags.size(), 1u);  // 112 + 134 bytes do not fit together
    const uint16_t first = r.frags[0].id;
    const Reply again = plc.cycle({}, true);  // same ACK: identical content
    EXPECT_EQ(again.frags.size(), 1u);
    EXPECT_EQ(again.frags[0].id, first);
    r = plc.cycle();  // next ACK carries the deferred one, complete
    ASSERT_EQ(r.frags.size(), 1u);
    EXPECT_NE(r.frags[0].id, first);
    EXPECT_EQ(r.frags[0].bytes.size(), r.frags[0].id == 3 ? 112u : 134u);
}

TEST_F(Connection, NoExecutionOutsideInitialised) {
    plc.cycle({command(3, payload(5107, {1}))});  // 254: discarded, acknowledged
    EXPECT_EQ(fakes().count("read_tool"), 0);
    plc.control = 2;
    plc.cycle();  // 161
    plc.control = 0;
    EXPECT_EQ(plc.cycle({command(3, payload(5107, {1}))}).find(3).code(), 0x8F18);
    EXPECT_EQ(fakes().count("read_tool"), 0);
}

TEST_F(Connection, FastStopHoldsTheArmExceptForTheClientsReset) {
    plc.connect();
    plc.fast_stop = 1;
    plc.cycle();
    EXPECT_EQ(fakes().count("group_pause"), 1);
    plc.cycle({command(3, payload(1001))});  // GroupReset Done
    plc.fast_stop = 0;                       // the client's counter reset
    plc.cycle();
    EXPECT_EQ(fakes().count("group_pause"), 1);
    plc.fast_stop = 1;
    plc.cycle();
    EXPECT_EQ(fakes().count("group_pause"), 2);
}

TEST_F(Connection, MessagesChannelSendsEachMessageOnceUntilAcknowledged) {
    plc.connect();
    int8_t id = -1;
    EXPECT_EQ(srl_report_error_warning(id, false, 0x6C03, 28, "target unreachable"), 0);
    EXPECT_NE(id, -1);
    const Frag m = wait_for(plc, 1);
    EXPECT_EQ(m.state(), 4);
    ASSERT_EQ(m.bytes.size(), 170u);
    EXPECT_EQ(m.bytes[4], static_cast<uint8_t>(id));  // MsgID
    EXPECT_EQ(m.bytes[6], 1);                         // one active error
    EXPECT_EQ(m.bytes[15], 28);                       // severity
    EXPECT_EQ(Bytes(m.bytes.begin() + 16, m.bytes.begin() + 20), hex("00 00 6C 03"));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&m.bytes[20])), "target unreachable");
    EXPECT_EQ(plc.cycle().status() & (1u << 5), 1u << 5);          // ErrorPending
    for (int i = 0; i < 5; ++i) EXPECT_FALSE(plc.cycle().has(1));  // not repeated

    int8_t second = -1;
    srl_report_error_warning(second, false, 0x7A01, 20, "acr almost full");
    int8_t low = -1;
    srl_report_error_warning(low, false, 0x6A02, 5, "below level 20");
    // Acknowledge: the next message follows; the info below the client's level never does.
    const Frag ack = plc.cycle({{1, 0x05, 0, payload(9001, {static_cast<uint8_t>(id), 1, 20}, 2, 2)}}).find(1);
    ASSERT_EQ(ack.parseq(), 2);
    EXPECT_EQ(ack.bytes[4], static_cast<uint8_t>(second));

    srl_report_error_warning(id, true, 0x6C03, 28, "target unreachable");  // processed
    EXPECT_EQ(plc.cycle().status() & (1u << 5), 0u);
    // Unacknowledged: given up after the timeout, then "no message".
    const Frag after = plc.cycle({{1, 0x05, 0, payload(9001, {static_cast<uint8_t>(second), 1, 20}, 2, 3)}}).find(1);
    ASSERT_EQ(after.parseq(), 3);
    EXPECT_EQ(after.bytes[4], 0);
}

TEST_F(Connection, UnacknowledgedMessageTimesOut) {
    plc.connect();
    int8_t a = -1, b = -1;
    srl_report_error_warning(a, false, 0x8C03, 28, "first");
    srl_report_error_warning(b, false, 0x8C04, 28, "second");
    const Frag first = wait_for(plc, 1);
    ASSERT_EQ(first.state(), 4);
    EXPECT_EQ(first.bytes[4], static_cast<uint8_t>(a));
    const Frag next = wait_for(plc, 1, -1, 2000);
    ASSERT_EQ(next.state(), 4);
    EXPECT_EQ(next.bytes[4], static_cast<uint8_t>(b));
    EXPECT_GE(g_now_ms, 5000u);
}

}  // namespace
}  // namespace srltest
