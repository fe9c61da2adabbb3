// SPDX-License-Identifier: Apache-2.0
#include "dualbuff_segment.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

namespace qxutil::detail {
namespace {

// How long an attacher waits for another process to finish building the header. Building
// it takes microseconds; a creator that died half-way leaves the segment unusable.
constexpr int INIT_WAIT_STEPS = 2000;
constexpr long INIT_WAIT_STEP_NS = 100000;
int initWaitSteps = INIT_WAIT_STEPS;

std::atomic_ref<uint32_t> stateOf(SegmentHeader* h) { return std::atomic_ref<uint32_t>(h->state); }

// Fill levels are written under data_lock but also read without it (Segment::drain's first look).
std::atomic_ref<uint64_t> usedOf(SegmentHeader* h, uint32_t half) { return std::atomic_ref<uint64_t>(h->used[half]); }
std::atomic_ref<uint32_t> activeOf(SegmentHeader* h) { return std::atomic_ref<uint32_t>(h->active); }

// Takes a robust mutex, repairing it when its previous owner died while holding it. The
// data it guards is consistent at every instant a holder can die (fill levels move only
// after the copy), so marking it consistent is all the repair needed.
int lockRobust(pthread_mutex_t* m, bool tryOnly) {
    int rc = tryOnly ? pthread_mutex_trylock(m) : pthread_mutex_lock(m);
    if (rc == EOWNERDEAD) {
        rc = pthread_mutex_consistent(m);
    }
    return rc;
}

class RobustGuard {
public:
    explicit RobustGuard(pthread_mutex_t* m, bool tryOnly = false) : m_(m), ok_(lockRobust(m, tryOnly) == 0) {}
    ~RobustGuard() {
        if (ok_) {
            pthread_mutex_unlock(m_);
        }
    }
    RobustGuard(const RobustGuard&) = delete;
    RobustGuard& operator=(const RobustGuard&) = delete;
    bool ok() const { return ok_; }

private:
    pthread_mutex_t* m_;
    bool ok_;
};

bool initSharedMutex(pthread_mutex_t* m) {
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) {
        return false;
    }
    bool ok = pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED) == 0 &&
              pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST) == 0 && pthread_mutex_init(m, &attr) == 0;
    pthread_mutexattr_destroy(&attr);
    return ok;
}

bool buildHeader(SegmentHeader* h) {
    h->magic = SEGMENT_MAGIC;
    h->version = SEGMENT_VERSION;
    h->header_size = sizeof(SegmentHeader);
    h->shm_size = DUAL_SHM_SIZE;
    h->half_size = HALF_SIZE;
    h->active = 0;
    h->used[0] = 0;
    h->used[1] = 0;
    return initSharedMutex(&h->data_lock) && initSharedMutex(&h->drain_lock);
}

bool waitUntilReady(SegmentHeader* h) {
    for (int i = 0; i < initWaitSteps; ++i) {
        uint32_t s = stateOf(h).load(std::memory_order_acquire);
        if (s != StateInitialising) {
            return s == StateReady;
        }
        timespec step{0, INIT_WAIT_STEP_NS};
        nanosleep(&step, nullptr);
    }
    return false;
}

// Takes part in the set-up handshake; true once the header is built (by anyone).
bool ensureInitialised(SegmentHeader* h) {
    uint32_t expected = StateFresh;
    if (stateOf(h).compare_exchange_strong(expected, StateInitialising, std::memory_order_acq_rel)) {
        if (!buildHeader(h)) {
            return false;  // left Initialising: nobody will trust a half-built header
        }
        stateOf(h).store(StateReady, std::memory_order_release);
        return true;
    }
    return waitUntilReady(h);
}

bool headerValid(const SegmentHeader* h) {
    return h->magic == SEGMENT_MAGIC && h->version == SEGMENT_VERSION && h->header_size == sizeof(SegmentHeader) &&
           h->shm_size == DUAL_SHM_SIZE && h->half_size == HALF_SIZE;
}

