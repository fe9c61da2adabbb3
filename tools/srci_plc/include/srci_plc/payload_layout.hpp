// SPDX-License-Identifier: Apache-2.0
#pragma once
// Table-driven command and response payloads. Each SRCI payload table becomes a
// list of named fields at fixed offsets, so the same description encodes what
// the client sends and decodes what the robot answers.
#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace srci_plc {

enum class FieldType : uint8_t {
    U8,
    I8,
    U16,
    I16,
    U32,
    F32,
    Percent,    // UINT percent x 100; -1 encodes 0xFFFF "not set, use default"
    Bit,        // one bit (Field::arg) of the byte at offset
    Date,       // UINT days since 1990-01-01; defaults to today when sending
    TimeOfDay,  // UDINT ms since midnight; defaults to now when sending
    Chars,      // fixed CHAR[arg], response only
    Bytes,      // BYTE[arg] shown as hex, response only
    Nibble,     // 4 bits at shift arg (0 = lo nibble, 4 = hi nibble)
};

struct Field {
    std::string name;
    uint16_t offset = 0;
    FieldType type = FieldType::U8;
    uint8_t arg = 0;      // bit number (Bit) or length (Chars, Bytes)
    double fallback = 0;  // value sent when the caller does not give one
};

struct Layout {
    uint16_t size = 4;  // full payload length including the 4-byte header
    std::vector<Field> fields;
};

using ParamValues = std::map<std::string, double>;
using FieldValue = std::variant<double, std::string>;

struct DecodedField {
    std::string name;
    FieldType type;
    FieldValue value;
};

struct Timestamp {
    uint16_t date = 0;  // days since 1990-01-01
    uint32_t time = 0;  // ms since midnight
};
Timestamp local_timestamp_now();

// Fills the fields (bytes 4.. of payload); throws std::invalid_argument for an
// unknown name or an out-of-range value. payload must be layout.size long.
void encode_fields(const Layout& layout, const ParamValues& values, const Timestamp& now,
                   std::vector<uint8_t>& payload);

// Decodes every field that lies completely inside payload.
std::vector<DecodedField> decode_fields(const Layout& layout, const std::vector<uint8_t>& payload);

// Layout construction helpers.
void add_series(Layout& l, const std::string& prefix, int first_index, int count, uint16_t offset, FieldType type,
                uint16_t stride);

}  // namespace srci_plc
