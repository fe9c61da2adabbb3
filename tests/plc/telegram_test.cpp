// SPDX-License-Identifier: Apache-2.0
// The wire without a session: P->R telegrams and command payloads against bytes built by hand from
// the SRCI standard's tables, a hand-built R->P telegram decoded, and payloads cut into fragments.
#include <gtest/gtest.h>

#include "plc_command.h"
#include "plc_test.hpp"
#include "srci_plc/byte_order.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/outbox.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/response.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srci_plc/status_word.hpp"

using namespace srci_plc;

namespace {

std::vector<uint8_t> encode(const char* name, const ParamValues& params, uint8_t par_seq = 1, Timestamp at = {}) {
    return encode_command(srci_test::command(name), params, par_seq, at);
}

std::vector<uint8_t> ramp(size_t n) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(i);
    return v;
}

}  // namespace

// Worked start-up example: SEQ 2 carrying ReadMessages as the first command,
// sent by a 1.3 client that always transmits ToolNo/FrameNo.
TEST(PlcTelegram, ReproducesWorkedReadMessagesExample) {
    PlcTelegram t;
    t.version = kVersion1_3;
    t.lifesign = 5;
    t.tn_rob_to_plc = 0;
    t.tool_frame_always = true;
    t.tool_no = 0;
    t.frame_no = 0;
    t.client_date = 12784;     // 2025-01-01
    t.client_time = 43200000;  // 12:00:00.000
    t.seq = 2;
    t.fragments = {Fragment{1, fragment_action::kReset | fragment_action::kComplete, 0,
                            encode("read-messages", {{"msg_id", 0}, {"enable", 1}, {"level", 20}})}};

    std::vector<uint8_t> expected(256, 0);
    put(expected, 0,
        {
            0x23, 0x05,                                      // version 1.3; FastStop 0, LifeSign 5
            0x01, 0x00, 0x01, 0x00,                          // lengths 256/256
            0x00, 0x00,                                      // AxesGroupID 0, Control NONE; reserved
            0x00, 0x00, 0x00, 0x00,                          // no optional cyclic data
            0x31, 0xF0, 0x02, 0x93, 0x2E, 0x00,              // 2025-01-01, 12:00:00.000
            0x00, 0x00,                                      // ToolNo/FrameNo
            0x00, 0x02, 0x00, 0x0F,                          // SEQ 2, 15 bytes follow
            0x00, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x07,  // CmdID 1, Reset+Complete, pointer 0, 7 bytes
            0x23, 0x29, 0x02, 0x13, 0x00, 0x01, 0x14,  // 9001, ExecMode 2, ParSeq 1/Prio 3, MsgID 0, Enable, level 20
        });
    expected[255] = 0x05;  // footer LifeSign
    EXPECT_EQ(encode_plc_telegram(t), expected);
}

TEST(PlcTelegram, SequenceFollowsHeaderWithoutCartesianAndAfterToolFrameWithIt) {
    PlcTelegram t;
    t.tn_rob_to_plc = 0;
    t.seq = 0x0102;
    auto b = encode_plc_telegram(t);
    EXPECT_EQ(b[18], 0x01);  // SEQ directly at 18
    EXPECT_EQ(b[19], 0x02);
    EXPECT_EQ(plc_sequence_capacity(t), 233u);

    t.tn_rob_to_plc = telegram_number::kDefaultRobToPlc;
    t.tool_no = 3;
    t.frame_no = 255;
    t.fast_stop = 0x13;  // only the low nibble travels
    t.lifesign = 9;
    t.control = Control::Initialize;
    t.axes_group = 1;
    b = encode_plc_telegram(t);
    const std::vector<uint8_t> head = {0x25, 0x39, 0x01, 0x00, 0x01, 0x00, 0x11, 0x00, 0x00, 0x00, 0x00,
                                       0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 3,    255,  0x01, 0x02};
    EXPECT_EQ(std::vector<uint8_t>(b.begin(), b.begin() + 22), head);
    EXPECT_EQ(b[255], 0x09);
    EXPECT_EQ(plc_sequence_capacity(t), 231u);
}

