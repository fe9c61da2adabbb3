// SPDX-License-Identifier: Apache-2.0
#include "cycle_stats.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace cycle_bench {

uint64_t monotonicNs() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<uint64_t>(t.tv_sec) * 1000000000ull + static_cast<uint64_t>(t.tv_nsec);
}

std::vector<CycleRecord> loadRecords(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    RecordHeader h{};
    if (!in.read(reinterpret_cast<char*>(&h), sizeof h) || h.magic != kRecordMagic) return {};
    const uint64_t n = std::min(h.count, h.capacity);
    std::vector<CycleRecord> r(n);
    in.read(reinterpret_cast<char*>(r.data()), static_cast<std::streamsize>(n * sizeof(CycleRecord)));
    r.resize(static_cast<size_t>(in.gcount()) / sizeof(CycleRecord));
    return r;
}

Quantiles quantiles(std::vector<double> v) {
    Quantiles q;
    q.n = v.size();
    if (v.empty()) return q;
    std::sort(v.begin(), v.end());
    const auto at = [&](double f) {
        return v[std::min(v.size() - 1, static_cast<size_t>(std::floor(f * (v.size() - 1) + 0.5)))];
    };
    q.median = at(0.5);
    q.p99 = at(0.99);
    q.p999 = at(0.999);
    q.max = v.back();
    return q;
}

std::string SlowCycle::what() const {
    std::ostringstream os;
    os.setf(std::ios::fixed);
    os.precision(2);
    if (otherSleeps) os << otherSleeps << " pause(s) " << otherSleepUs / 1000.0 << " ms; ";
    if (fsyncs) os << fsyncs << " fsync(s) " << fsyncUs / 1000.0 << " ms; ";
    os << "work " << workUs / 1000.0 << " ms";
    // The period is the sleep plus its overshoot plus the work; a large overshoot is the
    // scheduler waking the loop late, not the loop's own doing.
    if (deviationUs - workUs > 500) os << "; woken " << (deviationUs - workUs) / 1000.0 << " ms late";
    return os.str();
}

WindowStats windowStats(const std::vector<CycleRecord>& r, uint64_t fromNs, uint64_t toNs) {
    WindowStats s;
    std::vector<double> work;
    std::vector<SlowCycle> slow;
    for (size_t i = 0; i + 1 < r.size(); ++i) {
        if (r[i].sleepEndNs < fromNs || r[i].sleepEndNs >= toNs) continue;
        const double period = static_cast<double>(r[i + 1].sleepEndNs - r[i].sleepEndNs) / 1000.0;
        const double w = static_cast<double>(r[i + 1].sleepBeginNs - r[i].sleepEndNs) / 1000.0;
        const double dev = period - kCycleSleepUs;
        s.deviations.push_back(dev);
        work.push_back(w);
        if (dev > 1000) {
            ++s.over1ms;
            if (dev > 4000) ++s.over4ms;
            slow.push_back({r[i].sleepEndNs, dev, w, r[i].fsyncs, r[i].fsyncUs, r[i].otherSleeps, r[i].otherSleepUs});
        }
    }
    s.deviation = quantiles(s.deviations);
    s.work = quantiles(work);
    std::sort(slow.begin(), slow.end(),
              [](const SlowCycle& a, const SlowCycle& b) { return a.deviationUs > b.deviationUs; });
    if (slow.size() > 5) slow.resize(5);
    s.slowest = std::move(slow);
    return s;
}

}  // namespace cycle_bench
