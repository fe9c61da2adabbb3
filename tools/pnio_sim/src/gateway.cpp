// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/gateway.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace pnio_sim {

namespace {

using Clock = std::chrono::steady_clock;

std::string errno_text(const std::string& what) { return what + ": " + std::strerror(errno); }

bool send_all(int fd, const uint8_t* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t n = ::send(fd, data + done, size - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

Gateway::Gateway(ProcessImage& image, const std::string& bind_address, uint16_t port, Log log)
    : image_(image), log_(std::move(log)) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    if (inet_pton(AF_INET, bind_address.c_str(), &addr.sin_addr) != 1)
        throw std::runtime_error("--bind: '" + bind_address + "' is not an IPv4 address");
    listen_fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listen_fd_ < 0) throw std::runtime_error(errno_text("socket"));
    const int one = 1;
    ::setsockopt(listen_fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (::bind(listen_fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(listen_fd_, 4) != 0) {
        const std::string err = errno_text("bind " + bind_address + ":" + std::to_string(port));
        ::close(listen_fd_);
        throw std::runtime_error(err);
    }
    socklen_t len = sizeof addr;
    ::getsockname(listen_fd_, reinterpret_cast<sockaddr*>(&addr), &len);
    port_ = ntohs(addr.sin_port);
    address_ = ntohl(addr.sin_addr.s_addr);
}

Gateway::~Gateway() {
    if (client_fd_ >= 0) ::close(client_fd_);
    if (listen_fd_ >= 0) ::close(listen_fd_);
}

void Gateway::run(const volatile std::sig_atomic_t& stop, const Tick& tick) {
    auto next_tick = Clock::now() + std::chrono::seconds(1);
    while (!stop) {
        int timeout_ms = 100;
        if (client_fd_ >= 0 && filled_ > 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(partial_since_ + kPartialTimeout - Clock::now());
            timeout_ms = static_cast<int>(std::max<long long>(0, std::min<long long>(timeout_ms, left.count())));
        }
        pollfd fds[2] = {{listen_fd_, POLLIN, 0}, {client_fd_, POLLIN, 0}};
        const int n = ::poll(fds, client_fd_ >= 0 ? 2 : 1, timeout_ms);
        if (n < 0 && errno != EINTR) throw std::runtime_error(errno_text("poll"));
        if (n > 0) {
            if (client_fd_ >= 0 && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) read_client();
            if (fds[0].revents & POLLIN) accept_client();
        }
        if (client_fd_ >= 0 && filled_ > 0 && Clock::now() - partial_since_ >= kPartialTimeout)
            drop_client("partial telegram (" + std::to_string(filled_) + " of 256 bytes) not completed within 200 ms");
        if (Clock::now() >= next_tick) {
            next_tick += std::chrono::seconds(1);
            if (tick) tick(stats_);
        }
    }
}

void Gateway::accept_client() {
    sockaddr_in peer{};
    socklen_t len = sizeof peer;
    const int fd = ::accept4(listen_fd_, reinterpret_cast<sockaddr*>(&peer), &len, SOCK_CLOEXEC);
    if (fd < 0) {
        if (errno != EINTR && errno != EAGAIN) log_(errno_text("accept"));
        return;
    }
    if (client_fd_ >= 0) drop_client("replaced by a new client");
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    timeval tv{0, 200000};  // a client that stops reading must not stall the gateway
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
    client_fd_ = fd;
    filled_ = 0;
    ++stats_.clients;
    stats_.connected = true;
    image_.set_connection_state(true);
    char ip[INET_ADDRSTRLEN] = "?";
    inet_ntop(AF_INET, &peer.sin_addr, ip, sizeof ip);
    const std::string who = "PLC client connected from " + std::string(ip) + ":" + std::to_string(ntohs(peer.sin_port));
    log_(who);
    for (TelegramTap* tap : taps_) tap->on_connection(true, who, std::chrono::system_clock::now());
}

void Gateway::read_client() {
    const ssize_t n = ::recv(client_fd_, buffer_ + filled_, kTelegramSize - filled_, MSG_DONTWAIT);
    if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (n <= 0) {
        drop_client(n == 0 ? "client disconnected" : errno_text("recv"));
        return;
    }
    // Only a telegram that arrives in pieces needs the clock for its deadline.
    if (filled_ == 0 && static_cast<size_t>(n) < kTelegramSize) partial_since_ = Clock::now();
    filled_ += static_cast<size_t>(n);
    if (filled_ < kTelegramSize) return;
    filled_ = 0;
    const auto received = taps_.empty() ? std::chrono::system_clock::time_point{} : std::chrono::system_clock::now();
    uint8_t answer[kTelegramSize];
    if (!image_.exchange(buffer_, answer)) {
        drop_client(errno_text("semaphore"));
        return;
    }
    stats_.plc_lifesign = buffer_[1] & 0x0F;
    stats_.robot_lifesign = answer[1] >> 4;
    if (!taps_.empty()) {
        const TapExchange exchange{buffer_, answer, received, std::chrono::system_clock::now()};
        for (TelegramTap* tap : taps_) tap->on_exchange(exchange);
    }
    if (!send_all(client_fd_, answer, kTelegramSize)) {
        drop_client(errno_text("send"));
        return;
    }
    ++stats_.telegrams;
}

void Gateway::drop_client(const std::string& why) {
    // Without a PLC the robot must see no lifesign. The image is cleaned before
    // the socket closes, so whoever sees the close also sees a clean image.
    image_.clear_plc_output();
    image_.set_connection_state(false);
    log_("PLC client dropped: " + why);
    for (TelegramTap* tap : taps_) tap->on_connection(false, why, std::chrono::system_clock::now());
    ::close(client_fd_);
    client_fd_ = -1;
    filled_ = 0;
    stats_.connected = false;
    stats_.plc_lifesign = 0;
}

}  // namespace pnio_sim
