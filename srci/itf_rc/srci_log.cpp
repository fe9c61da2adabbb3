// SPDX-License-Identifier: Apache-2.0
#include "itf_rc/srci_log.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

const char* const SRCI_LOG_TAG = "SRCI";

namespace srci {

// Formatted straight into the log record, so a log line costs no string of its own. A text with
// a zero byte in it would end early under %s and goes the long way.
void logFramed(int level, const char* tag, const char* func, int line, std::string_view text) {
    if (text.size() <= INT_MAX && text.find('\0') == std::string_view::npos) {
        zlog::ZLogClient::get()->do_log(level, tag, func, line, "\n%.*s\n", static_cast<int>(text.size()), text.data());
        return;
    }
    zlog::ZLogClient::get()->do_log(level, tag, func, line, "\n" + std::string(text) + "\n");
}

LogText& LogText::operator<<(std::string_view s) {
    if (spill_.empty() && len_ + s.size() <= sizeof buf_) {
        std::memcpy(buf_ + len_, s.data(), s.size());
        len_ += s.size();
    } else {
        if (spill_.empty()) spill_.assign(buf_, len_);
        spill_.append(s);
    }
    return *this;
}

LogText::LogText(LogText&& other) noexcept : len_(other.len_), spill_(std::move(other.spill_)) {
    std::memcpy(buf_, other.buf_, len_);
}

LogText& LogText::general(double value) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
}

LogText& LogText::fixed(double value) {
    char digits[512];
    const int n = std::snprintf(digits, sizeof digits, "%f", value);
    if (n >= 0 && static_cast<std::size_t>(n) < sizeof digits)
        return *this << std::string_view(digits, static_cast<std::size_t>(n));
    return *this << std::to_string(value);
}

}  // namespace srci
