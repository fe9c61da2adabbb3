// SPDX-License-Identifier: Apache-2.0
#include "child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace srci_test {

TempDir::TempDir() {
    char pattern[] = "/tmp/srci-test-XXXXXX";
    const char* made = mkdtemp(pattern);
    if (!made) throw std::runtime_error("mkdtemp failed");
    path_ = made;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args, const std::string& workDir,
                           const std::string& outputFile) {
    std::vector<std::string> argvStore{program};
    argvStore.insert(argvStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argvStore) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) {
        if (chdir(workDir.c_str()) != 0) _exit(126);
        const int fd = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            dup2(fd, STDOUT_FILENO);
            dup2(fd, STDERR_FILENO);
            close(fd);
        }
        execv(program.c_str(), argv.data());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() { kill(); }

bool ChildProcess::running() {
    if (exited_ || pid_ <= 0) return false;
    int status = 0;
    const pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == pid_) {
        exited_ = true;
        signaled_ = WIFSIGNALED(status);
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
        return false;
    }
    return true;
}

bool ChildProcess::waitExit(int timeoutMs) {
    return eventually([this] { return !running(); }, timeoutMs);
}

void ChildProcess::signal(int sig) {
    if (running()) ::kill(pid_, sig);
}

void ChildProcess::kill() {
    if (!running()) return;
    ::kill(pid_, SIGKILL);
    waitExit(5000);
}

}  // namespace srci_test
