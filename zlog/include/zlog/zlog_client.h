// SPDX-License-Identifier: Apache-2.0
// Log client: the one way every thread and process of the controller writes log records.
//
// A record is one formatted line: local time, level, tag, function and line, then the text.
// Records go to the system channel ("rvodbg.log"); errors also go to the error channel
// ("errorlog"). Both channels are shared-memory double buffers drained by zlog::ZLogSvr.
// do_log never blocks the caller for longer than a memcpy: when a channel is full the
// record is dropped and counted (see dropped()).
#pragma once

#include <cstdint>
#include <string>

namespace zlog {

enum ZLogLevel : int {
    ZLogLvDisable = -1,
    ZLogLvError = 0,
    ZLogLvWarn = 1,
    ZLogLvInfo = 2,
    ZLogLvDebug = 3,
    ZLogLvTrace = 4,
    ZLogLvNone = 5,
};

// Channel names shared by the client and the server hosted by the adapter.
inline constexpr const char* ZLOG_SYS_CHANNEL = "rvodbg.log";
inline constexpr const char* ZLOG_ERR_CHANNEL = "errorlog";
inline constexpr const char* ZLOG_BUS_CHANNEL = "bus";

class ZLogClient {
public:
    static ZLogClient* get();

    // Text is logged verbatim (no format interpretation).
    void do_log(int level, const char* tag, const char* func, int line, const std::string& text);
    // printf-style form.
    void do_log(int level, const char* tag, const char* func, int line, const char* fmt, ...)
        __attribute__((format(printf, 6, 7)));
    // The short form without tag and function name.
    void do_log(int level, int line, const std::string& text);

    void enableStdout(bool enable);
    // Records with a level above the filter are not written. ZLogLvDisable drops everything.
    void set_lv_filter(int level);
    int lv_filter() const;
    // A per-tag filter applies on top of the global one while enabled.
    void set_tag_lv_filter(const char* tag, int level, bool enable);

    // Records refused because a channel was full, since process start.
    uint64_t dropped() const;

    // Channels are attached on the first record. This detaches them so that the next
    // record attaches again under the qxutil shm scope then in force (tests, demos).
    void reopen_channels();

    ZLogClient(const ZLogClient&) = delete;
    ZLogClient& operator=(const ZLogClient&) = delete;

private:
    ZLogClient();
    ~ZLogClient();
    struct Impl;
    Impl* impl_;
};

}  // namespace zlog
