// SPDX-License-Identifier: Apache-2.0
// Number formatting shared by the store's and the motion manager's log lines.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace srci::text {

// Lower-case hexadecimal without prefix; negative codes show their 32-bit two's complement.
inline std::string hex(int32_t code) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%x", static_cast<uint32_t>(code));
    return buf;
}

inline std::string fixed6(double value) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.6f", value);
    return buf;
}

inline std::string flag(bool value) { return value ? "1" : "0"; }

}  // namespace srci::text
