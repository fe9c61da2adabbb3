// SPDX-License-Identifier: Apache-2.0
// PLC-side helpers for the interpreter tests: build P->R telegrams and read R->P telegrams with
// the PLC client library, which shares no layout code with the interpreter.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srl/srl_api.h"
#include "srl/srl_config.h"

namespace srltest {

using Tel = std::array<uint8_t, 256>;
using Bytes = std::vector<uint8_t>;

inline uint64_t g_now_ms = 1000;
inline uint64_t fake_clock() { return g_now_ms; }

// "23 05 01 00" -> bytes (for hand-written golden data)
inline Bytes hex(const std::string& s) {
    Bytes out;
    std::istringstream in(s);
    for (unsigned byte; in >> std::hex >> byte;) out.push_back(static_cast<uint8_t>(byte));
    return out;
}

// One fragment of either direction; the accessors read a response's header.
struct Frag {
    uint16_t id = 0;  // 0: no such response
    uint8_t action = 0;
    uint16_t pointer = 0;
    Bytes bytes;
    uint8_t state() const { return bytes.empty() ? 0 : bytes[0] & 0x0F; }
    uint8_t parseq() const { return bytes.empty() ? 0 : bytes[0] >> 4; }
    int8_t severity() const { return bytes.size() > 1 ? static_cast<int8_t>(bytes[1]) : 0; }
    uint16_t code() const { return bytes.size() > 3 ? srci_plc::get_u16be(&bytes[2]) : 0; }
};

// Command payload header: CmdType, ExecMode, Priority 3 / ParSeq.
inline Bytes payload(uint16_t type, Bytes body = {}, uint8_t exec = 2, uint8_t parseq = 1) {
    body.insert(body.begin(), {static_cast<uint8_t>(type >> 8), static_cast<uint8_t>(type), exec,
                               static_cast<uint8_t>(parseq << 4 | 3)});
    return body;
}
inline Frag command(uint16_t id, Bytes p, uint8_t action = 0x03) { return {id, action, 0, std::move(p)}; }

struct Reply {
    Tel raw{};
    uint16_t ack = 0;
    std::vector<Frag> frags;
    uint8_t state() const { return raw[3]; }
    uint32_t status() const { return srci_plc::get_u32le(&raw[4]); }
    bool has(uint16_t id) const { return find(id).id != 0; }
    // The response of CmdID `id`; an empty fragment (id 0) when there is none.
    Frag find(uint16_t id) const {
        for (const Frag& f : frags)
            if (f.id == id) return f;
        return {};
    }
};

class Plc {
public:
    bool tool_frame = true;  // bytes 18-19 sent
    uint16_t p2r_words = 0, r2p_words = 0;
    uint8_t control = 0, fast_stop = 0, group = 0, version = 0x23;
    uint8_t life = 0;
    uint16_t seq = 0;
    uint16_t lengths[2] = {256, 256};
    uint8_t tool = 255, frame = 255;
    bool freeze_life = false;

    uint16_t cp() const { return tool_frame ? 20 : 18; }

    Tel build(const std::vector<Frag>& frags) const {
        srci_plc::PlcTelegram t;
        t.version = version;
        t.fast_stop = fast_stop;
        t.lifesign = life;
        t.length_plc_to_rob = lengths[0];
        t.length_rob_to_plc = lengths[1];
        t.axes_group = group;
        t.control = static_cast<srci_plc::Control>(control);
        t.tn_rob_to_plc = r2p_words & ~srci_plc::telegram_number::kTwoSequences;
        t.tool_frame_always = tool_frame;
        t.tool_no = tool;
        t.frame_no = frame;
        t.seq = seq;
        for (const Frag& f : frags) t.fragments.push_back({f.id, f.action, f.pointer, f.bytes});
        const std::vector<uint8_t> bytes = srci_plc::encode_plc_telegram(t);
        Tel out{};
        std::copy(bytes.begin(), bytes.end(), out.begin());
        // The TelegramNumbers as given, also those the client never sends (for the header checks).
        srci_plc::put_u16be(&out[8], p2r_words);
        srci_plc::put_u16be(&out[10], r2p_words);
        return out;
    }

    // The header always; the sequence only where the client library reads the layout.
    Reply parse(const Tel& raw) const {
        Reply r;
        r.raw = raw;
        srci_plc::RobotTelegram t;
        std::string error;
        if (!srci_plc::decode_robot_telegram(raw.data(), raw.size(), r2p_words, t, error)) return r;
        r.ack = t.ack;
        for (const srci_plc::Fragment& f : t.fragments) r.frags.push_back({f.cmd_id, f.action, f.pointer, f.data});
        return r;
    }

    // The next telegram: a new lifesign (unless frozen) and a new SEQ (as the client does after every
    // ACK) unless `same_seq`.
    Tel next(const std::vector<Frag>& frags = {}, bool same_seq = false) {
        if (!freeze_life) life = static_cast<uint8_t>(life % 15 + 1);
        if (!same_seq) seq = static_cast<uint16_t>(seq % 254 + 1);
        return build(frags);
    }
    Reply cycle(const std::vector<Frag>& frags = {}, bool same_seq = false) { return send_raw(next(frags, same_seq)); }

    Reply send_raw(Tel in) {
        Tel out{};
        srl_interpreter(in.data(), out.data());
        g_now_ms += 4;
        return parse(out);
    }

    // INITIALIZE, ReadMessages (CmdID 1) and ExchangeConfiguration (CmdID 2); returns the last reply.
    Reply connect() {
        control = 1;
        cycle();
        control = 0;
        cycle({command(1, payload(9001, {0, 1, 20}))});
        return cycle({command(2, payload(9000, {20, 0x02, 0, 0, 0, 0, 0x03, 0xE8}))});
    }
};

// Waits up to `max` cycles for a response of CmdID `id` (optionally with a given state); id 0 when none came.
inline Frag wait_for(Plc& plc, uint16_t id, int state = -1, int max = 100) {
    for (int i = 0; i < max; ++i) {
        const Frag f = plc.cycle().find(id);
        if (f.id != 0 && (state < 0 || f.state() == state)) return f;
    }
    return {};
}

}  // namespace srltest
