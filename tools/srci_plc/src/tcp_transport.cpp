// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

#include <chrono>

#include "srci_plc/transport.hpp"

namespace srci_plc {

namespace {

std::string errno_text(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

}  // namespace

TcpTransport::TcpTransport(const std::string& host, uint16_t port, int answer_timeout_ms)
    : timeout_ms_(answer_timeout_ms) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* res = nullptr;
    const std::string service = std::to_string(port);
    if (const int rc = getaddrinfo(host.c_str(), service.c_str(), &hints, &res); rc != 0)
        throw TransportError("cannot resolve " + host + ": " + gai_strerror(rc));
    std::string last_error = "no address";
    bool refused = false;
    for (addrinfo* ai = res; ai != nullptr; ai = ai->ai_next) {
        const int fd = ::socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC, ai->ai_protocol);
        if (fd < 0) {
            last_error = errno_text("socket");
            continue;
        }
        if (::connect(fd, ai->ai_addr, ai->ai_addrlen) == 0) {
            fd_ = fd;
            break;
        }
        refused = refused || errno == ECONNREFUSED;
        last_error = errno_text("connect");
        ::close(fd);
    }
    freeaddrinfo(res);
    if (fd_ < 0 && refused) throw TransportError("nothing listens on " + host + ":" + service + ": start pnio-sim");
    if (fd_ < 0) throw TransportError("cannot connect to " + host + ":" + service + " (" + last_error + ")");
    const int one = 1;
    ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

TcpTransport::~TcpTransport() {
    if (fd_ >= 0) ::close(fd_);
}

void TcpTransport::exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) {
    send(tx);
    receive(rx);
}

void TcpTransport::send(const std::vector<uint8_t>& tx) {
    size_t done = 0;
    while (done < tx.size()) {
        const ssize_t n = ::send(fd_, tx.data() + done, tx.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw TransportError(errno_text("send"));
        done += static_cast<size_t>(n);
    }
}

void TcpTransport::receive(std::vector<uint8_t>& rx) {
    // Usually the answer has been waiting since the last period: take it without a poll.
    size_t done = 0;
    const ssize_t first = ::recv(fd_, rx.data(), rx.size(), MSG_DONTWAIT);
    if (first == 0 && !rx.empty()) throw TransportError("connection closed by the gateway");
    if (first > 0) done = static_cast<size_t>(first);
    else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) throw TransportError(errno_text("recv"));
    using clock = std::chrono::steady_clock;
    const auto deadline = clock::now() + std::chrono::milliseconds(timeout_ms_);
    while (done < rx.size()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock::now()).count();
        if (left <= 0) throw TransportError("no complete answer within " + std::to_string(timeout_ms_) + " ms");
        pollfd p{fd_, POLLIN, 0};
        const int pr = ::poll(&p, 1, static_cast<int>(left));
        if (pr < 0 && errno == EINTR) continue;
        if (pr < 0) throw TransportError(errno_text("poll"));
        if (pr == 0) continue;
        const ssize_t n = ::recv(fd_, rx.data() + done, rx.size() - done, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) throw TransportError("connection closed by the gateway");
        if (n < 0) throw TransportError(errno_text("recv"));
        done += static_cast<size_t>(n);
    }
}

}  // namespace srci_plc