TEST(PlcTelegram, RejectsWhatItCannotEncode) {
    PlcTelegram t;
    t.fragments = {Fragment{1, 0, 0, std::vector<uint8_t>(224, 0)}};  // 8 + 224 = 232 > 231
    EXPECT_THROW(encode_plc_telegram(t), std::invalid_argument);
    t.fragments[0].data.resize(223);
    EXPECT_NO_THROW(encode_plc_telegram(t));

    PlcTelegram two;
    two.tn_rob_to_plc = telegram_number::kTwoSequences;
    EXPECT_THROW(encode_plc_telegram(two), std::invalid_argument);
    PlcTelegram cyclic_out;
    cyclic_out.tn_plc_to_rob = telegram_number::kCartesian;
    EXPECT_THROW(encode_plc_telegram(cyclic_out), std::invalid_argument);
}

// A watcher of the link also meets clients that send optional cyclic data before the sequence:
// each block is skipped by its size from the SRCI standard's table, a reserved one is refused.
TEST(PlcTelegram, DecoderSkipsOptionalCyclicBlocksBySize) {
    const struct {
        uint16_t tn_plc_to_rob;
        size_t size;  // 0: refused
    } blocks[] = {
        {1u << 0, 26}, {1u << 1, 34}, {1u << 2, 28}, {1u << 3, 24}, {1u << 9, 20}, {1u << 10, 20}, {1u << 5, 0},
    };
    for (const auto& b : blocks) {
        std::vector<uint8_t> raw(256, 0);
        put(raw, 0, {0x25, 0x01, 0x01, 0x00, 0x01, 0x00});
        srci_plc::put_u16be(&raw[8], b.tn_plc_to_rob);
        put(raw, 18 + b.size, {0x00, 0x07});  // SEQ 7, no fragments
        PlcTelegram t;
        std::string error;
        EXPECT_EQ(decode_plc_telegram(raw.data(), raw.size(), false, t, error), b.size != 0) << b.tn_plc_to_rob;
        if (b.size == 0) EXPECT_NE(error.find("reserved"), std::string::npos) << error;
        else EXPECT_EQ(t.seq, 7) << b.tn_plc_to_rob;
    }
}

TEST(CommandPayload, MoveAxesAbsoluteMatchesTable) {
    std::vector<uint8_t> expected(80, 0);
    put(expected, 0, {0x08, 0x35});               // CmdType 2101
    put(expected, 2, {0x00});                     // ExecMode 0 = sequence primary
    put(expected, 3, {0x13});                     // ParSeq 1, priority 3
    put(expected, 10, {0x13, 0x88});              // VelocityRate 50.00 %
    put(expected, 12, {0x09, 0xC4});              // AccelerationRate 25.00 %
    put(expected, 14, {0xFF, 0xFF});              // DecelerationRate not set
    put(expected, 16, {0xFF, 0xFF});              // JerkRate not set
    put(expected, 18, {0x01});                    // ToolNo 1, BlendingMode 0 at 19
    put(expected, 28, {0x41, 0x20, 0x00, 0x00});  // J1 10.0
    put(expected, 32, {0xC2, 0xB4, 0x00, 0x00});  // J2 -90.0
    put(expected, 36, {0x3F, 0x80, 0x00, 0x00});  // J3 1.0
    EXPECT_EQ(encode("move-axes", {{"j1", 10}, {"j2", -90}, {"j3", 1}, {"vel", 50}, {"acc", 25}, {"tool", 1}}),
              expected);
}

TEST(CommandPayload, MoveLinearCarriesOriTurnAndConfigModes) {
    const auto p =
        encode("move-linear", {{"x", 400.5}, {"config", 5}, {"config_s", 3}, {"config_e", 4}, {"config_w", 2}}, 2);
    ASSERT_EQ(p.size(), 92u);
    EXPECT_EQ(p[0], 0x08);
    EXPECT_EQ(p[1], 0x37);  // 2103
    EXPECT_EQ(p[3], 0x23);  // ParSeq 2
    EXPECT_EQ(p[21], 1);    // OriMode linear by default
    EXPECT_EQ((std::vector<uint8_t>{p[30], p[31], p[32], p[33]}), (std::vector<uint8_t>{0x43, 0xC8, 0x40, 0x00}));
    EXPECT_EQ(p[54], 5);     // S/E/W bits
    EXPECT_EQ(p[65], 2);     // TurnMode free by default
    EXPECT_EQ(p[66], 0x43);  // shoulder lo nibble, elbow hi nibble
    EXPECT_EQ(p[67], 0x02);  // wrist lo nibble

    const auto d = encode("move-direct", {});
    EXPECT_EQ(d[1], 0x36);  // 2102
    EXPECT_EQ(d[21], 0);    // reserved for direct moves
    EXPECT_THROW(encode("move-direct", {{"ori_mode", 1}}), std::invalid_argument);
}

