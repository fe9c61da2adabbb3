// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

PnioSimProcess::PnioSimProcess(std::vector<std::string> extra_args) {
    char path[] = "/tmp/pnio_sim_test_stderr_XXXXXX";
    const int err_fd = mkstemp(path);
    stderr_path_ = path;
    int out[2];
    if (err_fd < 0 || pipe(out) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err_fd, STDERR_FILENO);
        close(out[0]);
        std::vector<std::string> args = {PNIO_SIM_PATH, "--no-status"};
        args.insert(args.end(), extra_args.begin(), extra_args.end());
        std::vector<char*> argv;
        for (auto& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err_fd);
    // Ready once it prints "listening on ADDR:PORT"; give up if it exits.
    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline && text.find('\n') == std::string::npos) {
        pollfd p{out[0], POLLIN, 0};
        if (poll(&p, 1, 100) <= 0) continue;
        char buf[256];
        const ssize_t n = read(out[0], buf, sizeof buf);
        if (n <= 0) break;
        text.append(buf, static_cast<size_t>(n));
    }
    close(out[0]);
    const auto colon = text.rfind(':');
    if (text.find("listening on") != std::string::npos && colon != std::string::npos)
        port_ = static_cast<uint16_t>(std::atoi(text.c_str() + colon + 1));
}

PnioSimProcess::~PnioSimProcess() {
    if (pid_ > 0 && !exited_) terminate();
    if (!stderr_path_.empty()) unlink(stderr_path_.c_str());
}

int PnioSimProcess::wait_exit(int timeout_ms) {
    if (exited_) return status_;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (std::chrono::steady_clock::now() < deadline) {
        int st = 0;
        const pid_t r = waitpid(pid_, &st, WNOHANG);
        if (r == pid_) {
            exited_ = true;
            status_ = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
            return status_;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

int PnioSimProcess::terminate() {
    if (pid_ <= 0) return -1;
    if (!exited_) kill(pid_, SIGTERM);
    const int st = wait_exit(10000);
    if (!exited_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        exited_ = true;
    }
    return st;
}

std::string PnioSimProcess::error_output() const {
    std::ifstream in(stderr_path_);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}
