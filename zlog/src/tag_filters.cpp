// SPDX-License-Identifier: Apache-2.0
#include "tag_filters.h"

#include <cstring>

namespace zlog::detail {

const TagFilters::Entry* TagFilters::find(const char* tag) const {
    size_t n = count_.load(std::memory_order_acquire);
    for (size_t i = 0; i < n; ++i) {
        if (std::strcmp(entries_[i].tag, tag) == 0) {
            return &entries_[i];
        }
    }
    return nullptr;
}

bool TagFilters::set(const char* tag, int level, bool enable) {
    if (!tag || strnlen(tag, MAX_TAG_LEN + 1) > MAX_TAG_LEN) {
        return false;
    }
    std::lock_guard<std::mutex> lock(writeMutex_);
    auto* entry = const_cast<Entry*>(find(tag));
    if (!entry) {
        size_t n = count_.load(std::memory_order_relaxed);
        if (n == MAX_TAGS) {
            return false;
        }
        entry = &entries_[n];
        std::strcpy(entry->tag, tag);
        count_.store(n + 1, std::memory_order_release);
    }
    entry->level.store(level, std::memory_order_relaxed);
    bool was = entry->enabled.exchange(enable, std::memory_order_relaxed);
    if (was != enable) {
        enable ? enabledCount_.fetch_add(1, std::memory_order_relaxed)
               : enabledCount_.fetch_sub(1, std::memory_order_relaxed);
    }
    return true;
}

bool TagFilters::allows(const char* tag, int level) const {
    if (!tag || enabledCount_.load(std::memory_order_relaxed) == 0) {
        return true;
    }
    const Entry* entry = find(tag);
    if (!entry || !entry->enabled.load(std::memory_order_relaxed)) {
        return true;
    }
    return level <= entry->level.load(std::memory_order_relaxed);
}

}  // namespace zlog::detail
