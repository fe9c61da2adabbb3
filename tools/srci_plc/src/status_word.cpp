// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/status_word.hpp"

namespace srci_plc {

StatusWord decode_status_word(uint32_t raw) {
    const auto b = [raw](unsigned n) { return ((raw >> n) & 1u) != 0; };
    StatusWord s;
    s.is_moving = b(0);
    s.primary_paused = b(1);
    s.in_primary_pos = b(2);
    s.secondary_active = b(3);
    s.is_blending = b(4);
    s.error_pending = b(5);
    s.restart_in_progress = b(6);
    s.enabled = b(7);
    s.sequence_state = static_cast<uint8_t>((raw >> 8) & 0x3u);
    s.operation_mode = static_cast<uint8_t>((raw >> 10) & 0x7u);
    s.collision_detected = b(13);
    s.restart_requested = b(14);
    s.accelerating = b(15);
    s.decelerating = b(16);
    s.constant_velocity = b(17);
    return s;
}

const char* operation_mode_name(uint8_t mode) {
    switch (mode) {
        case 1:
            return "T1";
        case 2:
            return "T2";
        case 3:
            return "auto";
        case 4:
            return "auto-ext";
        case 5:
            return "T1-ext";
        case 6:
            return "T2-ext";
        default:
            return "unknown";
    }
}

std::string describe_status_word(const StatusWord& s) {
    static const char* seq[] = {"idle", "executing", "interrupted", "invalid"};
    std::string out = s.enabled ? "enabled" : "disabled";
    if (s.is_moving) out += " moving";
    if (s.primary_paused) out += " paused";
    if (s.in_primary_pos) out += " on-path";
    if (s.secondary_active) out += " secondary";
    if (s.is_blending) out += " blending";
    if (s.error_pending) out += " error-pending";
    if (s.restart_in_progress) out += " restarting";
    if (s.collision_detected) out += " collision";
    if (s.restart_requested) out += " restart-requested";
    out += " seq=";
    out += seq[s.sequence_state & 3];
    out += " mode=";
    out += operation_mode_name(s.operation_mode);
    return out;
}

}  // namespace srci_plc
