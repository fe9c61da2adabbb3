// SPDX-License-Identifier: Apache-2.0
// srci_soak: runs the whole chain for minutes the way a production cell does (axis and linear
// moves back to back, a tool written every 10 s, the PLC reconnecting every 5 minutes) and records
// once a minute what could leak: memory, file descriptors and threads of srci_server and
// pnio-sim, and the log folder. Fails on growth beyond start-up, on a move that does not end
// Done, on a command that never becomes final, and on a log file over its size limit.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fault_chain.h"
#include "zlog/zlog_client.h"
#include "zlog/zlogsvr.h"

using namespace srci_test;
namespace fs = std::filesystem;

namespace {

struct ProcessStats {
    long rssKb = -1;
    int fds = -1;
    int threads = -1;
};

// Read from /proc; all -1 once the process is gone.
ProcessStats statsOf(pid_t pid) {
    ProcessStats s;
    const fs::path proc = fs::path("/proc") / std::to_string(pid);
    std::ifstream status(proc / "status");
    for (std::string line; std::getline(status, line);) {
        std::istringstream in(line.substr(line.find(':') + 1));
        if (line.rfind("VmRSS:", 0) == 0) in >> s.rssKb;
        if (line.rfind("Threads:", 0) == 0) in >> s.threads;
    }
    std::error_code ec;
    int fds = 0;
    for (fs::directory_iterator it(proc / "fd", ec), end; !ec && it != end; it.increment(ec)) ++fds;
    if (!ec) s.fds = fds;
    return s;
}

struct LogFolderStats {
    uint64_t totalBytes = 0;
    uint64_t largestBytes = 0;
    std::string overLimit;  // "name: size > limit" of the first file over its limit, or empty
};

struct Options {
    double minutes = 30;
    std::string csv = "soak.csv";
};

struct Sample {
    double minute = 0;
    ProcessStats server, pnio;
    LogFolderStats logs;
};

struct Counters {
    long moves = 0, movesNotDone = 0, neverFinal = 0, toolWrites = 0, toolWritesFailed = 0, reconnects = 0;
};

const srci_plc::Axes6 kJointStart{0, 10, 10, 0, 70, 0};
const srci_plc::Axes6 kLinearA{580, -60, 546.24, 180, 0, 0};
const srci_plc::Axes6 kLinearB{660, 60, 546.24, 180, 0, 0};

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::puts(
                "usage: srci_soak [--minutes N] [--csv FILE]\n"
                "Runs pnio-sim, srci_server and a PLC for N minutes (default 30) and writes one\n"
                "CSV row a minute. Run it where the process image keys 204/5001 are free.");
            std::exit(0);
        }
        if (i + 1 >= argc) return false;
        if (a == "--minutes") o.minutes = std::atof(argv[++i]);
        else if (a == "--csv") o.csv = argv[++i];
        else return false;
    }
    return o.minutes > 0;
}

void sessionStart(FaultChain& chain) {
    chain.connectPlc();
    if (!chain.commands->reset().ok()) throw std::runtime_error("GroupReset failed after connecting");
    if (!chain.commands->enable().enabled) throw std::runtime_error("the robot did not become enabled");
    if (!chain.commands->write_tool(1, {0, 0, 100, 0, 0, 0}).ok()) throw std::runtime_error("tool 1 not written");
}

void countMove(const srci_plc::CommandResult& r, Counters& c, const char* what) {
    ++c.moves;
    if (r.timed_out || !r.answered) ++c.neverFinal;
    else if (r.header.state != srci_plc::cmd_state::kDone) ++c.movesNotDone;
    else return;
    std::printf("soak: %s ended in state %d, code %u%s\n", what, r.header.state, r.header.code,
                r.timed_out ? " (never final)" : "");
}

// Rotated generations (bus.0, errorlog.1) have the limit of their live file.
uint64_t logLimit(const std::string& name) {
    return name.rfind(zlog::ZLOG_BUS_CHANNEL, 0) == 0 ? zlog::ZLOG_BUS_FILE_MAX_SIZE : zlog::ZLOG_FILE_MAX_SIZE;
}

Sample sample(const FaultChain& chain, double minute) {
    Sample s;
    s.minute = minute;
    s.server = statsOf(chain.server->pid());
    s.pnio = statsOf(chain.pnio->pid());
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(chain.dir.file("log"), ec)) {
        if (!entry.is_regular_file(ec)) continue;
        const uint64_t size = entry.file_size(ec);
        const std::string name = entry.path().filename();
        s.logs.totalBytes += size;
        s.logs.largestBytes = std::max(s.logs.largestBytes, size);
        if (s.logs.overLimit.empty() && size > logLimit(name))
            s.logs.overLimit = name + ": " + std::to_string(size) + " bytes > " + std::to_string(logLimit(name));
    }
    return s;
}

void writeRow(std::ofstream& csv, const Sample& s, const Counters& c) {
    csv << s.minute << ',' << s.server.rssKb << ',' << s.server.fds << ',' << s.server.threads << ',' << s.pnio.rssKb
        << ',' << s.pnio.fds << ',' << s.pnio.threads << ',' << s.logs.totalBytes << ',' << s.logs.largestBytes << ','
        << c.moves << ',' << c.movesNotDone << ',' << c.neverFinal << ',' << c.toolWrites << ',' << c.reconnects
        << '\n';
    csv.flush();
    std::printf(
        "soak: minute %5.1f  server rss %ld kB fds %d threads %d | pnio-sim rss %ld kB fds %d threads %d | "
        "log %llu B | moves %ld, tools %ld, reconnects %ld\n",
        s.minute, s.server.rssKb, s.server.fds, s.server.threads, s.pnio.rssKb, s.pnio.fds, s.pnio.threads,
        static_cast<unsigned long long>(s.logs.totalBytes), c.moves, c.toolWrites, c.reconnects);
    std::fflush(stdout);
}

