// SPDX-License-Identifier: Apache-2.0
#pragma once
// PLC -> robot telegram: what the client puts on the wire every cycle.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "srci_plc/wire_constants.hpp"

namespace srci_plc {

struct Fragment {
    uint16_t cmd_id = 0;
    uint8_t action = 0;
    uint16_t pointer = 0;
    std::vector<uint8_t> data;
};

struct PlcTelegram {
    uint8_t version = kVersion1_5;
    uint8_t fast_stop = 0;  // counter; only the low 4 bits travel
    uint8_t lifesign = 0;   // 0..15
    uint16_t length_plc_to_rob = kTelegramSize;
    uint16_t length_rob_to_plc = kTelegramSize;
    uint8_t axes_group = 0;
    Control control = Control::None;
    uint16_t tn_plc_to_rob = 0;
    uint16_t tn_rob_to_plc = telegram_number::kDefaultRobToPlc;
    uint16_t client_date = 0;  // days since 1990-01-01
    uint32_t client_time = 0;  // ms since midnight
    // Some PLC clients always send bytes 18-19; the SRCI standard only does so
    // when the robot reports the cyclic Cartesian position.
    bool tool_frame_always = false;
    uint8_t tool_no = 255;
    uint8_t frame_no = 255;
    uint16_t seq = 0;
    std::vector<Fragment> fragments;
};

// Offset of the sequence header; throws std::invalid_argument for layouts this
// client does not produce (optional P->R cyclic data, two sequences).
size_t plc_sequence_offset(const PlcTelegram& t);

// Bytes available for fragments (headers included) after the sequence header.
size_t plc_sequence_capacity(const PlcTelegram& t);

// Throws std::invalid_argument when the fragments do not fit.
std::vector<uint8_t> encode_plc_telegram(const PlcTelegram& t);

// The reverse, for tools that watch a link: any P->R layout with one sequence.
size_t plc_block_size(unsigned bit);  // optional P->R cyclic data; 0 for reserved bits

// ToolNo/FrameNo (bytes 18-19) are taken as present when the telegram requests the robot's cyclic
// Cartesian position, or always with tool_frame_always (some clients send them regardless).
// False with error set when the lengths do not add up. The footer lifesign is left to the caller.
bool decode_plc_telegram(const uint8_t* data, size_t len, bool tool_frame_always, PlcTelegram& out, std::string& error);

}  // namespace srci_plc
