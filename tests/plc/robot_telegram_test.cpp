// SPDX-License-Identifier: Apache-2.0
// Decoding a hand-built R->P telegram and its response fragments.
#include <gtest/gtest.h>

#include "srci_plc/error_names.hpp"
#include "srci_plc/response.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srci_plc/status_word.hpp"

using namespace srci_plc;

namespace {

void put(std::vector<uint8_t>& v, size_t off, std::initializer_list<int> bytes) {
    for (int b : bytes) v[off++] = static_cast<uint8_t>(b);
}

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

TEST(RobotTelegram, SameBytesWithoutCyclicDataPutTheSequenceAtByte10) {
    std::vector<uint8_t> raw(256, 0);
    put(raw, 10, {0x00, 0x02, 0x00, 0x0C});                          // ACK 2, 12 bytes
    put(raw, 14, {0x00, 0x01, 0x00, 0x05, 0x00, 0x00, 0x00, 0x04});  // CmdID 1
    put(raw, 22, {0x14, 0x00, 0x00, 0x00});                          // ParSeq 1, Active
    RobotTelegram t;
    std::string error;
    ASSERT_TRUE(decode_robot_telegram(raw.data(), raw.size(), 0, t, error)) << error;
    EXPECT_FALSE(t.cartesian.has_value());
    EXPECT_EQ(t.ack, 2);
    ASSERT_EQ(t.fragments.size(), 1u);
    EXPECT_EQ(t.fragments[0].data.size(), 4u);
}

TEST(RobotTelegram, RejectsMalformedTelegrams) {
    RobotTelegram t;
    std::string error;
    auto raw = sample_telegram();
    EXPECT_FALSE(decode_robot_telegram(raw.data(), 10, telegram_number::kDefaultRobToPlc, t, error));

    raw[83] = 0xAC;  // sequence payload of 172 bytes: one more than fits before the footer
    EXPECT_FALSE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error));
    EXPECT_NE(error.find("exceeds"), std::string::npos);

    raw = sample_telegram();
    raw[109] = 0x40;  // second fragment claims 64 bytes inside a 30-byte sequence
    EXPECT_FALSE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error));

    raw = sample_telegram();
    raw[83] = 0x1D;  // cuts the last fragment header short
    EXPECT_FALSE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error));

    raw = sample_telegram();
    EXPECT_FALSE(decode_robot_telegram(raw.data(), raw.size(), 1u << 5, t, error));  // reserved block bit

    raw[255] = 0x50;  // footer lifesign differs from the header: torn telegram
    ASSERT_TRUE(decode_robot_telegram(raw.data(), raw.size(), telegram_number::kDefaultRobToPlc, t, error));
    EXPECT_FALSE(t.lifesign_consistent);
}

TEST(ResponseAssembler, JoinsSplitResponsesAndDropsGaps) {
    ResponseAssembler a;
    std::vector<uint8_t> out;
    std::string error;
    Fragment first{9, fragment_action::kClear, 0, {0x1A, 0x00}};
    Fragment last{9, fragment_action::kComplete, 2, {0x00, 0x00, 0x27}};
    EXPECT_FALSE(a.feed(first, out, error));
    ASSERT_TRUE(a.feed(last, out, error));
    EXPECT_EQ(out, (std::vector<uint8_t>{0x1A, 0x00, 0x00, 0x00, 0x27}));

    Fragment gap{9, fragment_action::kComplete, 5, {0x00}};
    EXPECT_FALSE(a.feed(gap, out, error));
    EXPECT_FALSE(error.empty());
}
