// SPDX-License-Identifier: Apache-2.0
// A program started by a test in its own working directory, its standard output and error
// going to a file there; killed when the object goes away.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace srci_test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::string readFile(const std::string& path);

class ChildProcess {
public:
    ChildProcess(const std::string& program, const std::vector<std::string>& args, const std::string& workDir,
                 const std::string& outputFile);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    bool running();
    // Waits for the exit; returns false on timeout. status() then tells how it ended.
    bool waitExit(int timeoutMs);
    bool exitedNormally() const { return exited_ && !signaled_; }
    int exitCode() const { return code_; }
    bool signaled() const { return signaled_; }
    void signal(int sig);
    void kill();

private:
    pid_t pid_ = -1;
    bool exited_ = false;
    bool signaled_ = false;
    int code_ = 0;
};

// Polls `condition` every 10 ms for at most timeoutMs.
template <class F>
bool eventually(F condition, int timeoutMs);

}  // namespace srci_test

#include <chrono>
#include <thread>

template <class F>
bool srci_test::eventually(F condition, int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < end) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}
