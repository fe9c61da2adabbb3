// SPDX-License-Identifier: Apache-2.0
// Formats one log record into a fixed buffer: no allocation, no locks.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <string_view>

namespace zlog::detail {

// Longest record; longer texts are cut and marked, so one call never costs more than this.
constexpr size_t RECORD_MAX = 16384;

char levelLetter(int level);

// "<YYYY-MM-DD hh:mm:ss.mmm> <L> [<tag>] <func>:<line> <text>", always ending in a newline.
// Meant to live in thread-local storage: one per logging thread.
class RecordBuilder {
public:
    void begin(int level, const char* tag, const char* func, int line);
    void append(const char* text, size_t len);
    void appendFormatted(const char* fmt, va_list ap);
    std::string_view finish();

private:
    void putText(const char* s, size_t n);
    void putChar(char c);
    void putNumber(long value);
    void putClock();

    // Everything up to CONTENT_MAX is record; the rest is reserved for the ending.
    static constexpr const char TRUNCATION_MARK[] = " [truncated]\n";
    static constexpr size_t CONTENT_MAX = RECORD_MAX - sizeof(TRUNCATION_MARK);

    char buf_[RECORD_MAX];
    size_t len_ = 0;
    bool truncated_ = false;
    time_t cachedSecond_ = -1;
    char cachedClock_[20] = {};  // "YYYY-MM-DD hh:mm:ss" of cachedSecond_
};

}  // namespace zlog::detail
