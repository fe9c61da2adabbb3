// SPDX-License-Identifier: Apache-2.0
// Concurrency stress: many writers (threads of this process and a second process) against
// one drainer writing 1 MiB rotating files. Every record a writer was not told was dropped
// must come out exactly once, whole, and in its writer's order.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "qxutil/dualbuff.h"
#include "test_support.h"
#include "zlog/zlog_client.h"
#include "zlog/zlogsvr.h"

namespace {

namespace fs = std::filesystem;

constexpr int THREADS = 4;
constexpr int CHILD_WRITER = THREADS;  // the second process's writer id
constexpr uint32_t RECORDS = 20000;

// "@S <writer> <seq> <payload>": the payload derives from both, so a cut or mixed record shows.
std::string stressText(int writer, uint32_t seq) {
    std::string p(8 + (seq * 7u + static_cast<uint32_t>(writer)) % 48, ' ');
    for (size_t i = 0; i < p.size(); ++i) p[i] = static_cast<char>('a' + (seq + i * (writer + 1u)) % 26);
    return "@S " + std::to_string(writer) + " " + std::to_string(seq) + " " + p;
}

// Sequence numbers seen per writer, in the order found; lines without a whole record are damaged
// (a log header may precede the record).
struct StressTally {
    std::map<int, std::vector<uint32_t>> seen;
    size_t damaged = 0;
    void addText(const std::string& text) {
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            const size_t at = line.find("@S ");
            int writer = 0;
            unsigned seq = 0;
            if (at != std::string::npos && std::sscanf(line.c_str() + at, "@S %d %u", &writer, &seq) == 2 &&
                line.substr(at) == stressText(writer, seq))
                seen[writer].push_back(seq);
            else ++damaged;
        }
    }
};

// Returns the refused sequence numbers. The first half is paced so that a drainer can keep up;
// the second half is a burst that usually overruns it, so that refusals happen under contention.
std::vector<uint32_t> writeStressRecords(qxutil::DualBuffWriter& out, int writer, uint32_t count) {
    std::vector<uint32_t> dropped;
    for (uint32_t seq = 0; seq < count; ++seq) {
        const std::string rec = stressText(writer, seq) + "\n";
        if (out.write(rec.data(), rec.size()) != 0) dropped.push_back(seq);
        if (seq < count / 2 && seq % 100 == 99) usleep(100);
    }
    return dropped;
}

// Drains a channel on its own thread until stopped and nothing is left.
class Drainer {
public:
    template <typename Sink>
    Drainer(qxutil::DualBuffReader& reader, Sink sink)
        : thread_([this, &reader, sink]() mutable {
              std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
              for (;;) {
                  const bool stopping = stop_.load();
                  const int n = reader.read(buf.data());
                  if (n > 0) sink(buf.data(), static_cast<size_t>(n));
                  else if (stopping) return;
                  else usleep(5000);  // the log server's period
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

TEST(LogStress, ThreadsAndASecondProcessLoseNothingUnreported) {
    const char* channel = "stress";
    zlog_test::ShmScope scope{channel};
    zlog_test::TempDir dir;
    const std::string live = dir.file("stress.log");
    const std::string childResult = dir.file("child-dropped");
    // The second process is forked while this one has no other thread, attaches on its own and
    // starts writing when told to, alongside the threads below.
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        char start = 0;
        close(go[1]);
        if (read(go[0], &start, 1) != 1) _exit(3);
        qxutil::DualBuffWriter writer(channel);
        if (!writer.attached()) _exit(1);
        std::ofstream out(childResult);
        for (uint32_t seq : writeStressRecords(writer, CHILD_WRITER, RECORDS)) out << seq << "\n";
        out.close();
        _exit(out ? 0 : 2);
    }
    close(go[0]);
    // About 4.5 MB of records go into 1 MiB files. A file is only started for a block that
    // did not fit into the previous one, so any two neighbours hold more than 1 MiB together
    // and ten files are plenty. Keeping 64 generations means none is ever deleted during
    // the run (checked below), so every record must still be on disk.
    constexpr uint8_t GENERATIONS = 64;
    zlog::LogFile file(live.c_str(), zlog::ZLOG_FILE_MAX_SIZE, GENERATIONS);
    qxutil::DualBuffReader reader(channel);
    qxutil::DualBuffWriter sharedWriter(channel);  // one object for all threads, as the log client does

    Drainer drainer(reader, [&file](const char* data, size_t n) { file.write(data, n); });
    std::vector<std::vector<uint32_t>> dropped(THREADS + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] { dropped[t] = writeStressRecords(sharedWriter, t, RECORDS); });
    ASSERT_EQ(write(go[1], "g", 1), 1);
    close(go[1]);
    for (auto& th : threads) th.join();
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    drainer.finish();
    std::ifstream childDrops(childResult);
    for (uint32_t seq = 0; childDrops >> seq;) dropped[CHILD_WRITER].push_back(seq);

    ASSERT_FALSE(fs::exists(live + "." + std::to_string(GENERATIONS - 1))) << "a generation was deleted";
    StressTally tally;
    int generations = 0;
    while (fs::exists(live + "." + std::to_string(generations))) ++generations;
    for (int g = generations - 1; g >= 0; --g) tally.addText(zlog_test::readFile(live + "." + std::to_string(g)));
    tally.addText(zlog_test::readFile(live));

    EXPECT_EQ(tally.damaged, 0u);
    size_t threadDrops = 0, delivered = 0;
    for (int w = 0; w <= CHILD_WRITER; ++w) {
        const std::set<uint32_t> gone(dropped[w].begin(), dropped[w].end());
        std::vector<uint32_t> expected;
        for (uint32_t seq = 0; seq < RECORDS; ++seq)
            if (!gone.count(seq)) expected.push_back(seq);
        EXPECT_EQ(tally.seen[w], expected) << "writer " << w;
        delivered += tally.seen[w].size();
        threadDrops += w < THREADS ? dropped[w].size() : 0;
    }
    EXPECT_EQ(sharedWriter.dropped(), threadDrops);
    // Whatever the timing, the first megabyte lands in an empty half and is accepted.
    EXPECT_GT(delivered, qxutil::DUAL_BUFF_MAX_SIZE / 128);
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
                log->do_log(zlog::ZLogLvInfo, "STRESS", "worker", t, stressText(t, seq));
                if (seq < PER_THREAD / 2 && seq % 100 == 99) usleep(100);  // then a burst
            }
        });
    }
    for (auto& th : threads) th.join();
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
    EXPECT_EQ(seen + (log->dropped() - droppedBefore), static_cast<size_t>(THREADS) * PER_THREAD);
}

}  // namespace
