// SPDX-License-Identifier: Apache-2.0
// What the soak watches of a process and of the log folder, read from /proc and the file system.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace srci_soak {

struct ProcessStats {
    long rssKb = -1;
    int fds = -1;
    int threads = -1;
};

// The child of this process whose command name is `comm`, or -1.
pid_t childNamed(const std::string& comm);
ProcessStats statsOf(pid_t pid);

struct LogFolderStats {
    uint64_t totalBytes = 0;
    uint64_t largestBytes = 0;
    std::string overLimit;  // "name: size > limit" of the first file over its limit, or empty
};

// limitOf(file name) is the size limit of that log file.
LogFolderStats logFolder(const std::string& dir, uint64_t (*limitOf)(const std::string&));

}  // namespace srci_soak
