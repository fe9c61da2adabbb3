// SPDX-License-Identifier: Apache-2.0
// Concurrency stress: many writers (threads of this process and a second process) against
// one drainer writing 1 MiB rotating files. Every record a writer was not told was dropped
// must come out exactly once, whole, and in its writer's order.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qxutil/dualbuff.h"
#include "stress_record.h"
#include "test_support.h"
#include "zlog/zlog_client.h"
#include "zlog/zlogsvr.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using zlog_test::StressTally;

constexpr int THREADS = 4;
constexpr int CHILD_WRITER = THREADS;  // the second process's writer id
constexpr uint32_t RECORDS = 20000;

// Drains a channel on its own thread until stopped and nothing is left.
class Drainer {
public:
    template <typename Sink>
    Drainer(qxutil::DualBuffReader& reader, Sink sink)
        : thread_([this, &reader, sink]() mutable {
              std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
              for (;;) {
                  bool stopping = stop_.load();
                  int n = reader.read(buf.data());
                  if (n > 0) {
                      sink(buf.data(), static_cast<size_t>(n));
                  } else if (stopping) {
                      return;
                  } else {
                      usleep(5000);  // the log server's period
                  }
              }
          }) {}
    // Call once every writer has finished.
    void finish() {
        stop_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

pid_t spawnChildWriter(const std::string& scope, const char* channel, const std::string& resultFile) {
    std::string id = std::to_string(CHILD_WRITER);
    std::string count = std::to_string(RECORDS);
    std::vector<char*> argv = {const_cast<char*>(ZLOG_STRESS_WRITER),
                               const_cast<char*>(scope.c_str()),
                               const_cast<char*>(channel),
                               id.data(),
                               count.data(),
                               const_cast<char*>(resultFile.c_str()),
                               nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, ZLOG_STRESS_WRITER, nullptr, nullptr, argv.data(), environ) != 0) {
        return -1;
    }
    return pid;
}

std::vector<uint32_t> readDroppedList(const fs::path& path) {
    std::vector<uint32_t> seqs;
    std::ifstream in(path);
    for (uint32_t seq = 0; in >> seq;) {
        seqs.push_back(seq);
    }
    return seqs;
}

// Every sequence number below RECORDS that is not in dropped, ascending.
std::vector<uint32_t> expectedSeqs(const std::vector<uint32_t>& dropped) {
    std::set<uint32_t> gone(dropped.begin(), dropped.end());
    std::vector<uint32_t> out;
    for (uint32_t seq = 0; seq < RECORDS; ++seq) {
        if (!gone.count(seq)) {
            out.push_back(seq);
        }
    }
    return out;
}

TEST(LogStress, ThreadsAndASecondProcessLoseNothingUnreported) {
    const char* channel = "stress";
    zlog_test::ShmScope scope{channel};
    zlog_test::TempDir dir;
    const std::string live = (dir.path() / "stress.log").string();
    // About 4.5 MB of records go into 1 MiB files. A file is only started for a block that
    // did not fit into the previous one, so any two neighbours hold more than 1 MiB together
    // and ten files are plenty. Keeping 64 generations means none is ever deleted during
    // the run (checked below), so every record must still be on disk.
    constexpr uint8_t GENERATIONS = 64;
    zlog::LogFile file(live.c_str(), zlog::ZLOG_FILE_MAX_SIZE, GENERATIONS);
    qxutil::DualBuffReader reader(channel);
    qxutil::DualBuffWriter sharedWriter(channel);  // one object for all threads, as the log client does

    const auto started = std::chrono::steady_clock::now();
    Drainer drainer(reader, [&file](const char* data, size_t n) { file.write(data, n); });
    const fs::path childResult = dir.path() / "child-dropped";
    pid_t child = spawnChildWriter(scope.name(), channel, childResult.string());
    ASSERT_GT(child, 0);

    std::vector<std::vector<uint32_t>> dropped(THREADS + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] { dropped[t] = zlog_test::writeStressRecords(sharedWriter, t, RECORDS); });
    }
    for (auto& th : threads) {
        th.join();
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    drainer.finish();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    dropped[CHILD_WRITER] = readDroppedList(childResult);

    ASSERT_FALSE(fs::exists(live + "." + std::to_string(GENERATIONS - 1))) << "a generation was deleted";
    StressTally tally;
    int generations = 0;
    while (fs::exists(live + "." + std::to_string(generations))) {
        ++generations;
    }
    for (int g = generations - 1; g >= 0; --g) {
        tally.addText(zlog_test::readFile(live + "." + std::to_string(g)));
    }
    tally.addText(zlog_test::readFile(live));

    EXPECT_EQ(tally.damaged, 0u);
    size_t threadDrops = 0;
    size_t delivered = 0;
    for (int w = 0; w <= CHILD_WRITER; ++w) {
        EXPECT_EQ(tally.seen[w], expectedSeqs(dropped[w])) << "writer " << w;
        delivered += tally.seen[w].size();
        threadDrops += w < THREADS ? dropped[w].size() : 0;
        std::cout << "writer " << w << ": dropped " << dropped[w].size() << " of " << RECORDS << "\n";
    }
    EXPECT_EQ(sharedWriter.dropped(), threadDrops);
    // Whatever the timing, the first megabyte lands in an empty half and is accepted.
    EXPECT_GT(delivered, qxutil::DUAL_BUFF_MAX_SIZE / 128);
    std::cout << "rotated files: " << generations << ", seconds: " << seconds << "\n";
}

TEST(LogStress, ClientFromManyThreadsKeepsRecordsWholeAndCounted) {
    zlog_test::ShmScope scope{zlog::ZLOG_SYS_CHANNEL, zlog::ZLOG_ERR_CHANNEL};
    zlog::ZLogClient* log = zlog::ZLogClient::get();
    log->reopen_channels();  // the threads below race to attach
    log->set_lv_filter(zlog::ZLogLvTrace);
    qxutil::DualBuffReader reader(zlog::ZLOG_SYS_CHANNEL);
    std::string collected;
    Drainer drainer(reader, [&collected](const char* data, size_t n) { collected.append(data, n); });

    const uint64_t droppedBefore = log->dropped();
    constexpr uint32_t PER_THREAD = RECORDS / THREADS;
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([log, t] {
            for (uint32_t seq = 0; seq < PER_THREAD; ++seq) {
                log->do_log(zlog::ZLogLvInfo, "STRESS", "worker", t, zlog_test::stressText(t, seq));
                if (seq < PER_THREAD / 2 && seq % 100 == 99) {  // then a burst
                    usleep(100);
                }
            }
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    drainer.finish();
    log->reopen_channels();

    StressTally tally;
    tally.addText(collected);
    EXPECT_EQ(tally.damaged, 0u);
    size_t seen = 0;
    for (const auto& [writer, seqs] : tally.seen) {
        EXPECT_TRUE(std::is_sorted(seqs.begin(), seqs.end()) &&
                    std::adjacent_find(seqs.begin(), seqs.end()) == seqs.end())
            << "writer " << writer << " out of order or repeated";
        seen += seqs.size();
    }
    const uint64_t dropped = log->dropped() - droppedBefore;
    EXPECT_EQ(seen + dropped, static_cast<size_t>(THREADS) * PER_THREAD);
    std::cout << "client records dropped: " << dropped << "\n";
}

}  // namespace
