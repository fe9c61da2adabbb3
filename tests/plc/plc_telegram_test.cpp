// SPDX-License-Identifier: Apache-2.0
// P->R telegrams reproduced byte for byte from the wire fact sheet.
#include <gtest/gtest.h>

#include "srci_plc/command_catalog.hpp"
#include "srci_plc/plc_telegram.hpp"

using namespace srci_plc;

namespace {

std::vector<uint8_t> bytes(std::initializer_list<int> v) {
    std::vector<uint8_t> out;
    for (int b : v) out.push_back(static_cast<uint8_t>(b));
    return out;
}

}  // namespace

// Worked start-up example: SEQ 2 carrying ReadMessages as the first command,
// sent by a 1.3 client that always transmits ToolNo/FrameNo.
TEST(PlcTelegram, ReproducesWorkedReadMessagesExample) {
    const CommandDef* rm = find_command("read-messages");
    ASSERT_NE(rm, nullptr);
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
    Fragment f;
    f.cmd_id = 1;
    f.action = fragment_action::kReset | fragment_action::kComplete;
    f.data = encode_command(*rm, {{"msg_id", 0}, {"enable", 1}, {"level", 20}}, 1, Timestamp{});
    t.fragments.push_back(f);

    std::vector<uint8_t> expected(256, 0);
    const auto head = bytes({
        0x23, 0x05,                                      // version 1.3; FastStop 0, LifeSign 5
        0x01, 0x00, 0x01, 0x00,                          // lengths 256/256
        0x00, 0x00,                                      // AxesGroupID 0, Control NONE; reserved
        0x00, 0x00, 0x00, 0x00,                          // no optional cyclic data
        0x31, 0xF0, 0x02, 0x93, 0x2E, 0x00,              // 2025-01-01, 12:00:00.000
        0x00, 0x00,                                      // ToolNo/FrameNo
        0x00, 0x02, 0x00, 0x0F,                          // SEQ 2, 15 bytes follow
        0x00, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x07,  // CmdID 1, Reset+Complete, pointer 0, 7 bytes
        0x23, 0x29, 0x02, 0x13, 0x00, 0x01, 0x14,        // 9001, ExecMode 2, ParSeq 1/Prio 3, MsgID 0, Enable, level 20
    });
    std::copy(head.begin(), head.end(), expected.begin());
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
    EXPECT_EQ(b[0], 0x25);
    EXPECT_EQ(b[1], 0x39);
    EXPECT_EQ(b[6], 0x11);
    EXPECT_EQ(b[10], 0x00);
    EXPECT_EQ(b[11], 0x06);
    EXPECT_EQ(b[18], 3);
    EXPECT_EQ(b[19], 255);
    EXPECT_EQ(b[20], 0x01);
    EXPECT_EQ(b[21], 0x02);
    EXPECT_EQ(b[255], 0x09);
    EXPECT_EQ(plc_sequence_capacity(t), 231u);
}

TEST(PlcTelegram, RejectsWhatItCannotEncode) {
    PlcTelegram t;
    Fragment big;
    big.cmd_id = 1;
    big.data.assign(224, 0);  // 8 + 224 = 232 > 231
    t.fragments.push_back(big);
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
