// SPDX-License-Identifier: Apache-2.0
// Per-tag level filters, read on every log call without taking a lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>

namespace zlog::detail {

class TagFilters {
public:
    static constexpr size_t MAX_TAGS = 32;
    static constexpr size_t MAX_TAG_LEN = 63;

    // Adds or updates the filter for tag. Tags beyond MAX_TAGS or longer than MAX_TAG_LEN
    // are not filterable; false tells the caller so.
    bool set(const char* tag, int level, bool enable);
    // True unless an enabled filter for tag has a level below the record's.
    bool allows(const char* tag, int level) const;

private:
    // Entries are appended, never removed; a published tag text never changes, so readers
    // only need the count (acquire) to see it whole.
    struct Entry {
        char tag[MAX_TAG_LEN + 1] = {};
        std::atomic<int> level{0};
        std::atomic<bool> enabled{false};
    };
    const Entry* find(const char* tag) const;

    Entry entries_[MAX_TAGS];
    std::atomic<size_t> count_{0};
    std::atomic<size_t> enabledCount_{0};
    std::mutex writeMutex_;
};

}  // namespace zlog::detail
