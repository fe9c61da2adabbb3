// SPDX-License-Identifier: Apache-2.0
// log_demo: runs the log server and a few busy log producers for a moment, then shows the
// files they produced. See --help.
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "qxutil/dualbuff.h"
#include "zlog/zlog_client.h"
#include "zlog/zlogsvr.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* RUN_DIR = "./log_demo_run";
constexpr int PRODUCERS = 3;

void printHelp(const char* self) {
    printf(
        "usage: %s [--seconds N] [--help]\n"
        "\n"
        "Shows the logging stack at work. Creates a fresh directory %s, starts the log\n"
        "server there (drained every 5 ms on a \"logsvr\" thread, as in the adapter), and lets\n"
        "%d threads log records at every level (error, warn, info, debug, trace) plus bus\n"
        "lines for N seconds (default 2), printing progress. Then it stops the server and\n"
        "lists the log files with their sizes: errorlog (errors and the start/end banners),\n"
        "rvodbg.log (everything), bus (rotates at 10 KiB into bus.0 and bus.1).\n"
        "\n"
        "The demo uses channels of its own (a private shm scope), so it neither reads nor\n"
        "disturbs the logs of an adapter running on the same machine.\n",
        self, RUN_DIR, PRODUCERS);
}

void produce(int id, const std::atomic<bool>& stop, std::atomic<uint64_t>& records) {
    auto* log = zlog::ZLogClient::get();
    qxutil::DualBuffWriter bus(zlog::ZLOG_BUS_CHANNEL);
    for (int n = 0; !stop.load(); ++n) {
        for (int level = zlog::ZLogLvError; level <= zlog::ZLogLvTrace; ++level) {
            log->do_log(level, "DEMO", __func__, __LINE__, "\nproducer %d, round %d, level %d\n", id, n, level);
        }
        char line[96];
        int len = snprintf(line, sizeof line, "bus frame producer=%d round=%d\n", id, n);
        bus.write(line, static_cast<size_t>(len));
        records.fetch_add(6);
        usleep(2000);
    }
}

void listFiles(const fs::path& dir) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(dir)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    printf("log files in %s:\n", fs::absolute(dir).lexically_normal().c_str());
    for (const auto& f : files) {
        printf("  %-14s %8ju bytes\n", f.filename().c_str(), static_cast<uintmax_t>(fs::file_size(f)));
    }
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = 2.0;
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--help") || !strcmp(argv[i], "-h")) {
            printHelp(argv[0]);
            return 0;
        }
        if (!strcmp(argv[i], "--seconds") && i + 1 < argc) {
            seconds = atof(argv[++i]);
            if (seconds > 0 && seconds <= 600) {
                continue;
            }
        }
        fprintf(stderr, "%s: bad argument '%s' (try --help)\n", argv[0], argv[i]);
        return 2;
    }

    std::error_code ec;
    fs::remove_all(RUN_DIR, ec);
    qxutil::setShmScope("log_demo." + std::to_string(getpid()));
    auto* log = zlog::ZLogClient::get();
    log->set_lv_filter(zlog::ZLogLvTrace);

    std::atomic<bool> stop{false};
    std::atomic<uint64_t> records{0};
    {
        zlog::ZLogSvr server(zlog::ZLOG_ERR_CHANNEL, zlog::ZLOG_SYS_CHANNEL, zlog::ZLOG_BUS_CHANNEL, RUN_DIR);
        std::atomic<bool> serverStop{false};
        std::thread drain([&] {
            pthread_setname_np(pthread_self(), "logsvr");
            while (!serverStop.load()) {
                server.update();
                usleep(5000);
            }
        });
        std::vector<std::thread> producers;
        for (int id = 0; id < PRODUCERS; ++id) {
            producers.emplace_back(produce, id, std::cref(stop), std::ref(records));
        }
        printf("logging from %d threads for %.1f s into %s/log/\n", PRODUCERS, seconds, RUN_DIR);
        const auto start = std::chrono::steady_clock::now();
        for (;;) {
            usleep(250000);
            double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            printf("  %.2f s: %ju records, %ju dropped\n", t, static_cast<uintmax_t>(records.load()),
                   static_cast<uintmax_t>(log->dropped()));
            fflush(stdout);
            if (t >= seconds) {
                break;
            }
        }
        stop = true;
        for (auto& p : producers) {
            p.join();
        }
        serverStop = true;
        drain.join();
    }  // the server writes its end banner and drains the rest here

    for (const char* channel : {zlog::ZLOG_ERR_CHANNEL, zlog::ZLOG_SYS_CHANNEL, zlog::ZLOG_BUS_CHANNEL}) {
        qxutil::removeChannel(channel);
    }
    listFiles(fs::path(RUN_DIR) / "log");
    return 0;
}
