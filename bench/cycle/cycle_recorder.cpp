// SPDX-License-Identifier: Apache-2.0
// LD_PRELOAD recorder of a process's main loop. It interposes usleep, nanosleep-based waits are
// not touched, and fsync/fdatasync: every usleep(4000) of the main thread opens a record in
// ./cycle-rec.bin; the fsyncs and other usleeps of the main thread until the next one are counted
// into it. Nothing in the recorded program changes: no option, no environment variable beyond
// the preload itself, and the extra work per cycle is two clock reads and a store.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "cycle_record.h"

using namespace cycle_bench;

namespace {

using UsleepFn = int (*)(useconds_t);
using SyncFn = int (*)(int);

RecordHeader* header = nullptr;
CycleRecord* records = nullptr;
bool failed = false;

uint64_t nowNs() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<uint64_t>(t.tv_sec) * 1000000000ull + static_cast<uint64_t>(t.tv_nsec);
}

// Cached per thread: the recorder must not add two system calls to every sleep it watches.
bool onMainThread() {
    static thread_local int main = -1;
    if (main < 0) main = syscall(SYS_gettid) == getpid() ? 1 : 0;
    return main == 1;
}

// Opened lazily on the first main-thread cycle sleep, in the working directory of that moment.
bool ready() {
    if (header) return true;
    if (failed) return false;
    const size_t bytes = sizeof(RecordHeader) + kRecordCapacity * sizeof(CycleRecord);
    const int fd = open(kRecordFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || ftruncate(fd, static_cast<off_t>(bytes)) != 0) {
        failed = true;
        if (fd >= 0) close(fd);
        return false;
    }
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (p == MAP_FAILED) {
        failed = true;
        return false;
    }
    header = static_cast<RecordHeader*>(p);
    header->magic = kRecordMagic;
    header->capacity = kRecordCapacity;
    records = reinterpret_cast<CycleRecord*>(header + 1);
    return true;
}

CycleRecord* current() {
    if (!header || header->count == 0) return nullptr;
    return &records[header->count - 1];
}

template <class Fn>
Fn next(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

uint32_t usSince(uint64_t t0) { return static_cast<uint32_t>((nowNs() - t0) / 1000); }

}  // namespace

extern "C" int usleep(useconds_t us) {
    static const UsleepFn real = next<UsleepFn>("usleep");
    if (!onMainThread()) return real(us);
    if (us != kCycleSleepUs) {
        const uint64_t t0 = nowNs();
        const int rc = real(us);
        if (CycleRecord* r = current()) {
            ++r->otherSleeps;
            r->otherSleepUs += usSince(t0);
        }
        return rc;
    }
    if (!ready() || header->count >= header->capacity) return real(us);
    const uint64_t t0 = nowNs();
    const int rc = real(us);
    CycleRecord& r = records[header->count];
    r = CycleRecord{t0, nowNs(), 0, 0, 0, 0};
    std::atomic_ref<uint64_t>(header->count).store(header->count + 1, std::memory_order_release);
    return rc;
}

namespace {
int countedSync(SyncFn real, int fd) {
    if (!onMainThread()) return real(fd);
    const uint64_t t0 = nowNs();
    const int rc = real(fd);
    if (CycleRecord* r = current()) {
        ++r->fsyncs;
        r->fsyncUs += usSince(t0);
    }
    return rc;
}
}  // namespace

extern "C" int fsync(int fd) {
    static const SyncFn real = next<SyncFn>("fsync");
    return countedSync(real, fd);
}

extern "C" int fdatasync(int fd) {
    static const SyncFn real = next<SyncFn>("fdatasync");
    return countedSync(real, fd);
}
