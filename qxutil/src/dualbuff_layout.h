// SPDX-License-Identifier: Apache-2.0
// Byte layout of a double-buffer segment. Internal: shared by the library and its tests
// (which corrupt it on purpose).
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "qxutil/dualbuff.h"

namespace qxutil::detail {

constexpr uint32_t SEGMENT_MAGIC = 0x51584442;  // "QXDB"
constexpr uint32_t SEGMENT_VERSION = 1;

// Set-up handshake: a fresh segment is all zeroes; the first attacher moves it to
// Initialising, builds the header, then publishes Ready.
enum SegmentState : uint32_t { StateFresh = 0, StateInitialising = 1, StateReady = 2 };

struct SegmentHeader {
    uint32_t state;  // SegmentState, accessed atomically
    uint32_t magic;
    uint32_t version;
    uint32_t header_size;
    uint64_t shm_size;
    uint64_t half_size;
    pthread_mutex_t data_lock;   // guards active and used[]
    pthread_mutex_t drain_lock;  // held by the reader that is copying a half out
    uint32_t active;             // half that writers append to
    uint32_t reserved;
    uint64_t used[2];  // bytes of whole records in each half
};

// The halves start on a page boundary after the header; the rest of the segment is spare.
constexpr size_t HEADER_SPACE = 4096;
constexpr size_t HALF_SIZE = DUAL_BUFF_MAX_SIZE;
static_assert(sizeof(SegmentHeader) <= HEADER_SPACE);
static_assert(HEADER_SPACE + 2 * HALF_SIZE <= DUAL_SHM_SIZE);

inline unsigned char* halfAt(void* base, uint32_t index) {
    return static_cast<unsigned char*>(base) + HEADER_SPACE + index * HALF_SIZE;
}

}  // namespace qxutil::detail