TEST(CommandPayload, JogSetsDirectionBitsAndSecondarySequence) {
    std::vector<uint8_t> expected(23, 0);
    put(expected, 0, {0x08, 0x34, 0x07, 0x13});   // 2100, ExecMode 7, ParSeq 1 / prio 3
    put(expected, 4, {0x01});                     // Enable
    put(expected, 6, {0xFF, 0xFF, 0x02});         // current tool/frame, mode joints
    put(expected, 14, {0x40, 0xA0, 0x00, 0x00});  // IncrementalRotation 5.0
    put(expected, 18, {0x01, 0xF4});              // Override 5.00 %
    put(expected, 21, {0x01});                    // Z/J3- is byte 21 bit 0
    EXPECT_EQ(encode("jog", {{"mode", 2}, {"z-", 1}, {"rot", 5}}), expected);
}

TEST(CommandPayload, ExchangeConfigurationAndStamps) {
    const auto p = encode("exchange-config", {{"lifesign_timeout", 50}});
    ASSERT_EQ(p.size(), 20u);
    EXPECT_EQ(p[4], 20);    // LogLevel
    EXPECT_EQ(p[5], 0x02);  // Enable is bit 1
    EXPECT_EQ(p[10], 0x00);
    EXPECT_EQ(p[11], 0x32);

    // Data records carry a "last changed" stamp; the sender's clock fills it.
    const auto tool = encode("write-tool", {{"tool", 3}, {"z", 100}}, 1, Timestamp{12784, 43200000});
    ASSERT_EQ(tool.size(), 39u);
    EXPECT_EQ((std::vector<uint8_t>(tool.begin() + 4, tool.begin() + 10)),
              (std::vector<uint8_t>{0x31, 0xF0, 0x02, 0x93, 0x2E, 0x00}));
    EXPECT_EQ(tool[18], 0x42);  // Z 100.0 = 42 C8 00 00
    EXPECT_EQ(tool[19], 0xC8);
    EXPECT_EQ(tool[38], 3);  // ToolNo at the end of the record
}

TEST(CommandPayload, RejectsBadValuesWithClearErrors) {
    const ParamValues refused[] = {
        {{"vel", 150}}, {{"tool", 256}}, {{"tool", 1.5}}, {{"speed", 1}}, {{"exec_mode", 16}}};
    for (const auto& params : refused) EXPECT_THROW(encode("move-axes", params), std::invalid_argument);
    EXPECT_NE(error_of<std::invalid_argument>([] {
                  encode("move-axes", {{"acc", 101}});
              }).find("acc"),
              std::string::npos);
    const auto p = encode("move-axes", {{"exec_mode", 1}, {"priority", 2}}, 3);
    EXPECT_EQ(p[2], 1);
    EXPECT_EQ(p[3], 0x32);
}

TEST(CommandPayload, DecodesResponsesFieldByField) {
    std::vector<uint8_t> r(14, 0);
    put(r, 0, {0x1A, 0x00, 0x00, 0x00});   // ParSeq 1, Done
    put(r, 8, {0x27, 0x10});               // Progress 100.00 %
    put(r, 10, {0x40, 0x00, 0x00, 0x00});  // RemainingDistance 2.0
    std::map<std::string, double> got;
    for (const auto& f : decode_fields(srci_test::command("move-linear").response, r))
        got[f.name] = std::get<double>(f.value);
    EXPECT_DOUBLE_EQ(got.at("progress"), 100.0);
    EXPECT_DOUBLE_EQ(got.at("remaining"), 2.0);

    // Fields beyond a short answer are left out rather than invented.
    r.resize(9);
    for (const auto& f : decode_fields(srci_test::command("move-linear").response, r)) EXPECT_NE(f.name, "progress");

    std::vector<uint8_t> rd(134, 0);
    put(rd, 4, {'T', 'e', 's', 't'});
    put(rd, 96, {0xFE, 0xFF});
    std::map<std::string, std::string> text;
    for (const auto& f : decode_fields(srci_test::command("read-robot-data").response, rd))
        if (const auto* s = std::get_if<std::string>(&f.value)) text[f.name] = *s;
    EXPECT_EQ(text.at("manufacturer"), "Test");
    EXPECT_EQ(text.at("supported").substr(0, 6), "FEFF00");
}

