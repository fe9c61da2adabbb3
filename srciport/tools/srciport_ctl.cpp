// SPDX-License-Identifier: Apache-2.0
// srciport-ctl: sends one request line to the simulated arm's control channel and prints
// the answer.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

void usage(FILE* out) {
    std::fputs(
        "usage: srciport-ctl [--socket PATH] REQUEST...\n"
        "       srciport-ctl --help | --version\n"
        "Sends REQUEST (the words joined by spaces) as one line to the simulated arm's control\n"
        "socket (default ./srciport.sock) and prints the one-line answer.\n"
        "Exit status: 0 for an \"ok\" answer, 1 for an error answer, 2 when the socket fails.\n"
        "Requests: joints, pose, flags, queue, estop on|off, pstop on|off, error CODE,\n"
        "app on|off, profinet up|down, power-delay MS, enable-delay MS, power-refuse on|off,\n"
        "power-hang on|off, reset, help.\n",
        out);
}

}  // namespace

int main(int argc, char** argv) {
    std::string path = "srciport.sock";
    std::string line;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            usage(stdout);
            return 0;
        }
        if (a == "--version") {
            std::printf("srciport-ctl %s\n", SRCI_VERSION);
            return 0;
        }
        if (a == "--socket") {
            if (i + 1 >= argc) {
                usage(stderr);
                return 2;
            }
            path = argv[++i];
            continue;
        }
        if (!line.empty()) line += ' ';
        line += a;
    }
    if (line.empty()) {
        usage(stderr);
        return 2;
    }
    sockaddr_un addr{};
    if (path.size() >= sizeof addr.sun_path) {
        std::fprintf(stderr, "srciport-ctl: socket path too long\n");
        return 2;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    addr.sun_family = AF_UNIX;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        std::fprintf(stderr, "srciport-ctl: cannot connect to %s: %s\n", path.c_str(), std::strerror(errno));
        if (fd >= 0) ::close(fd);
        return 2;
    }
    line += '\n';
    if (::send(fd, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
        std::fprintf(stderr, "srciport-ctl: send failed\n");
        ::close(fd);
        return 2;
    }
    std::string answer;
    char c;
    while (answer.size() < 4096) {
        const ssize_t n = ::recv(fd, &c, 1, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0 || c == '\n') break;
        answer.push_back(c);
    }
    ::close(fd);
    std::printf("%s\n", answer.c_str());
    return answer.rfind("ok", 0) == 0 ? 0 : 1;
}
