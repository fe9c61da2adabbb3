// SPDX-License-Identifier: Apache-2.0
// Named shared-memory double buffer: many writers (threads or processes), one drainer.
//
// A channel is a POSIX shared-memory segment of DUAL_SHM_SIZE bytes, created by whichever
// side attaches first. It holds a header and two halves of DUAL_BUFF_MAX_SIZE bytes each.
// Writers append whole records to the active half; the reader swaps the halves and copies
// the filled one out, so writers keep going into the other half while the copy runs.
//
// Locking: a process-shared, robust pthread mutex in the header guards the active-half index
// and the fill levels. A writer holds it only for one memcpy of its record, so it never
// waits longer than another writer's memcpy or the reader's index swap (microseconds).
// A writer that dies while holding it leaves the fill level untouched (it is bumped only
// after the copy), so the half-written record is simply not there; the next locker gets
// EOWNERDEAD and marks the mutex consistent. Readers are serialised by a second robust
// mutex that they only try-lock: a reader never waits, it reports nothing pending instead.
//
// Records are opaque bytes; the reader returns the concatenation of whole records in the
// order they were accepted. A record that does not fit in the free part of the active half
// (or is larger than a half) is dropped whole and counted, never cut.
//
// The header carries a magic, a version and the sizes. A segment that fails those checks
// (a foreign object of the same name, a different build, a truncated file) is never
// touched: writers drop and count, the reader reports nothing pending.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace qxutil {

constexpr size_t DUAL_SHM_SIZE = 3145728;
constexpr size_t DUAL_BUFF_MAX_SIZE = 1048576;

// Channel names are global per machine. A scope puts every channel opened afterwards by
// this process into its own namespace ("/qxdual.<scope>.<name>" instead of
// "/qxdual.<name>"), so that tests and demos cannot disturb a running system.
// Objects opened before the call keep their segment.
void setShmScope(const std::string& scope);
std::string shmScope();

// The shared-memory object name a channel maps to under the current scope.
// A '/' in the scope or name is replaced by '_' (POSIX names allow only the leading one).
std::string channelShmName(const char* name);

// Unlinks the channel's segment under the current scope. Attached objects keep working
// on the old memory; the next attach creates a fresh segment. False if nothing was there.
bool removeChannel(const char* name);

namespace detail {
class Segment;
}

class DualBuffWriter {
public:
    explicit DualBuffWriter(const char* name);
    ~DualBuffWriter();
    DualBuffWriter(const DualBuffWriter&) = delete;
    DualBuffWriter& operator=(const DualBuffWriter&) = delete;

    // Appends one record. Returns 0, or -1 when the record was dropped (no room, larger
    // than a half, or no usable segment). Thread-safe.
    int write(const void* data, size_t len);
    // Records this object dropped.
    uint64_t dropped() const;
    // False when the channel could not be attached (every write is then dropped).
    bool attached() const;

private:
    std::unique_ptr<detail::Segment> seg_;
    std::atomic<uint64_t> dropped_{0};
};

class DualBuffReader {
public:
    explicit DualBuffReader(const char* name);
    ~DualBuffReader();
    DualBuffReader(const DualBuffReader&) = delete;
    DualBuffReader& operator=(const DualBuffReader&) = delete;

    // Copies everything pending (whole records, at most DUAL_BUFF_MAX_SIZE bytes) into
    // buf, which must hold DUAL_BUFF_MAX_SIZE bytes. Returns the number of bytes taken;
    // 0 when nothing is pending, another reader is draining, or the segment is unusable.
    // Never blocks.
    int read(void* buf);
    bool attached() const;

private:
    std::unique_ptr<detail::Segment> seg_;
};

}  // namespace qxutil
