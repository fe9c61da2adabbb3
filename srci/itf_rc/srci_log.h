// SPDX-License-Identifier: Apache-2.0
// Logging convention of the adapter: every text is framed by a line break before and after,
// and carries the tag SRCI_LOG_TAG, the function name and the source line.
#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

#include "zlog/zlog_client.h"

extern const char* const SRCI_LOG_TAG;

namespace srci {
void logFramed(int level, const char* tag, const char* func, int line, std::string_view text);

// A log text put together without the heap as long as it fits its buffer, which every text of
// the cycle's state changes does; a longer one moves to a string and stays whole. Numbers
// appear as std::to_string would write them.
class LogText {
public:
    LogText() = default;
    LogText(const LogText&) = delete;
    LogText& operator=(const LogText&) = delete;

    LogText& operator<<(std::string_view s);
    LogText& operator<<(const char* s) { return *this << std::string_view(s); }
    LogText& operator<<(const std::string& s) { return *this << std::string_view(s); }
    template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char>) LogText& operator<<(T value) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }
    // std::to_string's form of a double ("%f").
    LogText& fixed(double value);

    std::string_view view() const { return spill_.empty() ? std::string_view(buf_, len_) : std::string_view(spill_); }

private:
    char buf_[512];
    std::size_t len_ = 0;
    std::string spill_;
};

}  // namespace srci

#define SRCI_LOG(level, text) ::srci::logFramed((level), SRCI_LOG_TAG, __FUNCTION__, __LINE__, (text))
