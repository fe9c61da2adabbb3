// SPDX-License-Identifier: Apache-2.0
// One process's mapping of a double-buffer segment, with the append and drain operations.
#pragma once

#include <cstddef>
#include <memory>

#include "dualbuff_layout.h"

namespace qxutil::detail {

// How many steps of 0.1 ms attach() waits for another process to finish building a header
// (2000, 200 ms, unless changed). The fuzzer shortens it: it builds stuck headers by the thousand.
// Not thread-safe: set it before any attach.
void setInitialisationWaitSteps(int steps);

class Segment {
public:
    // Opens (creating if absent) and validates the channel's segment under the current
    // scope. nullptr if it cannot be mapped or is not one of ours.
    static std::unique_ptr<Segment> attach(const char* name);
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    // 0 when the whole record was appended, -1 when it was refused.
    int append(const void* data, size_t len);
    // Bytes copied into out (room for HALF_SIZE); 0 if nothing pending or busy.
    size_t drain(void* out);

private:
    explicit Segment(void* base) : base_(base) {}
    SegmentHeader* header() const { return static_cast<SegmentHeader*>(base_); }
    void* base_;
};

}  // namespace qxutil::detail