namespace {

// Cartesian + Joint cyclic blocks, ACK 7, a MoveAxes Done and an error answer.
std::vector<uint8_t> sample_telegram() {
    std::vector<uint8_t> t(256, 0);
    put(t, 0, {0x25, 0x70, 0x00, 0xFF});   // version 1.5, robot lifesign 7, TelegramState 255
    put(t, 4, {0x81, 0x31, 0x00, 0x00});   // status LE: moving, enabled, executing, auto-ext, collision
    put(t, 8, {0x13, 0x88});               // override 50.00 %
    put(t, 10, {0x42, 0xC8, 0x00, 0x00});  // Cartesian X 100.0
    put(t, 30, {0xC2, 0xB4, 0x00, 0x00});  // RZ -90.0
    put(t, 34, {0x05});                    // config: shoulder back, wrist flip
    put(t, 44, {0x01, 0x02, 0x01, 0x02});  // ToolNo, FrameNo, used tool, used frame
    put(t, 50, {0x3F, 0x80, 0x00, 0x00});  // Joint J1 1.0
    put(t, 70, {0x42, 0x34, 0x00, 0x00});  // J6 45.0
    put(t, 80, {0x00, 0x07, 0x00, 0x1E});  // ACK 7, 30 bytes follow
    put(t, 84, {0x00, 0x03, 0x00, 0x05, 0x00, 0x00, 0x00, 0x0A});              // CmdID 3, Complete+Clear, 10 bytes
    put(t, 92, {0x1A, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x27, 0x10});  // Done, progress 100 %
    put(t, 102, {0x00, 0x04, 0x00, 0x05, 0x00, 0x00, 0x00, 0x04});             // CmdID 4, 4 bytes
    put(t, 110, {0x4F, 0x1C, 0x8F, 0x11});                                     // ParSeq 4, Error, severity 28, 0x8F11
    t[255] = 0x70;                                                             // footer lifesign, hi nibble
    return t;
}

}  // namespace

TEST(RobotTelegram, DecodesHeaderCyclicBlocksAndFragments) {
    const auto raw = sample_telegram();
    RobotTelegram t;
    std::string error;
    ASSERT_TRUE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error)) << error;
    EXPECT_EQ(t.lifesign, 7);
    EXPECT_TRUE(t.lifesign_consistent);
    EXPECT_EQ(t.telegram_state, 255);
    EXPECT_EQ(t.override_raw, 5000);
    ASSERT_TRUE(t.cartesian && t.joints);
    EXPECT_FLOAT_EQ(t.cartesian->pose[0], 100.0f);
    EXPECT_FLOAT_EQ(t.cartesian->pose[5], -90.0f);
    EXPECT_EQ(t.cartesian->config, 5);
    EXPECT_EQ(t.cartesian->used_frame_no, 2);
    EXPECT_FLOAT_EQ(t.joints->joints[0], 1.0f);
    EXPECT_FLOAT_EQ(t.joints->joints[5], 45.0f);
    EXPECT_EQ(t.ack, 7);
    ASSERT_EQ(t.fragments.size(), 2u);

    ResponseHeader done, err;
    ASSERT_TRUE(decode_response_header(t.fragments[0].data, done));
    EXPECT_EQ(done.state, cmd_state::kDone);
    EXPECT_EQ(done.par_seq, 1);
    ASSERT_TRUE(decode_response_header(t.fragments[1].data, err));
    EXPECT_EQ(t.fragments[1].cmd_id, 4);
    EXPECT_EQ(err.state, cmd_state::kError);
    EXPECT_EQ(err.par_seq, 4);
    EXPECT_EQ(err.severity, 28);
    EXPECT_EQ(err.code, 0x8F11);
    EXPECT_STREQ(error_code_name(err.code), "ERR_CMD_NOT_IMPLEMENTED");

    const StatusWord s = decode_status_word(t.status);
    EXPECT_TRUE(s.is_moving && s.enabled && s.collision_detected);
    EXPECT_FALSE(s.error_pending);
    EXPECT_EQ(s.sequence_state, 1);
    EXPECT_EQ(s.operation_mode, 4);
}

