// SPDX-License-Identifier: Apache-2.0
// Log server: drains the error, system and bus channels into size-limited rotating files.
//
// Producers never touch files; they write into the shared-memory channels (see
// zlog_client.h and qxutil/dualbuff.h). One thread calls ZLogSvr::update() periodically;
// each call moves whatever is pending on each channel into its file as one block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace zlog {

inline constexpr size_t ZLOG_FILE_MAX_SIZE = 1048576;
// The bus log is kept deliberately small: it is chatty and only its recent past matters.
inline constexpr size_t ZLOG_BUS_FILE_MAX_SIZE = 10240;
inline constexpr uint8_t ZLOG_ROTATE_COUNT = 2;

// Local time as "YYYY\MM\DD hh:mm:ss " (backslashes and trailing blank are the log
// files' established date format).
std::string get_time();

// One live log file plus its rotated generations name.0 (newest) .. name.<count-1>.
// Not thread-safe: only the log-server thread writes.
class LogFile {
public:
    explicit LogFile(const char* path, size_t maxSize = ZLOG_FILE_MAX_SIZE, uint8_t rotateCount = ZLOG_ROTATE_COUNT);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Appends one block, rotating first if it would take the live file past the limit;
    // a block larger than the limit goes whole into a fresh file. The block is flushed
    // and synced before returning. 0 on success, -1 if disabled or the write failed.
    // A null data pointer is a programming error and aborts.
    int write(const char* data, size_t size);
    // Shifts name -> name.0 -> name.1 ..., deleting the oldest, and reopens an empty live
    // file. -1 if disabled or the live file cannot be reopened.
    int rotate();
    // Flushes f (or the live file when f is null) and syncs it to disk. -1 if the flush fails.
    int sync_to_disk(FILE* f);

    bool enabled() const { return enable_; }
    const std::string& name() const { return name_; }

private:
    FILE* cur_fd = nullptr;
    uint8_t rotate_cnt_;
    bool enable_ = false;
    std::string name_;
    size_t max_size_;
};

class ZLogSvrImpl;

class ZLogSvr {
public:
    // Creates dir + "/log/", opens the three files there (error and system limited to
    // ZLOG_FILE_MAX_SIZE, bus to ZLOG_BUS_FILE_MAX_SIZE), attaches the three channels by
    // their bare names and sends the start banner through the error channel.
    ZLogSvr(const char* errName, const char* sysName, const char* busName, const char* dir);
    // Sends the end banner, drains once more, then closes the files.
    ~ZLogSvr();
    ZLogSvr(const ZLogSvr&) = delete;
    ZLogSvr& operator=(const ZLogSvr&) = delete;

    // Drains each channel once, in the order error, system, bus.
    void update();

private:
    std::shared_ptr<LogFile> log_usr_;
    std::shared_ptr<LogFile> log_sys_;
    std::shared_ptr<LogFile> log_qxbus_;
    std::shared_ptr<ZLogSvrImpl> impl_;
    std::string efile_name_;
};

}  // namespace zlog
