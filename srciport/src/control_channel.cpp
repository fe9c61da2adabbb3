// SPDX-License-Identifier: Apache-2.0
#include "control_channel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <vector>

namespace srciport {

namespace {

struct Client {
    int fd = -1;
    std::string buf;
    bool discarding = false;  // inside an over-long line: drop bytes up to its newline
};

bool sendAll(int fd, const std::string& s) {
    size_t off = 0;
    while (off < s.size()) {
        const ssize_t n = ::send(fd, s.data() + off, s.size() - off, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        off += static_cast<size_t>(n);
    }
    return true;
}

bool printable(std::string_view line) {
    for (unsigned char c : line)
        if ((c < 0x20 && c != '\t') || c > 0x7e) return false;
    return true;
}

}  // namespace

bool ControlChannel::start(const std::string& path, Handler handler) {
    if (running()) return false;
    sockaddr_un addr{};
    if (path.empty() || path.size() >= sizeof addr.sun_path) return false;
    // Replace a socket left behind by an earlier run, but never another kind of file.
    struct stat st {};
    if (::lstat(path.c_str(), &st) == 0) {
        if (!S_ISSOCK(st.st_mode)) return false;
        ::unlink(path.c_str());
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    addr.sun_family = AF_UNIX;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    // The channel stops and starts the arm: owner only, whatever the umask. The mode is set
    // before listen(), so nobody can connect while the socket still has the umask's mode.
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        ::close(fd);
        return false;
    }
    if (::chmod(path.c_str(), 0600) != 0 || ::listen(fd, 4) != 0 || ::pipe2(wakeFd_, O_CLOEXEC) != 0) {
        ::close(fd);
        ::unlink(path.c_str());
        return false;
    }
    listenFd_ = fd;
    path_ = path;
    handler_ = std::move(handler);
    thread_ = std::thread([this] { serve(); });
    return true;
}

void ControlChannel::stop() {
    if (!running()) return;
    const char c = 'q';
    while (::write(wakeFd_[1], &c, 1) < 0 && errno == EINTR) {
    }
    thread_.join();
    ::close(listenFd_);
    ::close(wakeFd_[0]);
    ::close(wakeFd_[1]);
    listenFd_ = wakeFd_[0] = wakeFd_[1] = -1;
    ::unlink(path_.c_str());
}

void ControlChannel::serve() {
    std::vector<Client> clients;
    for (;;) {
        std::vector<pollfd> fds;
        fds.push_back({wakeFd_[0], POLLIN, 0});
        fds.push_back({listenFd_, POLLIN, 0});
        for (const Client& c : clients) fds.push_back({c.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[0].revents) break;
        // Only the clients that were polled; a new one is accepted below.
        const size_t polled = fds.size() - 2;
        for (size_t i = 0; i < polled; ++i) {
            Client& c = clients[i];
            const short ev = fds[i + 2].revents;
            if (!ev) continue;
            char buf[512];
            const ssize_t n = ::recv(c.fd, buf, sizeof buf, 0);
            bool drop = n <= 0 && !(n < 0 && errno == EINTR);
            for (ssize_t k = 0; k < n && !drop; ++k) {
                const char ch = buf[k];
                if (ch == '\n') {
                    std::string answer;
                    if (c.discarding) {
                        answer = "error: line too long";
                    } else {
                        if (!c.buf.empty() && c.buf.back() == '\r') c.buf.pop_back();
                        answer = printable(c.buf) ? handler_(c.buf) : "error: bad characters";
                    }
                    c.buf.clear();
                    c.discarding = false;
                    drop = !sendAll(c.fd, answer + "\n");
                } else if (!c.discarding) {
                    if (c.buf.size() >= kMaxLine) {
                        c.discarding = true;
                        c.buf.clear();
                    } else {
                        c.buf.push_back(ch);
                    }
                }
            }
            if (drop) {
                ::close(c.fd);
                c.fd = -1;
            }
        }
        std::erase_if(clients, [](const Client& c) { return c.fd < 0; });
        if (fds[1].revents & POLLIN) {
            const int cfd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
            if (cfd >= 0) {
                if (static_cast<int>(clients.size()) >= kMaxClients) {
                    sendAll(cfd, "error: too many clients\n");
                    ::close(cfd);
                } else {
                    // A client that never reads must not stall the channel for long.
                    const timeval limit{1, 0};
                    ::setsockopt(cfd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
                    clients.push_back({cfd, {}, false});
                }
            }
        }
    }
    for (Client& c : clients) ::close(c.fd);
}

}  // namespace srciport
