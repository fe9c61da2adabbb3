// SPDX-License-Identifier: Apache-2.0
#include "wire_codec.h"

#include <cstring>

namespace srl {

void wire_to_host(const RecordDesc& desc, const uint8_t* wire, uint8_t* host) {
    for (uint16_t i = 0; i < desc.field_count; ++i) {
        const Field& f = desc.fields[i];
        const uint8_t* w = wire + f.wire;
        uint8_t* h = host + f.host;
        switch (f.type) {
            case FieldType::Bytes:
                std::memcpy(h, w, f.count);
                break;
            case FieldType::U16:
                for (uint16_t k = 0; k < f.count; ++k) {
                    const uint16_t v = be16(w + 2 * k);
                    std::memcpy(h + 2 * k, &v, 2);
                }
                break;
            case FieldType::U32:
                for (uint16_t k = 0; k < f.count; ++k) {
                    const uint32_t v = be32(w + 4 * k);
                    std::memcpy(h + 4 * k, &v, 4);
                }
                break;
            case FieldType::U16ToU8: {
                const uint16_t v = be16(w);
                *h = v > 0xFF ? 0xFF : static_cast<uint8_t>(v);
                break;
            }
        }
    }
    if (desc.fixup != nullptr) desc.fixup(wire, host);
}

void host_to_wire(const RecordDesc& desc, const uint8_t* host, uint8_t* wire) {
    for (uint16_t i = 0; i < desc.field_count; ++i) {
        const Field& f = desc.fields[i];
        uint8_t* w = wire + f.wire;
        const uint8_t* h = host + f.host;
        switch (f.type) {
            case FieldType::Bytes:
                std::memcpy(w, h, f.count);
                break;
            case FieldType::U16:
                for (uint16_t k = 0; k < f.count; ++k) {
                    uint16_t v;
                    std::memcpy(&v, h + 2 * k, 2);
                    put_be16(w + 2 * k, v);
                }
                break;
            case FieldType::U32:
                for (uint16_t k = 0; k < f.count; ++k) {
                    uint32_t v;
                    std::memcpy(&v, h + 4 * k, 4);
                    put_be32(w + 4 * k, v);
                }
                break;
            case FieldType::U16ToU8:
                put_be16(w, *h);
                break;
        }
    }
}

}  // namespace srl
