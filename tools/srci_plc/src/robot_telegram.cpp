// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/robot_telegram.hpp"

#include "srci_plc/byte_order.hpp"
#include "srci_plc/telegram_sequence.hpp"

namespace srci_plc {

size_t robot_block_size(unsigned bit) {
    switch (bit) {
        case 0:
            return 26;
        case 1:
            return 40;
        case 2:
            return 30;
        case 3:
            return 24;
        case 4:
            return 24;
        case 9:
            return 20;
        case 10:
            return 20;
        case 11:
            return 24;
        case 12:
            return 24;
        default:
            return 0;
    }
}

namespace {

CartesianBlock decode_cartesian(const uint8_t* p) {
    CartesianBlock c;
    for (size_t i = 0; i < 6; ++i) c.pose[i] = get_f32be(p + 4 * i);
    c.config = p[24];
    for (size_t i = 0; i < 4; ++i) c.turns[i] = p[26 + i];
    c.e1 = get_f32be(p + 30);
    c.tool_no = p[34];
    c.frame_no = p[35];
    c.used_tool_no = p[36];
    c.used_frame_no = p[37];
    return c;
}

JointBlock decode_joints(const uint8_t* p) {
    JointBlock j;
    for (size_t i = 0; i < 7; ++i) j.joints[i] = get_f32be(p + 4 * i);
    return j;
}

}  // namespace

bool decode_robot_telegram(const uint8_t* data, size_t len, uint16_t tn, RobotTelegram& out, std::string& error) {
    constexpr size_t kHeader = 10;
    if (len < kHeader + kSequenceHeaderSize + 1) {
        error = "robot telegram too short (" + std::to_string(len) + " bytes)";
        return false;
    }
    if (tn & telegram_number::kTwoSequences) {
        error = "two sequences are not supported by this client";
        return false;
    }
    RobotTelegram t;
    t.version = data[0];
    t.lifesign = data[1] >> 4;
    t.telegram_state = data[3];
    t.status = get_u32le(data + 4);
    t.override_raw = get_u16be(data + 8);
    t.lifesign_consistent = (data[len - 1] >> 4) == t.lifesign;

    size_t pos = kHeader;
    for (unsigned bit = 0; bit < 16; ++bit) {
        if (!(tn & (1u << bit))) continue;
        const size_t size = robot_block_size(bit);
        if (size == 0 && bit != 8) {
            error = "TelegramNumber bit " + std::to_string(bit) + " is reserved";
            return false;
        }
        if (pos + size + kSequenceHeaderSize + 1 > len) {
            error = "optional cyclic data does not fit the telegram";
            return false;
        }
        if (bit == 1) t.cartesian = decode_cartesian(data + pos);
        if (bit == 2) t.joints = decode_joints(data + pos);
        pos += size;
    }

    if (!decode_sequence(data, pos, len - 1, t.ack, t.fragments, error)) return false;
    out = std::move(t);
    return true;
}

}  // namespace srci_plc
