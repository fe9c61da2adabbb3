// SPDX-License-Identifier: Apache-2.0
// cycle_bench: measures the running adapter's 4 ms main loop against a loop that only sleeps
// 4 ms, both recorded by the preloaded cycle recorder in the same run. `make bench-cycle` runs it
// in private namespaces; see the README's benchmark section for the parameters.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cycle_report.h"
#include "cycle_stats.h"
#include "processes.h"
#include "srci_plc/client.hpp"
#include "srci_plc/command_catalog.hpp"
#include "srci_plc/status_word.hpp"

namespace fs = std::filesystem;
using namespace cycle_bench;

namespace {

constexpr int kPort = 5000;

struct Options {
    std::string out = "bench-results";
    double phaseSeconds = 125;  // 30 000 cycles of a little over 4 ms
    double cpuSeconds = 60;
    double rssMinutes = 10;
    int latencyMoves = 50;
    std::vector<int> scale = {8, 16, 32, 48};
    double scaleSeconds = 60;
    std::string dir;  // stack mode: its working directory
    std::string server = SRCI_SERVER_PATH;
    std::string pnioSim = PNIO_SIM_PATH;
};

std::vector<int> parseList(const std::string& s) {
    std::vector<int> v;
    std::istringstream in(s);
    std::string item;
    while (std::getline(in, item, ','))
        if (!item.empty()) v.push_back(std::atoi(item.c_str()));
    return v;
}

const char* kHelp = R"(cycle_bench - timing of the running adapter's main loop

Usage: cycle_bench run [--out DIR] [--phase-seconds S] [--cpu-seconds S] [--rss-minutes M]
                       [--latency-moves N] [--scale N,N,...|none] [--scale-seconds S] [--quick]
       cycle_bench stack --dir DIR --seconds S     (one stack of the scale run)

Run it as root inside private IPC/network/mount namespaces (make bench-cycle does): it starts
pnio-sim on port 5000 and srci_server with the fixed process-image keys, and the scale run
starts every further stack in namespaces of its own.
  --phase-seconds  length of each scenario: idle, moves, writes, idle beside two CPU hogs (125)
  --cpu-seconds    the idle scenario lasts at least this long; CPU per thread is taken over it (60)
  --rss-minutes    RSS is taken after start and again this long after it (10)
  --latency-moves  moves for the telegram -> IsMoving latency, 1 ms client (50)
  --scale          stack counts of the scale run (8,16,32,48); none skips it
  --scale-seconds  length of each scale step (60)
  --quick          10 s scenarios, 10 latency moves, no RSS wait, scale 8 for 10 s
  --server PATH, --pnio-sim PATH   other builds of the two programs, to compare before and after
Writes DIR/cycle.md and DIR/cycle-*.png.
)";

bool parse(int argc, char** argv, Options& o) {
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        const auto value = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
        if (a == "--out") o.out = value();
        else if (a == "--phase-seconds") o.phaseSeconds = std::atof(value().c_str());
        else if (a == "--cpu-seconds") o.cpuSeconds = std::atof(value().c_str());
        else if (a == "--rss-minutes") o.rssMinutes = std::atof(value().c_str());
        else if (a == "--latency-moves") o.latencyMoves = std::atoi(value().c_str());
        else if (a == "--scale") {
            const std::string v = value();
            o.scale = v == "none" ? std::vector<int>{} : parseList(v);
        } else if (a == "--scale-seconds" || a == "--seconds") o.scaleSeconds = std::atof(value().c_str());
        else if (a == "--dir") o.dir = value();
        else if (a == "--server") o.server = value();
        else if (a == "--pnio-sim") o.pnioSim = value();
        else if (a == "--quick") {
            o.phaseSeconds = 10;
            o.cpuSeconds = 10;
            o.rssMinutes = 0;
            o.latencyMoves = 10;
            o.scale = {8};
            o.scaleSeconds = 10;
        } else {
            std::fprintf(stderr, "cycle_bench: unknown argument %s\n%s", a.c_str(), kHelp);
            return false;
        }
    }
    return true;
}

