// SPDX-License-Identifier: Apache-2.0
// The Markdown report and the histograms of one bench run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cycle_stats.h"

namespace cycle_bench {

struct Phase {
    std::string key, title;
    uint64_t fromNs = 0, toNs = 0;
};

struct ThreadCpu {
    std::string process, thread;
    double percent = 0;
};

struct ScaleRow {
    int stacks = 0;
    int failed = 0;  // stacks that never held a link
    std::vector<double> p99s;
    double baselineP99 = 0;
};

struct Report {
    std::string machine;
    double parameters = 0;  // scenario length in seconds
    std::vector<Phase> phases;
    std::vector<CycleRecord> adapter, baseline;
    std::vector<ThreadCpu> cpu;
    double cpuSeconds = 0;
    double baselineCpuPercent = -1;           // the bare 4 ms loop over the same window; below 0: not taken
    std::vector<double> latencyMs;            // answers read as soon as they come
    std::vector<double> latencyNextPeriodMs;  // answers read at the client's next period
    long rssStartKiB = -1, rssEndKiB = -1;
    double rssMinutes = 0;
    std::vector<ScaleRow> scale;
    std::string scaleNote;
};

std::string machineDescription();
void writeReport(const Report& r, const std::string& dir);

}  // namespace cycle_bench
