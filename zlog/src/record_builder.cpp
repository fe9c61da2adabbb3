// SPDX-License-Identifier: Apache-2.0
#include "record_builder.h"

#include <cstdio>
#include <cstring>

namespace zlog::detail {
namespace {

// Bounds on the header's free-text parts keep a runaway tag from eating the record.
constexpr size_t TAG_MAX = 64;
constexpr size_t FUNC_MAX = 128;

size_t boundedLength(const char* s, size_t max) { return s ? strnlen(s, max) : 0; }

}  // namespace

char levelLetter(int level) {
    static constexpr char letters[] = {'E', 'W', 'I', 'D', 'T'};
    return level >= 0 && level < static_cast<int>(sizeof letters) ? letters[level] : '?';
}

void RecordBuilder::putText(const char* s, size_t n) {
    size_t room = CONTENT_MAX - len_;
    if (n > room) {
        n = room;
        truncated_ = true;
    }
    std::memcpy(buf_ + len_, s, n);
    len_ += n;
}

void RecordBuilder::putChar(char c) { putText(&c, 1); }

void RecordBuilder::putNumber(long value) {
    char digits[24];
    int n = snprintf(digits, sizeof digits, "%ld", value);
    putText(digits, static_cast<size_t>(n));
}

// Local time costs a timezone conversion; it is redone only when the second changes.
void RecordBuilder::putClock() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != cachedSecond_) {
        struct tm local {};
        localtime_r(&now.tv_sec, &local);
        strftime(cachedClock_, sizeof cachedClock_, "%Y-%m-%d %H:%M:%S", &local);
        cachedSecond_ = now.tv_sec;
    }
    putText(cachedClock_, strnlen(cachedClock_, sizeof cachedClock_));
    long ms = now.tv_nsec / 1000000;
    char frac[4] = {'.', static_cast<char>('0' + ms / 100), static_cast<char>('0' + ms / 10 % 10),
                    static_cast<char>('0' + ms % 10)};
    putText(frac, sizeof frac);
}

void RecordBuilder::begin(int level, const char* tag, const char* func, int line) {
    len_ = 0;
    truncated_ = false;
    putClock();
    putChar(' ');
    putChar(levelLetter(level));
    putText(" [", 2);
    size_t tagLen = boundedLength(tag, TAG_MAX);
    putText(tagLen ? tag : "-", tagLen ? tagLen : 1);
    putText("] ", 2);
    size_t funcLen = boundedLength(func, FUNC_MAX);
    putText(funcLen ? func : "-", funcLen ? funcLen : 1);
    putChar(':');
    putNumber(line);
    putChar(' ');
}

void RecordBuilder::append(const char* text, size_t len) { putText(text, len); }

void RecordBuilder::appendFormatted(const char* fmt, va_list ap) {
    if (!fmt) {
        return;
    }
    size_t room = CONTENT_MAX - len_;
    // The buffer extends past CONTENT_MAX, so the terminating zero always has a place.
    int n = vsnprintf(buf_ + len_, room + 1, fmt, ap);
    if (n < 0) {
        return;
    }
    if (static_cast<size_t>(n) > room) {
        len_ += room;
        truncated_ = true;
    } else {
        len_ += static_cast<size_t>(n);
    }
}

std::string_view RecordBuilder::finish() {
    if (truncated_) {
        std::memcpy(buf_ + len_, TRUNCATION_MARK, sizeof TRUNCATION_MARK - 1);
        len_ += sizeof TRUNCATION_MARK - 1;
    } else if (len_ == 0 || buf_[len_ - 1] != '\n') {
        buf_[len_++] = '\n';
    }
    return std::string_view(buf_, len_);
}

}  // namespace zlog::detail