const srci_plc::CommandDef& command(const char* name) {
    const srci_plc::CommandDef* d = srci_plc::find_command(name);
    if (!d) throw std::runtime_error(std::string("no command ") + name);
    return *d;
}

// One adapter stack: pnio-sim and the recorded srci_server in `dir`.
struct Stack {
    pid_t pnio = -1, server = -1;
    std::string dir;

    void start(const std::string& root, const Options& o) {
        dir = root;
        fs::remove_all(dir);
        fs::create_directories(dir + "/adapter");
        pnio = spawn({o.pnioSim, "--no-status", "--port", std::to_string(kPort)}, dir, dir + "/pnio-sim.out");
        if (!waitForPort(kPort, 10000))
            throw std::runtime_error("pnio-sim does not listen (see " + dir + "/pnio-sim.out)");
        server = spawn({o.server}, dir + "/adapter", dir + "/adapter/srci_server.out",
                       {std::string("LD_PRELOAD=") + CYCLE_RECORDER_PATH});
    }
    void stopAll() {
        stop(server, SIGKILL);  // the adapter has no orderly shutdown
        stop(pnio, SIGTERM);
        server = pnio = -1;
    }
};

// Connects a client, retrying while the adapter is still starting.
std::unique_ptr<srci_plc::Client> connectClient(std::unique_ptr<srci_plc::TcpTransport>& transport, int cycleMs,
                                                bool answerAtOnce = false) {
    srci_plc::ClientOptions opt;
    opt.cycle_ms = cycleMs;
    opt.answer_at_once = answerAtOnce;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (;;) {
        try {
            transport = std::make_unique<srci_plc::TcpTransport>("127.0.0.1", kPort, 2000);
            auto client = std::make_unique<srci_plc::Client>(*transport, opt);
            client->connect();
            return client;
        } catch (const std::exception& e) {
            if (std::chrono::steady_clock::now() > end)
                throw std::runtime_error(std::string("no SRCI link: ") + e.what());
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    }
}

void enable(srci_plc::Client& c) {
    c.execute(command("reset"), {}, srci_plc::WaitFor::Final, 5000);
    const auto r = c.execute(command("enable"), {}, srci_plc::WaitFor::Enabled, 30000);
    if (!r.enabled) throw std::runtime_error("the robot does not enable");
}

srci_plc::ParamValues moveTo(double j1) {
    return {{"j1", j1}, {"j2", 0}, {"j3", 0}, {"j4", 0}, {"j5", 90}, {"j6", 0}, {"vel", 100}, {"acc", 100}};
}

void progress(const char* what, double seconds) {
    std::printf("cycle_bench: %s (%.0f s)\n", what, seconds);
    std::fflush(stdout);
}

Phase phase(const char* key, const char* title, uint64_t from) { return {key, title, from, monotonicNs()}; }

void runMoves(srci_plc::Client& c, double seconds) {
    const uint64_t end = monotonicNs() + static_cast<uint64_t>(seconds * 1e9);
    for (int k = 0; monotonicNs() < end; ++k) {
        const auto r = c.execute(command("move-axes"), moveTo(k % 2 ? 5 : 0), srci_plc::WaitFor::Final, 30000);
        if (!r.ok()) throw std::runtime_error("a move failed during the moves scenario");
    }
}

void runWrites(srci_plc::Client& c, double seconds) {
    const uint64_t end = monotonicNs() + static_cast<uint64_t>(seconds * 1e9);
    for (int k = 0; monotonicNs() < end; ++k) {
        const double v = k % 7;
        srci_plc::CommandResult r;
        switch (k % 3) {
            case 0:
                r = c.execute(command("write-tool"), {{"tool", 1}, {"z", 100 + v}}, srci_plc::WaitFor::Final, 10000);
                break;
            case 1:
                r = c.execute(command("write-frame"), {{"frame", 1}, {"x", 10 + v}}, srci_plc::WaitFor::Final, 10000);
                break;
            default:
                r = c.execute(command("write-load"), {{"load", 1}, {"mass", 1 + v}}, srci_plc::WaitFor::Final, 10000);
                break;
        }
        if (!r.ok()) throw std::runtime_error("a write failed during the writes scenario");
    }
}

// From the send of the telegram that carries the move to the client's reading of the first answer
// with IsMoving. Read at once, that answer is the robot's own moment; read at the next period, as a
// PLC task that wakes once per cycle does, it comes a period later.
std::vector<double> measureLatency(int moves, bool answerAtOnce) {
    std::unique_ptr<srci_plc::TcpTransport> t;
    auto c = connectClient(t, 1, answerAtOnce);
    enable(*c);
    // From a known start, so that no move is a no-op that never moves.
    c->execute(command("move-axes"), moveTo(0), srci_plc::WaitFor::Final, 30000);
    std::vector<double> ms;
    for (int k = 0; k < moves; ++k) {
        const uint16_t id = c->submit(command("move-axes"), moveTo(k % 2 ? 0 : 5));
        c->cycle();  // the move rides in this telegram
        const auto t0 = c->last_sent_at();
        const auto giveUp = t0 + std::chrono::seconds(10);
        while (!srci_plc::decode_status_word(c->last_telegram().status).is_moving) {
            if (std::chrono::steady_clock::now() > giveUp) throw std::runtime_error("a move never reported IsMoving");
            c->cycle();
        }
        ms.push_back(std::chrono::duration<double, std::milli>(c->last_answer_at() - t0).count());
        c->wait(id, srci_plc::WaitFor::Final, 30000);
    }
    return ms;
}

// The adapter names only some of its threads; the others are told apart by their start order:
// the control channel starts with the simulated arm before main, the EDK log relay after "logsvr".
std::string threadLabel(pid_t pid, const std::string& key, long logsvrTid) {
    const long tid = std::atol(key.c_str());
    const std::string name = key.substr(key.find(' ') + 1);
    if (tid == pid) return "main loop";
    if (name == "logsvr" || name == "simarm" || logsvrTid < 0 || name != "srci_server") return name;
    return tid > logsvrTid ? "EDK log relay" : "control channel";
}

std::vector<ThreadCpu> cpuShare(const std::string& process, pid_t pid, const std::map<std::string, double>& a,
                                const std::map<std::string, double>& b, double seconds) {
    long logsvr = -1;
    for (const auto& [key, v] : b)
        if (key.find(" logsvr") != std::string::npos) logsvr = std::atol(key.c_str());
    std::vector<ThreadCpu> out;
    for (const auto& [key, end] : b) {
        const auto it = a.find(key);
        out.push_back(
            {process, threadLabel(pid, key, logsvr), 100.0 * (end - (it == a.end() ? 0 : it->second)) / seconds});
    }
    return out;
}

// A complete idle stack for the scale run: adapter, pnio-sim and a client holding the link.
int runStack(const Options& o) {
    Stack s;
    s.start(o.dir, o);
    std::unique_ptr<srci_plc::TcpTransport> t;
    int rc = 0;
    try {
        auto c = connectClient(t, 4);
        const uint64_t from = monotonicNs();
        c->run_for(static_cast<int>(o.scaleSeconds * 1000));
        std::ofstream(o.dir + "/window.txt") << from << " " << monotonicNs() << "\n";
    } catch (const std::exception& e) {
        std::fprintf(stderr, "cycle_bench stack %s: %s\n", o.dir.c_str(), e.what());
        rc = 1;
    }
    s.stopAll();
    return rc;
}

ScaleRow runScaleStep(const Options& o, int n, const std::string& self) {
    ScaleRow row;
    row.stacks = n;
    const std::string root = fs::absolute(o.out + "/cycle-scale/n" + std::to_string(n)).string();
    fs::remove_all(root);
    fs::create_directories(root + "/baseline");
    const pid_t base = spawn({CYCLE_BASELINE_PATH}, root + "/baseline", root + "/baseline/out.txt",
                             {std::string("LD_PRELOAD=") + CYCLE_RECORDER_PATH});
    std::vector<pid_t> stacks;
    const std::string seconds = std::to_string(o.scaleSeconds);
    for (int i = 0; i < n; ++i) {
        const std::string dir = root + "/stack" + std::to_string(i);
        fs::create_directories(dir);
        stacks.push_back(spawn({"unshare", "--ipc", "--net", "--mount", "--fork", "--kill-child", "--", "/bin/sh", "-c",
                                "ip link set lo up && mount -t tmpfs tmpfs /dev/shm && exec \"$0\" stack --dir \"$1\" "
                                "--seconds \"$2\" --server \"$3\" --pnio-sim \"$4\"",
                                self, dir + "/run", seconds, o.server, o.pnioSim},
                               dir, dir + "/stack.out"));
    }
    for (pid_t p : stacks) stop(p, 0);  // signal 0: only reaps; each stack ends after its window
    stop(base, SIGKILL);
    const auto baseRecords = loadRecords(root + "/baseline/" + kRecordFile);
    uint64_t lo = UINT64_MAX, hi = 0;
    for (int i = 0; i < n; ++i) {
        const std::string dir = root + "/stack" + std::to_string(i) + "/run";
        std::ifstream w(dir + "/window.txt");
        uint64_t from = 0, to = 0;
        if (!(w >> from >> to)) {
            ++row.failed;
            continue;
        }
        lo = std::min(lo, from);
        hi = std::max(hi, to);
        const WindowStats s = windowStats(loadRecords(dir + "/adapter/" + kRecordFile), from, to);
        row.p99s.push_back(s.deviation.p99);
    }
    if (hi > lo) row.baselineP99 = windowStats(baseRecords, lo, hi).deviation.p99;
    return row;
}

int runAll(const Options& o, const std::string& self) {
    fs::create_directories(o.out);
    Report rep;
    rep.machine = machineDescription();
    rep.parameters = o.phaseSeconds;
    const std::string root = fs::absolute(o.out + "/cycle-run").string();
    Stack s;
    s.start(root, o);
    fs::create_directories(root + "/baseline");
    const pid_t base = spawn({CYCLE_BASELINE_PATH}, root + "/baseline", root + "/baseline/out.txt",
                             {std::string("LD_PRELOAD=") + CYCLE_RECORDER_PATH});
    int rc = 0;
    std::vector<pid_t> hogs;  // stopped on every way out, a failed scenario included
    try {
        std::unique_ptr<srci_plc::TcpTransport> t;
        auto c = connectClient(t, 4);
        enable(*c);
        const uint64_t runStart = monotonicNs();
        rep.rssStartKiB = rssKiB(s.server);

        const double idle = std::max(o.phaseSeconds, o.cpuSeconds);
        progress("(a) idle link, CPU per thread", idle);
        const auto srvA = threadCpuSeconds(s.server), pnioA = threadCpuSeconds(s.pnio), baseA = threadCpuSeconds(base);
        const double clientA = ownThreadCpuSeconds();
        uint64_t from = monotonicNs();
        c->run_for(static_cast<int>(idle * 1000));
        rep.phases.push_back(phase("a", "(a) idle link", from));
        const double took = static_cast<double>(rep.phases.back().toNs - from) / 1e9;
        rep.cpu = cpuShare("srci_server", s.server, srvA, threadCpuSeconds(s.server), took);
        for (auto& x : cpuShare("pnio-sim", s.pnio, pnioA, threadCpuSeconds(s.pnio), took)) rep.cpu.push_back(x);
        rep.cpu.push_back(
            {"PLC client", "holding the link (library, 4 ms)", 100.0 * (ownThreadCpuSeconds() - clientA) / took});
        rep.cpuSeconds = took;
        double baseSeconds = 0;
        for (const auto& [thread, end] : threadCpuSeconds(base)) {
            const auto start = baseA.find(thread);
            baseSeconds += end - (start == baseA.end() ? 0 : start->second);
        }
        rep.baselineCpuPercent = 100.0 * baseSeconds / took;

        progress("(b) back-to-back moves", o.phaseSeconds);
        from = monotonicNs();
        runMoves(*c, o.phaseSeconds);
        rep.phases.push_back(phase("b", "(b) back-to-back moves", from));

        progress("(c) tool/frame/load writes", o.phaseSeconds);
        from = monotonicNs();
        runWrites(*c, o.phaseSeconds);
        rep.phases.push_back(phase("c", "(c) tool/frame/load writes", from));

        progress("(d) idle beside two CPU-bound processes", o.phaseSeconds);
        hogs = {spawnHog(), spawnHog()};
        from = monotonicNs();
        c->run_for(static_cast<int>(o.phaseSeconds * 1000));
        rep.phases.push_back(phase("d", "(d) idle beside two CPU-bound processes", from));
        for (pid_t& h : hogs) stop(std::exchange(h, -1), SIGKILL);

        progress("telegram -> IsMoving with a 1 ms client, answers read at once and a period later",
                 o.latencyMoves * 0.6);
        c.reset();
        t.reset();
        rep.latencyMs = measureLatency(o.latencyMoves, true);
        rep.latencyNextPeriodMs = measureLatency(o.latencyMoves, false);

        const double waitLeft = o.rssMinutes * 60 - static_cast<double>(monotonicNs() - runStart) / 1e9;
        if (waitLeft > 0) {
            progress("holding the link until the RSS reading", waitLeft);
            std::unique_ptr<srci_plc::TcpTransport> t2;
            auto c2 = connectClient(t2, 4);
            c2->run_for(static_cast<int>(waitLeft * 1000));
        }
        rep.rssEndKiB = rssKiB(s.server);
        rep.rssMinutes = static_cast<double>(monotonicNs() - runStart) / 60e9;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "cycle_bench: %s\n", e.what());
        rc = 1;
    }
    for (pid_t h : hogs) stop(h, SIGKILL);
    s.stopAll();
    stop(base, SIGKILL);
    if (rc != 0) return rc;

    rep.adapter = loadRecords(root + "/adapter/" + kRecordFile);
    rep.baseline = loadRecords(root + "/baseline/" + kRecordFile);
    if (rep.adapter.empty() || rep.baseline.empty()) {
        std::fprintf(stderr, "cycle_bench: no cycle records (was the recorder preloaded?)\n");
        return 1;
    }

    if (o.scale.empty()) {
        rep.scaleNote = "skipped (--scale none)";
    } else if (geteuid() != 0) {
        rep.scaleNote = "skipped: the scale run starts each stack in namespaces of its own and needs root";
        std::printf("cycle_bench: %s\n", rep.scaleNote.c_str());
    } else {
        for (int n : o.scale) {
            progress(("scale: " + std::to_string(n) + " stacks side by side").c_str(), o.scaleSeconds);
            rep.scale.push_back(runScaleStep(o, n, self));
        }
    }
    writeReport(rep, o.out);
    std::printf("cycle_bench: report written to %s/cycle.md\n", o.out.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "--help" || mode == "-h" || mode.empty()) {
        std::fputs(kHelp, mode.empty() ? stderr : stdout);
        return mode.empty() ? 2 : 0;
    }
    Options o;
    if (!parse(argc, argv, o)) return 2;
    const std::string self = fs::canonical("/proc/self/exe").string();
    try {
        if (mode == "run") return runAll(o, self);
        if (mode == "stack") return runStack(o);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "cycle_bench: %s\n", e.what());
        return 1;
    }
    std::fprintf(stderr, "cycle_bench: unknown mode %s\n%s", mode.c_str(), kHelp);
    return 2;
}
