// SPDX-License-Identifier: Apache-2.0
#pragma once
// Runs the pnio-sim executable as a child process for the tests.
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

class PnioSimProcess {
public:
    // Starts pnio-sim on a free port; started() tells whether it got ready.
    explicit PnioSimProcess(std::vector<std::string> extra_args = {"--port", "0"});
    ~PnioSimProcess();
    PnioSimProcess(const PnioSimProcess&) = delete;
    PnioSimProcess& operator=(const PnioSimProcess&) = delete;

    bool started() const { return port_ != 0; }
    uint16_t port() const { return port_; }
    // Exit status after SIGTERM (or -1 if it did not exit normally).
    int terminate();
    // Waits for the process to end by itself; -1 if it is still running.
    int wait_exit(int timeout_ms);
    std::string error_output() const;

private:
    pid_t pid_ = -1;
    uint16_t port_ = 0;
    std::string stderr_path_;
    bool exited_ = false;
    int status_ = -1;
};
