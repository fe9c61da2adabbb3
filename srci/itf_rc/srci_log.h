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
    // Moves so that a function can hand one back; the short text is copied, a spilled one moved.
    LogText(LogText&& other) noexcept;
    LogText(const LogText&) = delete;
    LogText& operator=(const LogText&) = delete;
    LogText& operator=(LogText&&) = delete;

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
    // An output stream's default form of a double ("%g": six significant digits).
    LogText& general(double value);

    std::string_view view() const { return spill_.empty() ? std::string_view(buf_, len_) : std::string_view(spill_); }
    operator std::string_view() const { return view(); }
    std::string str() const { return std::string(view()); }

private:
    char buf_[512];
    std::size_t len_ = 0;
    std::string spill_;
};

// Appends a value as an output stream's << would write it: characters as characters, bool as
// 1 or 0, floating point in the stream's default form, and records by their own appendTo.
template <class T>
void appendStreamed(LogText& text, const T& value) {
    if constexpr (requires { value.appendTo(text); }) {
        value.appendTo(text);
    } else if constexpr (std::same_as<T, bool>) {
        text << (value ? "1" : "0");
    } else if constexpr (std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char>) {
        const char c = static_cast<char>(value);
        text << std::string_view(&c, 1);
    } else if constexpr (std::floating_point<T>) {
        text.general(static_cast<double>(value));
    } else {
        text << value;
    }
}

template <class... Parts>
void appendAll(LogText& text, const Parts&... parts) {
    (appendStreamed(text, parts), ...);
}

// A record's str(): its appendTo into a text of its own.
template <class Record>
std::string textOf(const Record& record) {
    LogText text;
    record.appendTo(text);
    return text.str();
}

}  // namespace srci

#define SRCI_LOG(level, text) ::srci::logFramed((level), SRCI_LOG_TAG, __FUNCTION__, __LINE__, (text))
