// SPDX-License-Identifier: Apache-2.0
#include "processes.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "cycle_record.h"

namespace cycle_bench {

pid_t spawn(const std::vector<std::string>& argv, const std::string& cwd, const std::string& outFile,
            const std::vector<std::string>& env) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // an interrupted bench leaves nothing running behind
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
    const int fd = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd >= 0) {
        dup2(fd, 1);
        dup2(fd, 2);
        close(fd);
    }
    for (const std::string& e : env) putenv(const_cast<char*>(e.c_str()));
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    std::perror(args[0]);
    _exit(127);
}

void stop(pid_t pid, int signal) {
    if (pid <= 0) return;
    kill(pid, signal);
    int status = 0;
    waitpid(pid, &status, 0);
}

bool alive(pid_t pid) { return pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0; }

pid_t spawnHog() {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    volatile unsigned long spin = 0;
    for (;;) spin = spin + 1;
}

std::map<std::string, double> threadCpuSeconds(pid_t pid) {
    std::map<std::string, double> out;
    const std::string dir = "/proc/" + std::to_string(pid) + "/task";
    DIR* d = opendir(dir.c_str());
    if (!d) return out;
    const double tick = static_cast<double>(sysconf(_SC_CLK_TCK));
    while (dirent* e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        std::ifstream in(dir + "/" + e->d_name + "/stat");
        std::string line;
        std::getline(in, line);
        const size_t open = line.find('('), close = line.rfind(')');
        if (open == std::string::npos || close == std::string::npos) continue;
        const std::string name = line.substr(open + 1, close - open - 1);
        std::istringstream rest(line.substr(close + 2));
        std::string field;
        double utime = 0, stime = 0;
        for (int i = 3; rest >> field; ++i) {  // fields counted from 1; state is field 3
            if (i == 14) utime = std::stod(field);
            if (i == 15) {
                stime = std::stod(field);
                break;
            }
        }
        out[std::string(e->d_name) + " " + name] = (utime + stime) / tick;
    }
    closedir(d);
    return out;
}

double ownThreadCpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_THREAD, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

// The recorder's own file mapping grows by 32 bytes a cycle; it is not the adapter's memory.
long rssKiB(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/smaps");
    std::string line;
    long total = 0;
    bool recorder = false, any = false;
    while (std::getline(in, line)) {
        if (!line.empty() && std::isxdigit(static_cast<unsigned char>(line[0])) && line.find('-') < 17) {
            recorder = line.find(kRecordFile) != std::string::npos;
        } else if (line.rfind("Rss:", 0) == 0 && !recorder) {
            total += std::atol(line.c_str() + 4);
            any = true;
        }
    }
    return any ? total : -1;
}

bool waitForPort(int port, int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < end) {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(static_cast<uint16_t>(port));
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool ok = connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
        close(fd);
        if (ok) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

}  // namespace cycle_bench
