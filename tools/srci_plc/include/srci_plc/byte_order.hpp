// SPDX-License-Identifier: Apache-2.0
#pragma once
// SRCI puts every multi-byte value big-endian on the wire; the only exception is
// the robot status word, which is a little-endian bit field (see status_word.hpp).
#include <cstdint>
#include <cstring>

namespace srci_plc {

inline void put_u16be(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void put_u32be(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}
inline void put_f32be(uint8_t* p, float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    put_u32be(p, bits);
}
inline uint16_t get_u16be(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t get_u32be(const uint8_t* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}
inline uint32_t get_u32le(const uint8_t* p) {
    return (uint32_t{p[3]} << 24) | (uint32_t{p[2]} << 16) | (uint32_t{p[1]} << 8) | p[0];
}
inline float get_f32be(const uint8_t* p) {
    uint32_t bits = get_u32be(p);
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

}  // namespace srci_plc
