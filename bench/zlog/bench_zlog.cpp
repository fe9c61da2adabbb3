// SPDX-License-Identifier: Apache-2.0
// Cost of logging on the caller's side: a do_log call that the filter rejects, one that
// is formatted and written, and a bare channel write (accepted, and refused when full).
// Single-threaded cases empty the channel themselves with the clock stopped, so every
// timed call takes the accepted path. The two-thread channel case leaves draining to a
// background thread, as the log server would; the "dropped" counter shows how many of its
// calls took the (cheaper) refusal path.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "qxutil/dualbuff.h"
#include "zlog/zlog_client.h"

namespace {

constexpr const char* BENCH_CHANNEL = "bench";

class BackgroundDrain {
public:
    BackgroundDrain()
        : thread_([this] {
              qxutil::DualBuffReader bench(BENCH_CHANNEL);
              std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
              while (!stop_.load()) {
                  if (bench.read(buf.data()) == 0) {
                      usleep(200);
                  }
              }
          }) {}
    ~BackgroundDrain() {
        stop_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

void reportDrops(benchmark::State& state, uint64_t before, uint64_t after) {
    state.counters["dropped"] = static_cast<double>(after - before);
}

void BM_DoLogFilteredOut(benchmark::State& state) {
    auto* log = zlog::ZLogClient::get();
    log->set_lv_filter(zlog::ZLogLvInfo);
    const std::string text = "\nfiltered debug line\n";
    for (auto _ : state) {
        log->do_log(zlog::ZLogLvDebug, "SRCI", __func__, __LINE__, text);
    }
}
BENCHMARK(BM_DoLogFilteredOut)->ThreadRange(1, 2);

// Empties a channel every `every` calls, with the clock stopped.
class InlineDrain {
public:
    InlineDrain(const char* channel, int64_t every)
        : reader_(channel), every_(every), buf_(qxutil::DUAL_BUFF_MAX_SIZE) {
        drainAll();  // leftovers of an earlier run would fill the half early
    }
    void tick(benchmark::State& state) {
        if (++count_ % every_ == 0) {
            state.PauseTiming();
            drainAll();
            state.ResumeTiming();
        }
    }

private:
    void drainAll() {
        while (reader_.read(buf_.data()) > 0) {
        }
    }
    qxutil::DualBuffReader reader_;
    int64_t every_;
    int64_t count_ = 0;
    std::vector<char> buf_;
};

// A record is about 130 bytes; 4096 of them fit comfortably in one half.
constexpr int64_t RECORDS_PER_DRAIN = 4096;

void BM_DoLogWritten(benchmark::State& state) {
    auto* log = zlog::ZLogClient::get();
    log->set_lv_filter(zlog::ZLogLvTrace);
    InlineDrain drain(zlog::ZLOG_SYS_CHANNEL, RECORDS_PER_DRAIN);
    const std::string text = "\nd1: 51, d2: 0 - a typical adapter line of modest length\n";
    uint64_t before = log->dropped();
    for (auto _ : state) {
        log->do_log(zlog::ZLogLvInfo, "SRCI", __func__, __LINE__, text);
        drain.tick(state);
    }
    reportDrops(state, before, log->dropped());
}
BENCHMARK(BM_DoLogWritten);

void BM_DoLogPrintfWritten(benchmark::State& state) {
    auto* log = zlog::ZLogClient::get();
    log->set_lv_filter(zlog::ZLogLvTrace);
    InlineDrain drain(zlog::ZLOG_SYS_CHANNEL, RECORDS_PER_DRAIN);
    uint64_t before = log->dropped();
    int i = 0;
    for (auto _ : state) {
        log->do_log(zlog::ZLogLvInfo, "SRCI", __func__, __LINE__, "\naxis %d at %.3f deg\n", ++i % 6, 12.5);
        drain.tick(state);
    }
    reportDrops(state, before, log->dropped());
}
BENCHMARK(BM_DoLogPrintfWritten);

// Errors go to two channels.
void BM_DoLogErrorWritten(benchmark::State& state) {
    auto* log = zlog::ZLogClient::get();
    log->set_lv_filter(zlog::ZLogLvTrace);
    InlineDrain sysDrain(zlog::ZLOG_SYS_CHANNEL, RECORDS_PER_DRAIN);
    InlineDrain errDrain(zlog::ZLOG_ERR_CHANNEL, RECORDS_PER_DRAIN);
    const std::string text = "\nfail to init controller: 7\n";
    uint64_t before = log->dropped();
    for (auto _ : state) {
        log->do_log(zlog::ZLogLvError, "SRCI", __func__, __LINE__, text);
        sysDrain.tick(state);
        errDrain.tick(state);
    }
    reportDrops(state, before, log->dropped());
}
BENCHMARK(BM_DoLogErrorWritten);

void BM_DualBuffWriterWrite(benchmark::State& state) {
    qxutil::DualBuffWriter writer(BENCH_CHANNEL);
    const std::string record(static_cast<size_t>(state.range(0)), 'r');
    InlineDrain drain(BENCH_CHANNEL, static_cast<int64_t>(qxutil::DUAL_BUFF_MAX_SIZE) / state.range(0));
    for (auto _ : state) {
        writer.write(record.data(), record.size());
        drain.tick(state);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
    reportDrops(state, 0, writer.dropped());
}
BENCHMARK(BM_DualBuffWriterWrite)->Arg(64)->Arg(256)->Arg(4096);

void BM_DualBuffWriterRefused(benchmark::State& state) {
    qxutil::DualBuffWriter writer(BENCH_CHANNEL);
    const std::string filler(qxutil::DUAL_BUFF_MAX_SIZE, 'f');
    while (writer.write(filler.data(), filler.size()) == 0) {
    }
    for (auto _ : state) {
        writer.write("x", 1);
    }
    qxutil::DualBuffReader reader(BENCH_CHANNEL);
    std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
    while (reader.read(buf.data()) > 0) {
    }
}
BENCHMARK(BM_DualBuffWriterRefused);

void BM_DualBuffWriterContended(benchmark::State& state) {
    static qxutil::DualBuffWriter writer(BENCH_CHANNEL);
    const std::string record(static_cast<size_t>(state.range(0)), 'r');
    uint64_t before = writer.dropped();
    for (auto _ : state) {
        writer.write(record.data(), record.size());
    }
    reportDrops(state, before, writer.dropped());
}

std::unique_ptr<BackgroundDrain> backgroundDrain;
void startBackgroundDrain(const benchmark::State&) { backgroundDrain = std::make_unique<BackgroundDrain>(); }
void stopBackgroundDrain(const benchmark::State&) { backgroundDrain.reset(); }
BENCHMARK(BM_DualBuffWriterContended)->Arg(128)->Threads(2)->Setup(startBackgroundDrain)->Teardown(stopBackgroundDrain);

}  // namespace

int main(int argc, char** argv) {
    // A private scope: benchmarking must not flood a log server running on this machine.
    qxutil::setShmScope("bench_zlog." + std::to_string(getpid()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const char* channel : {zlog::ZLOG_SYS_CHANNEL, zlog::ZLOG_ERR_CHANNEL, BENCH_CHANNEL}) {
        qxutil::removeChannel(channel);
    }
    return 0;
}
