// SPDX-License-Identifier: Apache-2.0
// PLC-side helpers for the interpreter tests: build P->R telegrams and read R->P telegrams.
// Written from the SRCI telegram tables, independently of the library's own layout code.
#pragma once

#include <array>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "srl/srl_api.h"
#include "srl/srl_config.h"

namespace srltest {

using Tel = std::array<uint8_t, 256>;
using Bytes = std::vector<uint8_t>;

inline uint64_t g_now_ms = 1000;
inline uint64_t fake_clock() { return g_now_ms; }

inline uint16_t be16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }

// "23 05 01 00" -> bytes (for hand-written golden data)
inline Bytes hex(const std::string& s) {
    Bytes out;
    std::istringstream in(s);
    for (unsigned byte; in >> std::hex >> byte;) out.push_back(static_cast<uint8_t>(byte));
    return out;
}

// Big-endian 16-bit field at `off`.
inline void put16(Tel& t, size_t off, uint16_t v) {
    t[off] = static_cast<uint8_t>(v >> 8);
    t[off + 1] = static_cast<uint8_t>(v);
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
    uint16_t code() const { return bytes.size() > 3 ? be16(&bytes[2]) : 0; }
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
    uint16_t payload_length = 0;
    std::vector<Frag> frags;
    uint8_t state() const { return raw[3]; }
    uint32_t status() const { return raw[4] | raw[5] << 8 | raw[6] << 16 | static_cast<uint32_t>(raw[7]) << 24; }
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
    uint16_t crp() const { return static_cast<uint16_t>(10 + ((r2p_words & 2) ? 40 : 0) + ((r2p_words & 4) ? 30 : 0)); }

    Tel build(const std::vector<Frag>& frags) const {
        Tel t{};
        t[0] = version;
        t[1] = static_cast<uint8_t>(fast_stop << 4 | life);
        put16(t, 2, lengths[0]);
        put16(t, 4, lengths[1]);
        t[6] = static_cast<uint8_t>(group << 4 | control);
        put16(t, 8, p2r_words);
        put16(t, 10, r2p_words);
        if (tool_frame) {
            t[18] = tool;
            t[19] = frame;
        }
        const int c = cp();
        put16(t, c, seq);
        int off = c + 4;
        for (const Frag& f : frags) {
            if (off + 8 + f.bytes.size() > static_cast<size_t>(lengths[0] - 1))
                throw std::length_error("fragments do not fit the telegram");
            put16(t, off, f.id);
            t[off + 3] = f.action;
            put16(t, off + 4, f.pointer);
            put16(t, off + 6, static_cast<uint16_t>(f.bytes.size()));
            for (size_t i = 0; i < f.bytes.size(); ++i) t[off + 8 + i] = f.bytes[i];
            off += 8 + static_cast<int>(f.bytes.size());
        }
        put16(t, c + 2, static_cast<uint16_t>(off - (c + 4)));
        t[lengths[0] - 1] = life;
        return t;
    }

    Reply parse(const Tel& raw) const {
        Reply r;
        r.raw = raw;
        const int c = crp();
        r.ack = be16(&raw[c]);
        r.payload_length = be16(&raw[c + 2]);
        size_t off = c + 4;
        const size_t end = off + r.payload_length;
        while (off + 8 <= end && end <= 255) {
            Frag f{be16(&raw[off]), raw[off + 3], be16(&raw[off + 4]), {}};
            const uint16_t n = be16(&raw[off + 6]);
            if (off + 8 + n > end) break;
            f.bytes.assign(raw.begin() + off + 8, raw.begin() + off + 8 + n);
            r.frags.push_back(f);
            off += 8 + n;
        }
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
