// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/web_arm_channel.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace pnio_sim::web {

namespace {
constexpr int kTimeoutMs = 200;
constexpr size_t kMaxAnswer = 4096;
}  // namespace

ArmChannel::~ArmChannel() { close_socket(); }

void ArmChannel::close_socket() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

bool ArmChannel::connect_socket(std::string& error) {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_attempt_) {
        error = "not connected to " + path_;
        return false;
    }
    next_attempt_ = now + std::chrono::seconds(1);
    sockaddr_un addr{};
    if (path_.size() >= sizeof addr.sun_path) {
        error = "socket path too long: " + path_;
        return false;
    }
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    addr.sun_family = AF_UNIX;
    std::memcpy(addr.sun_path, path_.c_str(), path_.size() + 1);
    if (fd_ < 0 || ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        error = "cannot connect to " + path_ + ": " + std::strerror(errno);
        close_socket();
        return false;
    }
    return true;
}

std::optional<std::string> ArmChannel::request(const std::string& line, std::string& error) {
    if (fd_ < 0 && !connect_socket(error)) return std::nullopt;
    const std::string out = line + "\n";
    if (::send(fd_, out.data(), out.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(out.size())) {
        error = "send to " + path_ + " failed";
        close_socket();
        return std::nullopt;
    }
    std::string answer;
    for (;;) {
        pollfd p{fd_, POLLIN, 0};
        const int r = ::poll(&p, 1, kTimeoutMs);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) {
            error = r == 0 ? "no answer from " + path_ + " within 200 ms" : std::strerror(errno);
            close_socket();  // a late answer would pair with the next request
            return std::nullopt;
        }
        char buf[256];
        const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
        if (n <= 0) {
            error = path_ + " closed the connection";
            close_socket();
            return std::nullopt;
        }
        for (ssize_t i = 0; i < n; ++i) {
            if (buf[i] == '\n') return answer;  // one request in flight, so nothing follows
            answer.push_back(buf[i]);
        }
        if (answer.size() > kMaxAnswer) {
            error = "over-long answer from " + path_;
            close_socket();
            return std::nullopt;
        }
    }
}

std::optional<std::array<double, 6>> parse_six(const std::string& answer) {
    std::istringstream in(answer);
    std::string ok;
    std::array<double, 6> v{};
    if (!(in >> ok) || ok != "ok") return std::nullopt;
    for (double& x : v)
        if (!(in >> x)) return std::nullopt;
    return v;
}

bool parse_tool_frame(const std::string& answer, int& tool, int& frame) {
    const size_t t = answer.find("tool=");
    const size_t f = answer.find("frame=");
    if (t == std::string::npos || f == std::string::npos) return false;
    return std::sscanf(answer.c_str() + t, "tool=%d", &tool) == 1 &&
           std::sscanf(answer.c_str() + f, "frame=%d", &frame) == 1;
}

}  // namespace pnio_sim::web
