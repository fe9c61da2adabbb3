// SPDX-License-Identifier: Apache-2.0
#include "cycle_report.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>

namespace cycle_bench {

namespace {

constexpr int kAdapterWakesPerSecond = 250 + 250 + 200;

std::string fmt(double v, int decimals = 0) {
    char b[32];
    std::snprintf(b, sizeof b, "%.*f", decimals, v);
    return b;
}

std::string quantRow(const Quantiles& q) {
    return fmt(q.median) + " | " + fmt(q.p99) + " | " + fmt(q.p999) + " | " + fmt(q.max);
}

std::string firstLine(const char* path) {
    std::ifstream in(path);
    std::string s;
    std::getline(in, s);
    return s;
}

// Counts per 50 us bin from -500 us to 5 ms; the last bin holds everything beyond.
void writeHistogram(const std::string& dir, const Phase& p, const WindowStats& a, const WindowStats& b) {
    constexpr double kBin = 50, kLo = -500, kHi = 5000;
    const int bins = static_cast<int>((kHi - kLo) / kBin) + 1;
    const auto count = [&](const std::vector<double>& v) {
        std::vector<long> c(static_cast<size_t>(bins), 0);
        for (double d : v) c[static_cast<size_t>(std::clamp(static_cast<int>((d - kLo) / kBin), 0, bins - 1))]++;
        return c;
    };
    const auto ca = count(a.deviations), cb = count(b.deviations);
    const std::string data = dir + "/cycle-" + p.key + ".dat";
    std::ofstream out(data);
    for (int i = 0; i < bins; ++i)
        out << (kLo + (i + 0.5) * kBin) / 1000.0 << " " << ca[static_cast<size_t>(i)] << " "
            << cb[static_cast<size_t>(i)] << "\n";
    out.close();
    const std::string script = dir + "/cycle-" + p.key + ".gp";
    std::ofstream gp(script);
    gp << "set terminal pngcairo size 900,500 noenhanced\n"
       << "set output '" << dir << "/cycle-" << p.key << ".png'\n"
       << "set title 'Period deviation from 4 ms: " << p.title << "'\n"
       << "set xlabel 'deviation [ms] (last bin: 5 ms and more)'\nset ylabel 'cycles'\n"
       << "set logscale y\nset yrange [0.8:*]\nset xrange [-0.6:5.1]\nset style fill transparent solid 0.5\nset "
          "boxwidth 0.05\n"
       << "plot '" << data << "' using 1:($2>0?$2:1/0) with boxes title 'srci_server', '" << data
       << "' using 1:($3>0?$3:1/0) with boxes title 'usleep(4000) loop'\n";
    gp.close();
    const std::string cmd = "gnuplot '" + script + "' 2>/dev/null";
    if (std::system(cmd.c_str()) != 0) std::fprintf(stderr, "cycle_bench: gnuplot failed for %s\n", script.c_str());
}

// The thresholds next to this run's figures; on a loaded machine read them as a trend.
void writeTargets(std::ofstream& md, const Report& r, const std::vector<WindowStats>& as,
                  const std::vector<WindowStats>& bs) {
    const auto verdict = [](bool ok) { return ok ? "met" : "not met"; };
    md << "\n## Targets\n\n| target | this run | |\n|---|---|---|\n";
    for (size_t i = 0; i < r.phases.size(); ++i) {
        if (r.phases[i].key != "b" || bs[i].deviation.p99 <= 0) continue;
        const double ratio = as[i].deviation.p99 / bs[i].deviation.p99;
        md << "| moves: p99 deviation <= 1.2 x loop's | " << fmt(ratio, 2) << " x | " << verdict(ratio <= 1.2)
           << " |\n";
    }
    for (size_t i = 0; i < r.phases.size(); ++i) {
        if (r.phases[i].key != "a") continue;
        md << "| idle cycle work p99 <= 60 us, p99.9 <= 150 us | " << fmt(as[i].work.p99) << " / "
           << fmt(as[i].work.p999) << " us | " << verdict(as[i].work.p99 <= 60 && as[i].work.p999 <= 150) << " |\n";
    }
    if (!r.latencyMs.empty()) {
        const Quantiles q = quantiles(r.latencyMs);
        md << "| telegram -> IsMoving (answers read at once) median <= 12 ms, max <= 16 ms | " << fmt(q.median, 1)
           << " / " << fmt(q.max, 1) << " ms | " << verdict(q.median <= 12 && q.max <= 16) << " |\n";
    }
    std::map<std::string, double> total;
    for (const ThreadCpu& t : r.cpu) total[t.process] += t.percent;
    const std::pair<const char*, double> limits[] = {{"srci_server", 1.2}, {"pnio-sim", 0.4}, {"PLC client", 1.0}};
    for (const auto& [p, limit] : limits)
        md << "| idle " << p << " <= " << fmt(limit, 1) << " % of a core | " << fmt(total[p], 2) << " % | "
           << verdict(total[p] <= limit) << " |\n";
    for (const ScaleRow& s : r.scale) {
        if (s.stacks != 48 || s.p99s.empty()) continue;
        const double worst = *std::max_element(s.p99s.begin(), s.p99s.end());
        md << "| 48 stacks, every p99 < 1 ms | " << fmt(worst) << " us | " << verdict(worst < 1000 && s.failed == 0)
           << " |\n";
    }
}

}  // namespace

std::string machineDescription() {
    utsname u{};
    uname(&u);
    char when[64];
    const std::time_t now = std::time(nullptr);
    std::strftime(when, sizeof when, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
    return std::string(when) + ", " + u.sysname + " " + u.release + ", " +
           std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " cores, load average at start " +
           firstLine("/proc/loadavg");
}

void writeReport(const Report& r, const std::string& dir) {
    std::ofstream md(dir + "/cycle.md");
    md << "# Cycle timing of the running adapter\n\n"
       << "Machine: " << r.machine << ".\n\n"
       << "The adapter's main loop and a loop that only calls `usleep(4000)` were recorded by the same preloaded "
          "recorder in the same run, so the ratio of the two is the figure to compare between machines; absolute "
          "figures taken on a busy machine are noisy. Deviation = period - 4 ms (the adapter's period is its sleep "
          "plus its work, by design). Work = from the sleep's return to the next sleep. Scenario length "
       << fmt(r.parameters) << " s.\n\n";

    std::vector<WindowStats> as, bs;
    for (const Phase& p : r.phases) {
        as.push_back(windowStats(r.adapter, p.fromNs, p.toNs));
        bs.push_back(windowStats(r.baseline, p.fromNs, p.toNs));
    }
    md << "## Period deviation [us]\n\n"
       << "| scenario | cycles | adapter median | p99 | p99.9 | max | loop median | p99 | p99.9 | max | p99 ratio |\n"
       << "|---|---|---|---|---|---|---|---|---|---|---|\n";
    for (size_t i = 0; i < r.phases.size(); ++i) {
        const double ratio = bs[i].deviation.p99 > 0 ? as[i].deviation.p99 / bs[i].deviation.p99 : 0;
        md << "| " << r.phases[i].title << " | " << as[i].deviation.n << " | " << quantRow(as[i].deviation) << " | "
           << quantRow(bs[i].deviation) << " | " << fmt(ratio, 2) << " |\n";
    }
    md << "\n## Cycle work of the adapter [us]\n\n| scenario | median | p99 | p99.9 | max |\n|---|---|---|---|---|\n";
    for (size_t i = 0; i < r.phases.size(); ++i)
        md << "| " << r.phases[i].title << " | " << quantRow(as[i].work) << " |\n";

    md << "\n## Slow cycles\n\n| scenario | adapter > 1 ms | > 4 ms | loop > 1 ms | > 4 ms |\n|---|---|---|---|---|\n";
    for (size_t i = 0; i < r.phases.size(); ++i)
        md << "| " << r.phases[i].title << " | " << as[i].over1ms << " | " << as[i].over4ms << " | " << bs[i].over1ms
           << " | " << bs[i].over4ms << " |\n";
    md << "\nThe slowest adapter cycles of each scenario and what they were doing:\n\n";
    for (size_t i = 0; i < r.phases.size(); ++i) {
        if (as[i].slowest.empty()) continue;
        md << "- " << r.phases[i].title << ":\n";
        for (const SlowCycle& s : as[i].slowest)
            md << "  - +" << fmt(s.deviationUs / 1000.0, 2) << " ms at "
               << fmt(static_cast<double>(s.atNs - r.phases[i].fromNs) / 1e9, 1) << " s: " << s.what() << "\n";
    }

    md << "\n## Telegram -> IsMoving, 1 ms client, no tool or frame change\n\n";
    if (r.latencyMs.empty()) {
        md << "not measured\n";
    } else {
        md << "From the send of the telegram that carries the move to the reading of the first answer with "
              "IsMoving.\n\n| client reads each answer | moves | median | p99 | max |\n|---|---|---|---|---|\n";
        const std::pair<const char*, const std::vector<double>*> rows[] = {
            {"at once", &r.latencyMs}, {"at its next period (one wake-up per cycle)", &r.latencyNextPeriodMs}};
        for (const auto& [how, values] : rows) {
            if (values->empty()) continue;
            const Quantiles q = quantiles(*values);
            md << "| " << how << " | " << q.n << " | " << fmt(q.median, 1) << " ms | " << fmt(q.p99, 1) << " ms | "
               << fmt(q.max, 1) << " ms |\n";
        }
    }

    md << "\n## CPU per thread, idle stack over " << fmt(r.cpuSeconds)
       << " s\n\n| process | thread | % of one core |\n|---|---|---|\n";
    std::map<std::string, double> total;
    for (const ThreadCpu& t : r.cpu) {
        md << "| " << t.process << " | " << t.thread << " | " << fmt(t.percent, 2) << " |\n";
        total[t.process] += t.percent;
    }
    for (const auto& [p, v] : total) md << "| **" << p << "** | all | **" << fmt(v, 2) << "** |\n";
    md << "\n(/proc counts in clock ticks of 10 ms: over " << fmt(r.cpuSeconds) << " s one tick is "
       << fmt(r.cpuSeconds > 0 ? 1.0 / r.cpuSeconds : 0, 3) << " %.)\n";
    if (r.baselineCpuPercent > 0) {
        // What a wake-up costs moves with the host by half or more from one hour to the next; the
        // bare loop beside the stack prices it in the same minutes.
        const double perWakeUs = r.baselineCpuPercent / 100.0 / 250.0 * 1e6;
        const double wakesOnly = perWakeUs * kAdapterWakesPerSecond / 1e6 * 100.0;
        md << "\nThe bare loop that only sleeps 4 ms cost " << fmt(r.baselineCpuPercent, 2)
           << " % of a core in the same window: " << fmt(perWakeUs, 1)
           << " us per wake-up. srci_server's three periodic threads wake " << kAdapterWakesPerSecond
           << " times a second (main loop and EDK log relay every 4 ms, logsvr every 5 ms); at that price the"
           << " wake-ups alone are about " << fmt(wakesOnly, 2) << " %, and its work the remaining "
           << fmt(total["srci_server"] - wakesOnly, 2) << " %.\n";
    }

    md << "\n## Memory of srci_server\n\nRSS (without the recorder's own mapping) after start " << r.rssStartKiB
       << " KiB; after " << fmt(r.rssMinutes, 1) << " min " << r.rssEndKiB << " KiB.\n";

    md << "\n## Scale: idle stacks side by side, each in its own namespaces\n\n";
    if (!r.scaleNote.empty()) md << r.scaleNote << "\n";
    if (!r.scale.empty()) {
        md << "| stacks | worst adapter p99 [us] | median adapter p99 [us] | loop p99 [us] | stacks without a link |\n"
              "|---|---|---|---|---|\n";
        for (const ScaleRow& s : r.scale) {
            std::vector<double> v = s.p99s;
            std::sort(v.begin(), v.end());
            md << "| " << s.stacks << " | " << (v.empty() ? "-" : fmt(v.back())) << " | "
               << (v.empty() ? "-" : fmt(v[v.size() / 2])) << " | " << fmt(s.baselineP99) << " | " << s.failed
               << " |\n";
        }
    }
    writeTargets(md, r, as, bs);
    md << "\n## Histograms\n\n";
    for (size_t i = 0; i < r.phases.size(); ++i) {
        writeHistogram(dir, r.phases[i], as[i], bs[i]);
        md << "![" << r.phases[i].title << "](cycle-" << r.phases[i].key << ".png)\n";
    }
}

}  // namespace cycle_bench
