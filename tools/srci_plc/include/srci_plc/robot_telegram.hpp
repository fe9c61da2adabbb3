// SPDX-License-Identifier: Apache-2.0
#pragma once
// Robot -> PLC telegram as the client decodes it.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "srci_plc/plc_telegram.hpp"

namespace srci_plc {

struct CartesianBlock {
    std::array<float, 6> pose{};  // X Y Z [mm], RX RY RZ [deg]
    uint8_t config = 0;
    std::array<uint8_t, 4> turns{};
    float e1 = 0;
    uint8_t tool_no = 0;
    uint8_t frame_no = 0;
    uint8_t used_tool_no = 0;
    uint8_t used_frame_no = 0;
};

struct JointBlock {
    std::array<float, 7> joints{};  // J1..J6, E1
};

struct RobotTelegram {
    uint8_t version = 0;
    uint8_t lifesign = 0;  // hi nibble of byte 1
    uint8_t telegram_state = 0;
    uint32_t status = 0;
    uint16_t override_raw = 0;  // percent x 100
    std::optional<CartesianBlock> cartesian;
    std::optional<JointBlock> joints;
    uint16_t ack = 0;
    std::vector<Fragment> fragments;
    bool lifesign_consistent = true;  // header and footer copies agree
};

size_t robot_block_size(unsigned bit);  // 0 for reserved bits

// Decodes len bytes laid out per tn_rob_to_plc. Returns false and sets error on
// malformed input (short telegram, payload overrunning the telegram, ...).
bool decode_robot_telegram(const uint8_t* data, size_t len, uint16_t tn_rob_to_plc, RobotTelegram& out,
                           std::string& error);

}  // namespace srci_plc
