// SPDX-License-Identifier: Apache-2.0
// Reading recorder files and turning a time window of them into the figures of the report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cycle_record.h"

namespace cycle_bench {

std::vector<CycleRecord> loadRecords(const std::string& path);

struct Quantiles {
    double median = 0, p99 = 0, p999 = 0, max = 0;  // microseconds
    size_t n = 0;
};
Quantiles quantiles(std::vector<double> v);

// A cycle whose period overran the nominal 4 ms by more than a threshold, and what filled it.
struct SlowCycle {
    uint64_t atNs = 0;
    double deviationUs = 0, workUs = 0;
    uint32_t fsyncs = 0, fsyncUs = 0, otherSleeps = 0, otherSleepUs = 0;
    std::string what() const;
};

struct WindowStats {
    Quantiles deviation;  // period - 4 ms
    Quantiles work;       // sleep return to next sleep call
    size_t over1ms = 0, over4ms = 0;
    std::vector<SlowCycle> slowest;  // worst first, at most a handful
    std::vector<double> deviations;  // for the histogram
};

// Cycles whose sleep returned inside [fromNs, toNs).
WindowStats windowStats(const std::vector<CycleRecord>& r, uint64_t fromNs, uint64_t toNs);

uint64_t monotonicNs();

}  // namespace cycle_bench
