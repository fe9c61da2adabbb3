// SPDX-License-Identifier: Apache-2.0
// What --trace adds to the gateway: a full lockstep round trip (client send, gateway copy through
// the process image, answer) without and with the recorder tapped in, and the recorder's own cost
// on the gateway thread (on_exchange alone). The process image uses private keys, so this runs
// next to a live pnio-sim.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <thread>

#include "pnio_sim/gateway.hpp"
#include "pnio_sim/process_image.hpp"
#include "pnio_sim/trace_recorder.hpp"

namespace {

const int kShmKey = 0x7A000000 | (getpid() & 0xFFFF);
const int kSemKey = 0x7B000000 | (getpid() & 0xFFFF);

std::string trace_path() { return "/tmp/bench_trace_" + std::to_string(getpid()) + ".pcapng"; }

struct Bridge {
    volatile std::sig_atomic_t stop = 0;
    pnio_sim::ProcessImage image{kShmKey, kSemKey, [](const std::string&) {}};
    pnio_sim::Gateway gateway{image, "127.0.0.1", 0, [](const std::string&) {}};
    std::unique_ptr<pnio_sim::TraceRecorder> recorder;
    std::thread thread;
    int fd = -1;

    explicit Bridge(bool traced) {
        if (traced) {
            recorder = std::make_unique<pnio_sim::TraceRecorder>(trace_path(), 0, [](const std::string&) {});
            gateway.add_tap(recorder.get());
        }
        thread = std::thread([this] { gateway.run(stop, {}); });
        fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(gateway.port());
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) throw std::runtime_error("connect");
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    ~Bridge() {
        ::close(fd);
        stop = 1;
        thread.join();
        recorder.reset();
        std::remove(trace_path().c_str());
    }
    void round_trip(uint8_t* tel) {
        if (::send(fd, tel, 256, 0) != 256) throw std::runtime_error("send");
        for (size_t got = 0; got < 256;) {
            const ssize_t n = ::recv(fd, tel + got, 256 - got, 0);
            if (n <= 0) throw std::runtime_error("recv");
            got += static_cast<size_t>(n);
        }
    }
};

void BM_RoundTrip(benchmark::State& state) {
    Bridge bridge(state.range(0) != 0);
    uint8_t tel[256] = {0x25};
    uint8_t life = 0;
    for (auto _ : state) {
        life = static_cast<uint8_t>(life % 15 + 1);
        tel[1] = life;
        tel[255] = life;
        bridge.round_trip(tel);
    }
    state.SetLabel(state.range(0) ? "with --trace" : "without --trace");
}
// On a shared machine the other processes add tens of microseconds of noise; the minimum over
// repetitions is the figure to compare.
BENCHMARK(BM_RoundTrip)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(20000)
    ->Repetitions(5)
    ->ComputeStatistics("min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); })
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

// Each iteration reports the mean of a batch of calls, then waits (untimed) for the writer thread
// to drain the queue, so every call really records instead of counting a skip.
void BM_TapOnExchange(benchmark::State& state) {
    constexpr int kBatch = 2000;
    pnio_sim::TraceRecorder recorder(trace_path(), 0, [](const std::string&) {});
    uint8_t a[256] = {}, b[256] = {};
    const auto now = std::chrono::system_clock::now();
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        for (int i = 0; i < kBatch; ++i) {
            a[1] = static_cast<uint8_t>(i);
            recorder.on_exchange({a, b, now, now});
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - t0;
        state.SetIterationTime(took.count() / kBatch);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    std::remove(trace_path().c_str());
}
BENCHMARK(BM_TapOnExchange)->Iterations(20)->UseManualTime()->Unit(benchmark::kNanosecond);

}  // namespace

BENCHMARK_MAIN();
