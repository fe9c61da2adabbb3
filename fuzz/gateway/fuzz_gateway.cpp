// SPDX-License-Identifier: Apache-2.0
// Input: a byte stream cut into writes: one length byte, then that many bytes. One connection per
// input to a gateway that keeps running across inputs, so a client that vanishes mid-telegram is
// followed by the next one. A length byte of 0 ends the input with its connection left open: the
// next input's connection replaces it at the gateway, as a PLC that reconnects without closing.
// Whatever arrives, the gateway answers every complete telegram with exactly one telegram and
// never more.
// Run it in private IPC and network namespaces: it owns a process image under its own keys.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "pnio_sim/gateway.hpp"
#include "pnio_sim/process_image.hpp"

namespace {

constexpr int kShmKey = 0x46755A01;  // not the adapter's keys: never disturbs a running system
constexpr int kSemKey = 0x46755A02;
constexpr size_t kTelegram = 256;

volatile std::sig_atomic_t g_stop = 0;
uint16_t g_port = 0;
int g_leftOpen = -1;  // the connection an input left open, until the next input's has replaced it

void startGateway() {
    // Never destroyed: the serving thread runs until the process ends.
    static auto* image = new pnio_sim::ProcessImage(kShmKey, kSemKey, [](const std::string&) {});
    static auto* gateway = new pnio_sim::Gateway(*image, "127.0.0.1", 0, [](const std::string&) {});
    g_port = gateway->port();
    std::thread([] { gateway->run(g_stop, {}); }).detach();
}

// True with a whole answer, false when the gateway dropped the connection; a hang aborts.
bool readAnswer(int fd) {
    uint8_t buf[kTelegram];
    size_t got = 0;
    while (got < kTelegram) {
        const ssize_t r = ::recv(fd, buf + got, kTelegram - got, 0);
        if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            std::fprintf(stderr, "gateway did not answer a complete telegram within 5 s\n");
            std::abort();
        }
        if (r <= 0) return false;
        got += static_cast<size_t>(r);
    }
    return true;
}

// Waits until the gateway has closed its side. Nothing beyond one answer per telegram may
// arrive before. Closing ours only then matters: a next connection that reused this one's port
// while the gateway still held it would see its SYN ignored and retried a second later.
void awaitGatewayClose(int fd) {
    uint8_t extra;
    const ssize_t r = ::recv(fd, &extra, 1, 0);
    if (r > 0) {
        std::fprintf(stderr, "gateway sent more than one answer per telegram\n");
        std::abort();
    }
    if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        std::fprintf(stderr, "gateway did not close a finished or replaced connection within 5 s\n");
        std::abort();
    }
    ::close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    startGateway();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) std::abort();
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(g_port);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const int one = 1;  // small writes go out at once, as the fuzzer cut them
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) std::abort();
    size_t sent = 0;
    bool open = true, leaveOpen = false;
    while (size > 0 && open) {
        const size_t len = data[0];
        ++data;
        --size;
        if (len == 0) {
            leaveOpen = true;
            break;
        }
        const size_t n = len < size ? len : size;
        if (::send(fd, data, n, MSG_NOSIGNAL) != static_cast<ssize_t>(n)) break;
        data += n;
        size -= n;
        const size_t before = sent / kTelegram;
        sent += n;
        for (size_t t = before; t < sent / kTelegram && open; ++t) {
            // A dropped connection is a legitimate answer to junk.
            open = readAnswer(fd);
        }
    }
    if (open && leaveOpen) {
        if (g_leftOpen >= 0) awaitGatewayClose(g_leftOpen);
        g_leftOpen = fd;
        return 0;
    }
    if (open) {
        ::shutdown(fd, SHUT_WR);  // the gateway sees the end of this PLC and closes
        awaitGatewayClose(fd);
    } else {
        ::close(fd);
    }
    // The gateway took this input's connection, so it has dropped the one left open before.
    if (g_leftOpen >= 0) {
        awaitGatewayClose(g_leftOpen);
        g_leftOpen = -1;
    }
    return 0;
}
