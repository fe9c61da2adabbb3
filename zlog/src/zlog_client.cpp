// SPDX-License-Identifier: Apache-2.0
#include "zlog/zlog_client.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "lazy_channel.h"
#include "record_builder.h"
#include "tag_filters.h"

namespace zlog {
namespace {

detail::RecordBuilder& threadRecord() {
    thread_local detail::RecordBuilder record;
    return record;
}

}  // namespace

struct ZLogClient::Impl {
    std::atomic<int> levelFilter{ZLogLvInfo};
    std::atomic<bool> toStdout{false};
    std::atomic<uint64_t> dropped{0};
    detail::TagFilters tagFilters;
    detail::LazyChannel sysChannel{ZLOG_SYS_CHANNEL};
    detail::LazyChannel errChannel{ZLOG_ERR_CHANNEL};

    bool passes(int level, const char* tag) const {
        return level >= ZLogLvError && level <= levelFilter.load(std::memory_order_relaxed) &&
               tagFilters.allows(tag, level);
    }

    void emit(int level, std::string_view record) {
        bool refused = sysChannel.writer().write(record.data(), record.size()) != 0;
        if (level == ZLogLvError) {
            refused = errChannel.writer().write(record.data(), record.size()) != 0 || refused;
        }
        if (refused) {
            dropped.fetch_add(1, std::memory_order_relaxed);
        }
        if (toStdout.load(std::memory_order_relaxed)) {
            fwrite(record.data(), 1, record.size(), stdout);
            // An error is often the last thing a process says before it ends; do not leave it
            // in a buffer that dies with the process.
            if (level == ZLogLvError) {
                fflush(stdout);
            }
        }
    }
};

// Never destroyed: detached threads may log while the process exits.
ZLogClient* ZLogClient::get() {
    static ZLogClient* instance = new ZLogClient();
    return instance;
}

ZLogClient::ZLogClient() : impl_(new Impl) {}

ZLogClient::~ZLogClient() { delete impl_; }

void ZLogClient::do_log(int level, const char* tag, const char* func, int line, const std::string& text) {
    if (!impl_->passes(level, tag)) {
        return;
    }
    detail::RecordBuilder& record = threadRecord();
    record.begin(level, tag, func, line);
    record.append(text.data(), text.size());
    impl_->emit(level, record.finish());
}

void ZLogClient::do_log(int level, const char* tag, const char* func, int line, const char* fmt, ...) {
    if (!impl_->passes(level, tag)) {
        return;
    }
    detail::RecordBuilder& record = threadRecord();
    record.begin(level, tag, func, line);
    va_list ap;
    va_start(ap, fmt);
    record.appendFormatted(fmt, ap);
    va_end(ap);
    impl_->emit(level, record.finish());
}

void ZLogClient::do_log(int level, int line, const std::string& text) { do_log(level, nullptr, nullptr, line, text); }

void ZLogClient::enableStdout(bool enable) { impl_->toStdout.store(enable, std::memory_order_relaxed); }

void ZLogClient::set_lv_filter(int level) { impl_->levelFilter.store(level, std::memory_order_relaxed); }

int ZLogClient::lv_filter() const { return impl_->levelFilter.load(std::memory_order_relaxed); }

void ZLogClient::set_tag_lv_filter(const char* tag, int level, bool enable) {
    impl_->tagFilters.set(tag, level, enable);
}

uint64_t ZLogClient::dropped() const { return impl_->dropped.load(std::memory_order_relaxed); }

void ZLogClient::reopen_channels() {
    impl_->sysChannel.reopen();
    impl_->errChannel.reopen();
}

}  // namespace zlog