TEST(RobotTelegram, RejectsMalformedTelegrams) {
    const struct {
        const char* what;
        size_t at;  // byte changed to `value` (byte 0 to 0x25: nothing changed)
        uint8_t value;
        size_t length;
        uint16_t tn;
        const char* says;
    } cases[] = {
        {"ten bytes", 0, 0x25, 10, telegram_number::kDefaultRobToPlc, ""},
        {"sequence of 172 bytes, one more than fits", 83, 0xAC, 256, telegram_number::kDefaultRobToPlc, "exceeds"},
        {"fragment of 64 bytes in a 30-byte sequence", 109, 0x40, 256, telegram_number::kDefaultRobToPlc, ""},
        {"last fragment header cut short", 83, 0x1D, 256, telegram_number::kDefaultRobToPlc, ""},
        {"reserved block bit", 0, 0x25, 256, 1u << 5, ""},
    };
    for (const auto& c : cases) {
        auto raw = sample_telegram();
        raw[c.at] = c.value;
        RobotTelegram t;
        std::string error;
        EXPECT_FALSE(decode_robot_telegram(raw.data(), c.length, c.tn, t, error)) << c.what;
        EXPECT_FALSE(error.empty()) << c.what;
        EXPECT_NE(error.find(c.says), std::string::npos) << c.what << ": " << error;
    }

    auto raw = sample_telegram();
    raw[255] = 0x50;  // footer lifesign differs from the header: torn telegram
    RobotTelegram t;
    std::string error;
    ASSERT_TRUE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error));
    EXPECT_FALSE(t.lifesign_consistent);
}

TEST(ResponseAssembler, JoinsSplitResponsesAndDropsGaps) {
    ResponseAssembler a;
    std::vector<uint8_t> out;
    std::string error;
    EXPECT_FALSE(a.feed(Fragment{9, fragment_action::kClear, 0, {0x1A, 0x00}}, out, error));
    ASSERT_TRUE(a.feed(Fragment{9, fragment_action::kComplete, 2, {0x00, 0x00, 0x27}}, out, error));
    EXPECT_EQ(out, (std::vector<uint8_t>{0x1A, 0x00, 0x00, 0x00, 0x27}));
    EXPECT_FALSE(a.feed(Fragment{9, fragment_action::kComplete, 5, {0x00}}, out, error));
    EXPECT_FALSE(error.empty());
}

TEST(Outbox, NewCommandIsResetCompleteUpdateIsClearComplete) {
    Outbox o;
    o.push(1, ramp(7), false);
    o.push(2, ramp(8), true);
    const auto f = o.take(231);
    ASSERT_EQ(f.size(), 2u);
    EXPECT_EQ(f[0].action, 0x03);
    EXPECT_EQ(f[1].action, 0x05);
    EXPECT_EQ(f[1].cmd_id, 2);
    EXPECT_EQ(f[1].data, ramp(8));
    EXPECT_TRUE(o.empty());
}

TEST(Outbox, SplitsLongPayloadOverSeveralSequences) {
    Outbox o;
    o.push(4, ramp(7), false);
    o.push(5, ramp(154), false);
    // 15 bytes for the first command leave 85 of 100: 8 header + 77 data.
    const auto a = o.take(100);
    ASSERT_EQ(a.size(), 2u);
    EXPECT_EQ(a[1].cmd_id, 5);
    EXPECT_TRUE(o.has_pending(5));
    const auto b = o.take(50);   // middle part
    const auto c = o.take(231);  // last part
    ASSERT_EQ(b.size(), 1u);
    ASSERT_EQ(c.size(), 1u);
    // The first part is Reset, not Complete; the middle one neither; the last Complete.
    const struct {
        const Fragment& part;
        uint8_t action;
        uint16_t pointer;
        size_t size;
    } parts[] = {
        {a[1], fragment_action::kReset, 0, 77}, {b[0], 0x00, 77, 42}, {c[0], fragment_action::kComplete, 119, 35}};
    for (const auto& p : parts) {
        EXPECT_EQ(p.part.action, p.action) << p.pointer;
        EXPECT_EQ(p.part.pointer, p.pointer);
        EXPECT_EQ(p.part.data.size(), p.size) << p.pointer;
    }
    EXPECT_EQ(c[0].data.back(), 153);
    EXPECT_TRUE(o.empty());
}

TEST(Outbox, LimitsFragmentsAndMergesUntransmittedUpdates) {
    Outbox o;
    for (uint16_t id = 1; id <= 12; ++id) o.push(id, ramp(4), false);
    EXPECT_EQ(o.take(231).size(), Outbox::kMaxFragmentsPerSequence);
    EXPECT_EQ(o.take(231).size(), 3u);

    o.push(7, ramp(5), true);
    o.push(7, ramp(6), true);  // newer parameter set replaces the queued one
    const auto f = o.take(231);
    ASSERT_EQ(f.size(), 1u);
    EXPECT_EQ(f[0].data.size(), 6u);
    EXPECT_TRUE(o.take(8).empty());  // no room for even one byte after a header
}
