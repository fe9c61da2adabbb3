// SPDX-License-Identifier: Apache-2.0
#include "process_stats.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace srci_soak {

pid_t childNamed(const std::string& comm) {
    const pid_t self = ::getpid();
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator("/proc", ec)) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stat(entry.path() / "stat");
        std::string line;
        if (!std::getline(stat, line)) continue;
        // pid (comm) state ppid ...; comm may hold spaces, so split at the last ')'.
        const size_t open = line.find('('), close = line.rfind(')');
        if (open == std::string::npos || close == std::string::npos) continue;
        std::istringstream rest(line.substr(close + 1));
        char state;
        pid_t ppid = 0;
        rest >> state >> ppid;
        if (ppid == self && line.substr(open + 1, close - open - 1) == comm) return std::stoi(name);
    }
    return -1;
}

ProcessStats statsOf(pid_t pid) {
    ProcessStats s;
    if (pid <= 0) return s;
    const fs::path proc = fs::path("/proc") / std::to_string(pid);
    std::ifstream status(proc / "status");
    for (std::string line; std::getline(status, line);) {
        std::istringstream in(line.substr(line.find(':') + 1));
        if (line.rfind("VmRSS:", 0) == 0) in >> s.rssKb;
        if (line.rfind("Threads:", 0) == 0) in >> s.threads;
    }
    std::error_code ec;
    int fds = 0;
    for (fs::directory_iterator it(proc / "fd", ec), end; !ec && it != end; it.increment(ec)) ++fds;
    if (!ec) s.fds = fds;
    return s;
}

LogFolderStats logFolder(const std::string& dir, uint64_t (*limitOf)(const std::string&)) {
    LogFolderStats s;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec)) {
        if (!entry.is_regular_file(ec)) continue;
        const uint64_t size = entry.file_size(ec);
        const std::string name = entry.path().filename();
        s.totalBytes += size;
        if (size > s.largestBytes) s.largestBytes = size;
        if (s.overLimit.empty() && size > limitOf(name))
            s.overLimit = name + ": " + std::to_string(size) + " bytes > " + std::to_string(limitOf(name));
    }
    return s;
}

}  // namespace srci_soak
