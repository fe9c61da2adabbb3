// SPDX-License-Identifier: Apache-2.0
#include "log_queue.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "srl/srl_api.h"

namespace srl {
namespace {

struct LogQueue {
    std::mutex mutex;
    char lines[kLogLines][kLogLineLen] = {};
    size_t head = 0;  // oldest
    size_t count = 0;
    unsigned long dropped = 0;
};

LogQueue& queue() {
    static LogQueue q;
    return q;
}

}  // namespace

void logf(const char* fmt, ...) {
    char line[kLogLineLen];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(line, sizeof line, fmt, args);
    va_end(args);

    LogQueue& q = queue();
    std::lock_guard<std::mutex> lock(q.mutex);
    if (q.count == kLogLines) {
        q.head = (q.head + 1) % kLogLines;
        --q.count;
        ++q.dropped;
    }
    std::memcpy(q.lines[(q.head + q.count) % kLogLines], line, sizeof line);
    ++q.count;
}

void log_pop(char* buffer) {
    buffer[0] = '\0';
    LogQueue& q = queue();
    std::lock_guard<std::mutex> lock(q.mutex);
    if (q.dropped != 0) {
        std::snprintf(buffer, kLogLineLen, "srl: %lu diagnostic lines dropped (queue full)", q.dropped);
        q.dropped = 0;
        return;
    }
    if (q.count == 0) return;
    std::memcpy(buffer, q.lines[q.head], kLogLineLen);
    q.head = (q.head + 1) % kLogLines;
    --q.count;
}

void log_clear() {
    LogQueue& q = queue();
    std::lock_guard<std::mutex> lock(q.mutex);
    q.head = q.count = 0;
    q.dropped = 0;
}

}  // namespace srl

void srl_get_log(char* buffer) {
    if (buffer != nullptr) srl::log_pop(buffer);
}