// Memory may settle a little after start-up (allocator pools, log buffers); anything more is growth.
bool grew(const ProcessStats& base, const ProcessStats& now, const char* who, double minute) {
    const long rssSlackKb = std::max(4096L, base.rssKb / 10);
    bool bad = false;
    if (now.rssKb < 0 || now.fds < 0 || now.threads < 0) {
        std::printf("soak: %s is gone at minute %.1f\n", who, minute);
        return true;
    }
    if (now.rssKb > base.rssKb + rssSlackKb) {
        std::printf("soak: %s memory grew from %ld to %ld kB by minute %.1f\n", who, base.rssKb, now.rssKb, minute);
        bad = true;
    }
    if (now.fds > base.fds) {
        std::printf("soak: %s file descriptors grew from %d to %d by minute %.1f\n", who, base.fds, now.fds, minute);
        bad = true;
    }
    // One short-lived power worker may be running at the moment of a sample.
    if (now.threads > base.threads + 1) {
        std::printf("soak: %s threads grew from %d to %d by minute %.1f\n", who, base.threads, now.threads, minute);
        bad = true;
    }
    return bad;
}

}  // namespace

int main(int argc, char** argv) {
    Options opt;
    if (!parse(argc, argv, opt)) {
        std::fprintf(stderr, "srci_soak: bad arguments (try --help)\n");
        return 2;
    }
    std::ofstream csv(opt.csv);
    if (!csv) {
        std::fprintf(stderr, "srci_soak: cannot write %s\n", opt.csv.c_str());
        return 2;
    }
    csv << "minute,server_rss_kb,server_fds,server_threads,pnio_rss_kb,pnio_fds,pnio_threads,log_bytes,"
           "largest_log_bytes,moves,moves_not_done,never_final,tool_writes,reconnects\n";
    std::printf("soak: %.1f minutes, figures to %s\n", opt.minutes, opt.csv.c_str());

    Counters c;
    std::vector<Sample> samples;
    int failures = 0;
    try {
        FaultChain chain;
        sessionStart(chain);
        const long long start = nowMs();
        const auto minutes = [&] { return static_cast<double>(nowMs() - start) / 60000.0; };
        const long long end = start + static_cast<long long>(opt.minutes * 60000);
        // Every 5 minutes; a short run (CI's 2 minutes) still reconnects a few times.
        const long long reconnectEvery = std::clamp((end - start) / 4, 30000LL, 5 * 60000LL);
        long long nextSample = start, nextTool = start + 10000, nextReconnect = start + reconnectEvery;
        int tool = 2;
        while (true) {
            const long long now = nowMs();
            if (now >= nextSample || now >= end) {
                samples.push_back(sample(chain, minutes()));
                writeRow(csv, samples.back(), c);
                nextSample += 60000;
                if (now >= end) break;
            }
            if (now >= nextReconnect) {
                sessionStart(chain);
                ++c.reconnects;
                nextReconnect += reconnectEvery;
            }
            if (now >= nextTool) {
                const srci_plc::CommandResult r =
                    chain.commands->write_tool(tool, {1.0 * tool, 2, 100.0 + tool, 0, 0, 45});
                ++c.toolWrites;
                if (r.timed_out || !r.answered) ++c.neverFinal;
                else if (!r.ok()) ++c.toolWritesFailed;
                tool = tool == 15 ? 2 : tool + 1;  // tool 1 carries the moves
                nextTool += 10000;
            }
            countMove(chain.commands->move_axes(kJointStart, {{"vel", 40}, {"acc", 40}, {"tool", 1}}), c, "axis move");
            countMove(chain.commands->move_linear(kLinearA, {{"vel", 40}, {"acc", 40}, {"tool", 1}, {"frame", 0}}), c,
                      "linear move");
            countMove(chain.commands->move_linear(kLinearB, {{"vel", 40}, {"acc", 40}, {"tool", 1}, {"frame", 0}}), c,
                      "linear move");
        }
    } catch (const std::exception& e) {
        std::printf("soak: stopped early: %s\n", e.what());
        ++failures;
    }

    // Start-up is over after the first minute (the first sample of a short run).
    const size_t base = samples.size() > 2 ? 1 : 0;
    for (size_t i = base + 1; i < samples.size(); ++i) {
        failures += grew(samples[base].server, samples[i].server, "srci_server", samples[i].minute);
        failures += grew(samples[base].pnio, samples[i].pnio, "pnio-sim", samples[i].minute);
    }
    for (const Sample& s : samples)
        if (!s.logs.overLimit.empty()) {
            std::printf("soak: log file over its size limit at minute %.1f: %s\n", s.minute, s.logs.overLimit.c_str());
            ++failures;
            break;
        }
    failures += c.movesNotDone > 0 || c.neverFinal > 0 || c.toolWritesFailed > 0;
    std::printf(
        "soak: %ld moves (%ld not Done), %ld tool writes (%ld failed), %ld commands never final, "
        "%ld reconnects\n",
        c.moves, c.movesNotDone, c.toolWrites, c.toolWritesFailed, c.neverFinal, c.reconnects);
    std::printf("soak: %s\n", failures == 0 ? "passed" : "FAILED");
    return failures == 0 ? 0 : 1;
}
