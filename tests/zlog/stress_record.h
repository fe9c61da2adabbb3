// SPDX-License-Identifier: Apache-2.0
// Self-checking records for the concurrency tests: each names its writer and sequence
// number and carries a payload derived from both, so a cut or mixed record is detected.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qxutil/dualbuff.h"

namespace zlog_test {

// "@S <writer> <seq> <payload>" (no newline).
std::string stressText(int writer, uint32_t seq);
// Finds a stress record in line (anywhere, so a log header may precede it) and checks it.
// False when there is none or it is damaged.
bool parseStressText(std::string_view line, int& writer, uint32_t& seq);

// Writes count records (with newline) for writer and returns the sequence numbers the
// channel refused. The first half is paced so that a drainer can keep up; the second half
// is a burst that usually overruns it, so that refusals happen under contention too.
std::vector<uint32_t> writeStressRecords(qxutil::DualBuffWriter& out, int writer, uint32_t count);

// Sequence numbers seen per writer, in the order found; damaged lines are counted.
struct StressTally {
    std::map<int, std::vector<uint32_t>> seen;
    size_t damaged = 0;
    void addText(const std::string& text);
};

}  // namespace zlog_test
