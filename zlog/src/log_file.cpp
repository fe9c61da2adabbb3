// SPDX-License-Identifier: Apache-2.0
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zlog/zlogsvr.h"

namespace zlog {
namespace {

bool fileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string generationName(const std::string& base, int generation) {
    return generation < 0 ? base : base + "." + std::to_string(generation);
}

}  // namespace

LogFile::LogFile(const char* path, size_t maxSize, uint8_t rotateCount)
    : rotate_cnt_(rotateCount), name_(path ? path : ""), max_size_(maxSize) {
    cur_fd = name_.empty() ? nullptr : fopen(name_.c_str(), "a+");
    enable_ = cur_fd != nullptr;
}

LogFile::~LogFile() {
    enable_ = false;
    if (cur_fd) {
        sync_to_disk(cur_fd);
        fclose(cur_fd);
        cur_fd = nullptr;
    }
}

int LogFile::write(const char* data, size_t size) {
    if (!enable_ || !cur_fd) {
        return -1;
    }
    if (data == nullptr) {
        // Deliberately independent of NDEBUG: a null block is a caller bug in every build.
        // The function is spelled out because compilers render __PRETTY_FUNCTION__ differently.
        fputs("int zlog::LogFile::write(const char*, size_t): Assertion `data != nullptr' failed.\n", stderr);
        abort();
    }
    if (fseeko(cur_fd, 0, SEEK_END) != 0) {
        return -1;
    }
    off_t length = ftello(cur_fd);
    if (length < 0) {
        return -1;
    }
    // An empty live file is already fresh: rotating it would only push an empty generation
    // in and real history out.
    if (length > 0 && static_cast<size_t>(length) + size > max_size_) {
        if (rotate() != 0) {
            return -1;
        }
    }
    if (fwrite(data, 1, size, cur_fd) != size) {
        clearerr(cur_fd);
        return -1;
    }
    return sync_to_disk(cur_fd);
}

int LogFile::rotate() {
    if (!enable_ || !cur_fd) {
        return -1;
    }
    sync_to_disk(cur_fd);
    fclose(cur_fd);
    cur_fd = nullptr;
    for (int g = static_cast<int>(rotate_cnt_) - 1; g >= 0; --g) {
        std::string target = generationName(name_, g);
        std::string source = generationName(name_, g - 1);
        if (fileExists(target)) {
            remove(target.c_str());
        }
        if (fileExists(source) && rename(source.c_str(), target.c_str()) != 0) {
            break;
        }
    }
    if (rotate_cnt_ == 0) {
        remove(name_.c_str());  // no generations kept: start over
    }
    cur_fd = fopen(name_.c_str(), "a+");
    enable_ = cur_fd != nullptr;
    return enable_ ? 0 : -1;
}

int LogFile::sync_to_disk(FILE* f) {
    FILE* stream = f ? f : cur_fd;
    if (!stream) {
        return -1;
    }
    if (fflush(stream) != 0) {
        return -1;
    }
    int fd = fileno(stream);
    if (fd >= 0) {
        fsync(fd);
    }
    return 0;
}

}  // namespace zlog
