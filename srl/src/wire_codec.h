// SPDX-License-Identifier: Apache-2.0
// Big-endian wire access and the table-driven conversion between wire payloads and the
// host-order packed records the handlers see.
#pragma once

#include <cstddef>
#include <cstdint>

namespace srl {

inline uint16_t be16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t be32(const uint8_t* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}
inline void put_be16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void put_be32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}

// How one wire field maps onto the host record. Bit fields travel inside Bytes fields: the
// records declare them least significant bit first, which is the wire's bit 0.
enum class FieldType : uint8_t {
    Bytes,    // `count` bytes copied as they are (USInt, SInt, bit fields, CHAR)
    U16,      // `count` 16-bit values, BE on the wire
    U32,      // `count` 32-bit values (UDINT, DINT, REAL), BE on the wire
    U16ToU8,  // one BE UINT on the wire held as one byte on the host (saturating)
};

struct Field {
    uint16_t wire;
    uint16_t host;
    uint16_t count;
    FieldType type;
};

struct RecordDesc {
    uint16_t wire_len;  // full length of the SRCI table
    uint16_t host_len;  // sizeof the host record
    const Field* fields;
    uint16_t field_count;
    // Optional correction for client quirks that a plain field mapping cannot express.
    void (*fixup)(const uint8_t* wire, uint8_t* host);
};

// `wire` must hold at least desc.wire_len bytes (callers zero-fill short payloads);
// `host` at least desc.host_len bytes; bytes not covered by a field are left as they are.
void wire_to_host(const RecordDesc& desc, const uint8_t* wire, uint8_t* host);
void host_to_wire(const RecordDesc& desc, const uint8_t* host, uint8_t* wire);

}  // namespace srl
