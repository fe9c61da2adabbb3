// SPDX-License-Identifier: Apache-2.0
#include "zlog/zlogsvr.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

#include "qxutil/dualbuff.h"

namespace zlog {
namespace {

// Quoted for the shell so that a directory with blanks or quotes is still one argument.
std::string shellQuoted(const std::string& s) {
    std::string out = "'";
    for (char c : s) {
        if (c == '\'') {
            out += "'\\''";
        } else {
            out.push_back(c);
        }
    }
    out.push_back('\'');
    return out;
}

const char* orEmpty(const char* s) { return s ? s : ""; }

void sendBanner(const char* channel, const char* format) {
    char text[1024] = {};
    int n = snprintf(text, sizeof text, format, get_time().c_str());
    if (n <= 0) {
        return;
    }
    size_t len = static_cast<size_t>(n) < sizeof text ? static_cast<size_t>(n) : sizeof text - 1;
    qxutil::DualBuffWriter writer(channel);
    writer.write(text, len);
}

}  // namespace

class ZLogSvrImpl {
public:
    ZLogSvrImpl(const char* errName, const char* sysName, const char* busName)
        : err_(std::make_shared<qxutil::DualBuffReader>(errName)),
          sys_(std::make_shared<qxutil::DualBuffReader>(sysName)),
          bus_(std::make_shared<qxutil::DualBuffReader>(busName)),
          buffer_(std::make_unique<char[]>(qxutil::DUAL_BUFF_MAX_SIZE)) {}

    // Error records written before the server existed (static initialisation of this process,
    // or a previous run) are held back so the start banner stays the first line of the file;
    // they follow it on the first drain.
    void holdPendingErrors() {
        std::lock_guard<std::mutex> lock(mutex_);
        for (int n; (n = err_->read(buffer_.get())) > 0;) {
            held_.append(buffer_.get(), static_cast<size_t>(n));
        }
    }

    void drainAll(LogFile& errFile, LogFile& sysFile, LogFile& busFile) {
        std::lock_guard<std::mutex> lock(mutex_);
        drainOne(*err_, errFile);
        if (!held_.empty()) {
            errFile.write(held_.data(), held_.size());
            held_.clear();
            held_.shrink_to_fit();
        }
        drainOne(*sys_, sysFile);
        drainOne(*bus_, busFile);
    }

private:
    // One buffer serves the three channels in turn: each block is written out before the
    // next read. It lives on the heap; a log thread's stack is no place for a megabyte.
    void drainOne(qxutil::DualBuffReader& reader, LogFile& file) {
        int n = reader.read(buffer_.get());
        if (n > 0) {
            file.write(buffer_.get(), static_cast<size_t>(n));
        }
    }

    std::shared_ptr<qxutil::DualBuffReader> err_;
    std::shared_ptr<qxutil::DualBuffReader> sys_;
    std::shared_ptr<qxutil::DualBuffReader> bus_;
    std::unique_ptr<char[]> buffer_;
    std::string held_;
    std::mutex mutex_;  // update() from the log thread and from the destructor
};

ZLogSvr::ZLogSvr(const char* errName, const char* sysName, const char* busName, const char* dir) {
    errName = orEmpty(errName);
    sysName = orEmpty(sysName);
    busName = orEmpty(busName);
    std::string logDir = std::string(dir ? dir : ".") + "/log/";
    std::string command = "mkdir -p " + shellQuoted(logDir);
    int ignored = system(command.c_str());  // a failure shows as disabled files
    (void)ignored;

    log_usr_ = std::make_shared<LogFile>((logDir + errName).c_str(), ZLOG_FILE_MAX_SIZE, ZLOG_ROTATE_COUNT);
    log_sys_ = std::make_shared<LogFile>((logDir + sysName).c_str(), ZLOG_FILE_MAX_SIZE, ZLOG_ROTATE_COUNT);
    log_qxbus_ = std::make_shared<LogFile>((logDir + busName).c_str(), ZLOG_BUS_FILE_MAX_SIZE, ZLOG_ROTATE_COUNT);
    impl_ = std::make_shared<ZLogSvrImpl>(errName, sysName, busName);
    impl_->holdPendingErrors();

    sendBanner(errName, "******** Log start (%s) ********\n");
    efile_name_ = errName;
}

ZLogSvr::~ZLogSvr() {
    sendBanner(efile_name_.c_str(), "******** Log end (%s) ********\n");
    update();
}

void ZLogSvr::update() { impl_->drainAll(*log_usr_, *log_sys_, *log_qxbus_); }

}  // namespace zlog
