// SPDX-License-Identifier: Apache-2.0
// Layout of the file the cycle recorder fills: a header, then one record per 4 ms sleep of the
// recorded process's main thread. The file is a shared mapping, so it stays complete when the
// process is killed (the adapter has no orderly shutdown).
#pragma once

#include <cstdint>

namespace cycle_bench {

inline constexpr const char* kRecordFile = "cycle-rec.bin";
inline constexpr uint64_t kRecordMagic = 0x31434552434C4359ull;  // "YCLCREC1"
inline constexpr uint64_t kRecordCapacity = 1ull << 22;          // about 4.6 h of 4 ms cycles
inline constexpr unsigned kCycleSleepUs = 4000;

struct RecordHeader {
    uint64_t magic;
    uint64_t count;  // records written so far
    uint64_t capacity;
    uint64_t reserved[5];
};

// One main-loop sleep and the work that followed it, up to the next 4 ms sleep.
struct CycleRecord {
    uint64_t sleepBeginNs;  // CLOCK_MONOTONIC when the 4 ms sleep was entered
    uint64_t sleepEndNs;    // ... and when it returned
    uint32_t fsyncs;        // fsync/fdatasync calls of the main thread in the work after it
    uint32_t fsyncUs;
    uint32_t otherSleeps;  // other sleeps of the main thread (pauses, waits)
    uint32_t otherSleepUs;
};

}  // namespace cycle_bench
