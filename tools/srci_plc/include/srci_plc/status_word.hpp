// SPDX-License-Identifier: Apache-2.0
#pragma once
// Robot arm status word (R->P bytes 4-7, little-endian bit field).
#include <cstdint>
#include <string>

namespace srci_plc {

struct StatusWord {
    bool is_moving = false;
    bool primary_paused = false;
    bool in_primary_pos = false;
    bool secondary_active = false;
    bool is_blending = false;
    bool error_pending = false;
    bool restart_in_progress = false;
    bool enabled = false;
    uint8_t sequence_state = 0;  // 0 idle, 1 executing, 2 interrupted
    uint8_t operation_mode = 0;
    bool collision_detected = false;
    bool restart_requested = false;
    bool accelerating = false;
    bool decelerating = false;
    bool constant_velocity = false;
};

StatusWord decode_status_word(uint32_t raw);
// Compact text such as "enabled moving seq=executing mode=auto-ext".
std::string describe_status_word(const StatusWord& s);
const char* operation_mode_name(uint8_t mode);

}  // namespace srci_plc