// Opens the object and gives it its size if we created it. Returns the descriptor or -1.
int openSized(const std::string& shmName) {
    int fd = shm_open(shmName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        return -1;
    }
    struct stat st {};
    if (fstat(fd, &st) != 0) {
        close(fd);
        return -1;
    }
    // Only an empty object is ours to size: growing a foreign one would corrupt it, and
    // mapping past the end of a shorter one would fault on first access.
    if (st.st_size == 0 && ftruncate(fd, static_cast<off_t>(DUAL_SHM_SIZE)) != 0) {
        close(fd);
        return -1;
    }
    if (st.st_size != 0 && static_cast<size_t>(st.st_size) != DUAL_SHM_SIZE) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

void setInitialisationWaitSteps(int steps) { initWaitSteps = steps > 0 ? steps : 1; }

std::unique_ptr<Segment> Segment::attach(const char* name) {
    int fd = openSized(channelShmName(name));
    if (fd < 0) {
        return nullptr;
    }
    void* base = mmap(nullptr, DUAL_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (base == MAP_FAILED) {
        return nullptr;
    }
    auto* h = static_cast<SegmentHeader*>(base);
    if (!ensureInitialised(h) || !headerValid(h)) {
        munmap(base, DUAL_SHM_SIZE);
        return nullptr;
    }
    return std::unique_ptr<Segment>(new Segment(base));
}

Segment::~Segment() { munmap(base_, DUAL_SHM_SIZE); }

int Segment::append(const void* data, size_t len) {
    if (len > HALF_SIZE) {
        return -1;
    }
    SegmentHeader* h = header();
    RobustGuard guard(&h->data_lock);
    if (!guard.ok()) {
        return -1;
    }
    uint32_t a = h->active;
    if (a > 1 || h->used[a] > HALF_SIZE || len > HALF_SIZE - h->used[a]) {
        return -1;
    }
    std::memcpy(halfAt(base_, a) + h->used[a], data, len);
    usedOf(h, a).store(h->used[a] + len, std::memory_order_release);  // only now is the record visible
    return 0;
}

size_t Segment::drain(void* out) {
    SegmentHeader* h = header();
    // The reader polls every few milliseconds and mostly finds nothing: that much is seen without
    // taking the locks. A record published right after this look waits for the next drain, as it
    // would had it come right after a locked drain; damaged bookkeeping still takes the slow path.
    if (usedOf(h, 0).load(std::memory_order_acquire) == 0 && usedOf(h, 1).load(std::memory_order_acquire) == 0 &&
        activeOf(h).load(std::memory_order_relaxed) <= 1) {
        return 0;
    }
    RobustGuard drainGuard(&h->drain_lock, true);
    if (!drainGuard.ok()) {
        return 0;  // another reader is busy, or the lock is unusable
    }
    uint32_t idx = 0;
    size_t n = 0;
    {
        RobustGuard guard(&h->data_lock);
        if (!guard.ok()) {
            return 0;
        }
        if (h->active > 1 || h->used[0] > HALF_SIZE || h->used[1] > HALF_SIZE) {
            // Scribbled-over bookkeeping: whatever was pending cannot be trusted.
            activeOf(h).store(0, std::memory_order_relaxed);
            usedOf(h, 0).store(0, std::memory_order_relaxed);
            usedOf(h, 1).store(0, std::memory_order_relaxed);
            return 0;
        }
        uint32_t other = h->active ^ 1u;
        if (h->used[other] != 0) {
            idx = other;  // a reader died while copying this half out: hand it out again
        } else {
            idx = h->active;
            if (h->used[idx] == 0) {
                return 0;
            }
            activeOf(h).store(other, std::memory_order_relaxed);
        }
        n = h->used[idx];
    }
    // Writers now append to the other half only, so this one can be copied unlocked.
    std::memcpy(out, halfAt(base_, idx), n);
    RobustGuard guard(&h->data_lock);
    if (guard.ok()) {
        usedOf(h, idx).store(0, std::memory_order_relaxed);
    }
    return n;
}

}  // namespace qxutil::detail
