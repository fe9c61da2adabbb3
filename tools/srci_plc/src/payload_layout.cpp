// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/payload_layout.hpp"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "srci_plc/byte_order.hpp"

namespace srci_plc {

namespace {

size_t field_width(const Field& f) {
    switch (f.type) {
        case FieldType::U8:
        case FieldType::I8:
        case FieldType::Nibble:
        case FieldType::Bit:
            return 1;
        case FieldType::U16:
        case FieldType::I16:
        case FieldType::Percent:
        case FieldType::Date:
            return 2;
        case FieldType::U32:
        case FieldType::F32:
        case FieldType::TimeOfDay:
            return 4;
        case FieldType::Chars:
        case FieldType::Bytes:
            return f.arg;
    }
    return 0;
}

[[noreturn]] void out_of_range(const Field& f, double v, const char* range) {
    char buf[160];
    std::snprintf(buf, sizeof buf, "%s=%g is out of range (%s)", f.name.c_str(), v, range);
    throw std::invalid_argument(buf);
}

long long checked_integer(const Field& f, double v, long long lo, long long hi) {
    if (!std::isfinite(v) || v != std::floor(v) || v < static_cast<double>(lo) || v > static_cast<double>(hi)) {
        char range[64];
        std::snprintf(range, sizeof range, "integer %lld..%lld", lo, hi);
        out_of_range(f, v, range);
    }
    return static_cast<long long>(v);
}

void encode_one(const Field& f, double v, uint8_t* p) {
    switch (f.type) {
        case FieldType::U8:
            *p = static_cast<uint8_t>(checked_integer(f, v, 0, 255));
            break;
        case FieldType::I8:
            *p = static_cast<uint8_t>(static_cast<int8_t>(checked_integer(f, v, -128, 127)));
            break;
        case FieldType::U16:
        case FieldType::Date:
            put_u16be(p, static_cast<uint16_t>(checked_integer(f, v, 0, 65535)));
            break;
        case FieldType::I16:
            put_u16be(p, static_cast<uint16_t>(static_cast<int16_t>(checked_integer(f, v, -32768, 32767))));
            break;
        case FieldType::U32:
        case FieldType::TimeOfDay:
            put_u32be(p, static_cast<uint32_t>(checked_integer(f, v, 0, 0xFFFFFFFFLL)));
            break;
        case FieldType::F32:
            if (!std::isfinite(v) || std::fabs(v) > 3.4e38) out_of_range(f, v, "finite REAL");
            put_f32be(p, static_cast<float>(v));
            break;
        case FieldType::Percent:
            if (v == -1) {
                put_u16be(p, 0xFFFF);
            } else {
                if (!std::isfinite(v) || v < 0 || v > 100) out_of_range(f, v, "0..100 %, or -1 for the default");
                put_u16be(p, static_cast<uint16_t>(std::lround(v * 100)));
            }
            break;
        case FieldType::Bit: {
            const auto bit = checked_integer(f, v, 0, 1);
            if (bit) *p = static_cast<uint8_t>(*p | (1u << f.arg));
            else *p = static_cast<uint8_t>(*p & ~(1u << f.arg));
            break;
        }
        case FieldType::Nibble: {
            const auto n = checked_integer(f, v, 0, 15);
            *p = static_cast<uint8_t>((*p & ~(0x0Fu << f.arg)) | (static_cast<unsigned>(n) << f.arg));
            break;
        }
        case FieldType::Chars:
        case FieldType::Bytes:
            throw std::invalid_argument(f.name + " cannot be sent");
    }
}

FieldValue decode_one(const Field& f, const uint8_t* p) {
    switch (f.type) {
        case FieldType::U8:
            return static_cast<double>(*p);
        case FieldType::I8:
            return static_cast<double>(static_cast<int8_t>(*p));
        case FieldType::U16:
        case FieldType::Date:
            return static_cast<double>(get_u16be(p));
        case FieldType::I16:
            return static_cast<double>(static_cast<int16_t>(get_u16be(p)));
        case FieldType::U32:
        case FieldType::TimeOfDay:
            return static_cast<double>(get_u32be(p));
        case FieldType::F32:
            return static_cast<double>(get_f32be(p));
        case FieldType::Percent: {
            const uint16_t raw = get_u16be(p);
            return raw == 0xFFFF ? -1.0 : raw / 100.0;
        }
        case FieldType::Bit:
            return double((*p >> f.arg) & 1u);
        case FieldType::Nibble:
            return double((*p >> f.arg) & 0x0Fu);
        case FieldType::Chars: {
            std::string s;
            for (size_t i = 0; i < f.arg && p[i] != 0; ++i)
                s.push_back((p[i] >= 0x20 && p[i] < 0x7F) ? static_cast<char>(p[i]) : '?');
            return s;
        }
        case FieldType::Bytes: {
            static const char* hex = "0123456789ABCDEF";
            std::string s;
            for (size_t i = 0; i < f.arg; ++i) {
                s.push_back(hex[p[i] >> 4]);
                s.push_back(hex[p[i] & 0x0F]);
            }
            return s;
        }
    }
    return 0.0;
}

}  // namespace

Timestamp local_timestamp_now() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t t = system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&t, &local);
    const year_month_day ymd{year{local.tm_year + 1900}, month{static_cast<unsigned>(local.tm_mon + 1)},
                             day{static_cast<unsigned>(local.tm_mday)}};
    const auto days = sys_days{ymd} - sys_days{year{1990} / January / 1};
    const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    Timestamp ts;
    ts.date = static_cast<uint16_t>(days.count());
    ts.time = static_cast<uint32_t>((local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) * 1000 + ms);
    return ts;
}

void encode_fields(const Layout& layout, const ParamValues& values, const Timestamp& now,
                   std::vector<uint8_t>& payload) {
    if (payload.size() != layout.size) throw std::logic_error("payload buffer does not match the layout");
    for (const auto& [name, v] : values) {
        bool known = false;
        for (const auto& f : layout.fields) known = known || f.name == name;
        if (!known) throw std::invalid_argument("unknown parameter '" + name + "'");
    }
    for (const auto& f : layout.fields) {
        if (f.offset + field_width(f) > payload.size()) throw std::logic_error("field " + f.name + " beyond payload");
        const auto it = values.find(f.name);
        double v = f.fallback;
        if (it != values.end()) v = it->second;
        else if (f.type == FieldType::Date) v = now.date;
        else if (f.type == FieldType::TimeOfDay) v = now.time;
        encode_one(f, v, &payload[f.offset]);
    }
}

std::vector<DecodedField> decode_fields(const Layout& layout, const std::vector<uint8_t>& payload) {
    std::vector<DecodedField> out;
    for (const auto& f : layout.fields) {
        if (f.offset + field_width(f) > payload.size()) continue;
        out.push_back(DecodedField{f.name, f.type, decode_one(f, &payload[f.offset])});
    }
    return out;
}

void add_series(Layout& l, const std::string& prefix, int first_index, int count, uint16_t offset, FieldType type,
                uint16_t stride) {
    for (int i = 0; i < count; ++i)
        l.fields.push_back(
            Field{prefix + std::to_string(first_index + i), static_cast<uint16_t>(offset + i * stride), type, 0, 0});
}

}  // namespace srci_plc
