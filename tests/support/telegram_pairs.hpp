// SPDX-License-Identifier: Apache-2.0
#pragma once
// Telegram pairs for the tests of the live view, the trace and the client's scripted robot: the PLC
// side through the client library's encoder, the robot side built byte by byte here from the wire
// layout (the client library only decodes that side).
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"

namespace telegram_pairs {

inline void be16(std::vector<uint8_t>& v, size_t off, uint16_t x) { srci_plc::put_u16be(&v[off], x); }
inline void be_float(std::vector<uint8_t>& v, size_t off, float f) { srci_plc::put_f32be(&v[off], f); }

// A command payload: CmdType, ExecMode 0, ParSeq/Priority, then body.
inline srci_plc::Fragment command(uint16_t id, uint16_t type, uint8_t action = 0x03, uint8_t par_seq = 1,
                                  std::vector<uint8_t> body = {}) {
    srci_plc::Fragment f;
    f.cmd_id = id;
    f.action = action;
    f.data = {static_cast<uint8_t>(type >> 8), static_cast<uint8_t>(type), 0, static_cast<uint8_t>(par_seq << 4 | 3)};
    f.data.insert(f.data.end(), body.begin(), body.end());
    return f;
}

inline srci_plc::Fragment response(uint16_t id, uint8_t state, int8_t severity = 0, uint16_t code = 0,
                                   std::vector<uint8_t> body = {}) {
    srci_plc::Fragment f;
    f.cmd_id = id;
    f.action = 0x05;
    f.data = {state, static_cast<uint8_t>(severity), static_cast<uint8_t>(code >> 8), static_cast<uint8_t>(code)};
    f.data.insert(f.data.end(), body.begin(), body.end());
    return f;
}

inline std::vector<uint8_t> plc(uint16_t seq, std::vector<srci_plc::Fragment> fragments = {}, uint16_t tn_rob = 0x0006,
                                uint8_t lifesign = 1) {
    srci_plc::PlcTelegram t;
    t.seq = seq;
    t.lifesign = lifesign;
    t.tn_rob_to_plc = tn_rob;
    t.fragments = std::move(fragments);
    return srci_plc::encode_plc_telegram(t);
}

struct Robot {
    uint8_t state = 255;
    uint8_t lifesign = 1;
    uint32_t status = 0;
    uint16_t override_raw = 10000;
    uint16_t tn = 0x0006;  // Cartesian + Joint blocks
    std::array<float, 6> pose{};
    std::array<float, 6> joints{};
    uint8_t used_tool = 0;
    uint8_t used_frame = 0;
    uint16_t ack = 0;
    std::vector<srci_plc::Fragment> fragments;

    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> t(256, 0);
        t[0] = 0x25;
        t[1] = static_cast<uint8_t>(lifesign << 4);
        t[3] = state;
        for (size_t i = 0; i < 4; ++i) t[4 + i] = static_cast<uint8_t>(status >> (8 * i));  // little-endian
        be16(t, 8, override_raw);
        size_t pos = 10;
        if (tn & 0x2) {
            for (size_t i = 0; i < 6; ++i) be_float(t, pos + 4 * i, pose[i]);
            t[pos + 36] = used_tool;
            t[pos + 37] = used_frame;
            pos += 40;
        }
        if (tn & 0x4) {
            for (size_t i = 0; i < 6; ++i) be_float(t, pos + 4 * i, joints[i]);
            pos += 30;
        }
        be16(t, pos, ack);
        size_t f = pos + 4;
        for (const auto& fr : fragments) {
            be16(t, f, fr.cmd_id);
            t[f + 3] = fr.action;
            be16(t, f + 4, fr.pointer);
            be16(t, f + 6, static_cast<uint16_t>(fr.data.size()));
            std::memcpy(&t[f + 8], fr.data.data(), fr.data.size());
            f += 8 + fr.data.size();
        }
        be16(t, pos + 2, static_cast<uint16_t>(f - pos - 4));
        t[255] = t[1];
        return t;
    }
};

}  // namespace telegram_pairs
