// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/process_image.hpp"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <cerrno>
#include <cstring>

namespace pnio_sim {

namespace {

std::string errno_text(const std::string& what) { return what + ": " + std::strerror(errno); }

void* attach(int id) {
    void* p = shmat(id, nullptr, 0);
    return p == reinterpret_cast<void*>(-1) ? nullptr : p;
}

void apply_access(int shm_id, int sem_id, const ImageAccess& access) {
    shmid_ds ds{};
    if (shm_id >= 0 && shmctl(shm_id, IPC_STAT, &ds) == 0) {
        ds.shm_perm.mode = static_cast<unsigned short>(access.mode);
        if (access.gid >= 0) ds.shm_perm.gid = static_cast<gid_t>(access.gid);
        if (shmctl(shm_id, IPC_SET, &ds) != 0) throw ImageError(errno_text("shmctl(IPC_SET)"));
    }
    semid_ds sds{};
    union {
        semid_ds* buf;
    } arg{&sds};
    if (sem_id >= 0 && semctl(sem_id, 0, IPC_STAT, arg) == 0) {
        sds.sem_perm.mode = static_cast<unsigned short>(access.mode);
        if (access.gid >= 0) sds.sem_perm.gid = static_cast<gid_t>(access.gid);
        if (semctl(sem_id, 0, IPC_SET, arg) != 0) throw ImageError(errno_text("semctl(IPC_SET)"));
    }
}

// Returns the id of a segment to use; attached_before counts the attachments of a segment
// that is taken over (-1: a new one).
int open_segment(int key, int mode, const ProcessImage::Log& log, int& attached_before) {
    int id = shmget(key, kShmSize, IPC_CREAT | IPC_EXCL | mode);
    if (id >= 0) return id;
    if (errno != EEXIST) throw ImageError(errno_text("shmget(create)"));
    const int old = shmget(key, 0, 0);
    if (old < 0) throw ImageError(errno_text("shmget(existing)"));
    shmid_ds ds{};
    if (shmctl(old, IPC_STAT, &ds) != 0) throw ImageError(errno_text("shmctl(IPC_STAT)"));
    // A gateway keeps two attachments; the adapter adds one. Two or more mean a gateway runs.
    if (ds.shm_nattch >= 2) {
        throw ImageError("shared memory key " + std::to_string(key) + " is in use: " + std::to_string(ds.shm_nattch) +
                         " attachment(s), last by pid " + std::to_string(ds.shm_lpid) +
                         " - is another pnio-sim running?");
    }
    if (ds.shm_segsz == kShmSize) {
        attached_before = static_cast<int>(ds.shm_nattch);
        log(ds.shm_nattch == 0
                ? "reusing the stale shared memory segment (key " + std::to_string(key) + ", no attachments)"
                : "reusing the shared memory segment of the running adapter (key " + std::to_string(key) + ", pid " +
                      std::to_string(ds.shm_lpid) + ")");
        return old;
    }
    if (ds.shm_nattch != 0)
        throw ImageError("shared memory key " + std::to_string(key) + " has " + std::to_string(ds.shm_segsz) +
                         " bytes instead of " + std::to_string(kShmSize) + " and is attached by pid " +
                         std::to_string(ds.shm_lpid));
    if (shmctl(old, IPC_RMID, nullptr) != 0) throw ImageError(errno_text("shmctl(IPC_RMID) of the stale segment"));
    log("removed stale shared memory segment (key " + std::to_string(key) + ", wrong size, no attachments)");
    id = shmget(key, kShmSize, IPC_CREAT | IPC_EXCL | mode);
    if (id < 0) throw ImageError(errno_text("shmget(create)"));
    return id;
}

// With a fresh segment any semaphore under the key is left over and removed (its value is
// unknown); with a reused segment the adapter may hold the semaphore right now, so it is kept.
int open_semaphore(int key, int mode, bool keep_existing, const ProcessImage::Log& log) {
    int id = semget(key, 1, IPC_CREAT | IPC_EXCL | mode);
    if (id < 0 && errno == EEXIST) {
        const int old = semget(key, 0, 0);
        semid_ds sds{};
        union {
            semid_ds* buf;
        } arg{&sds};
        if (keep_existing && old >= 0 && semctl(old, 0, IPC_STAT, arg) == 0 && sds.sem_nsems == 1) {
            log("reusing the existing semaphore (key " + std::to_string(key) + ")");
            return old;
        }
        if (old >= 0 && semctl(old, 0, IPC_RMID) == 0) log("removed stale semaphore (key " + std::to_string(key) + ")");
        id = semget(key, 1, IPC_CREAT | IPC_EXCL | mode);
    }
    if (id < 0) throw ImageError(errno_text("semget(create)"));
    union {
        int val;
    } arg{1};
    if (semctl(id, 0, SETVAL, arg) != 0) {
        semctl(id, 0, IPC_RMID);
        throw ImageError(errno_text("semctl(SETVAL)"));
    }
    return id;
}

}  // namespace

ProcessImage::ProcessImage(int shm_key, int sem_key, const Log& log, ImageAccess access) {
    int attached_before = -1;
    shm_id_ = open_segment(shm_key, access.mode, log, attached_before);
    reused_ = attached_before >= 0;
    try {
        sem_id_ = open_semaphore(sem_key, access.mode, attached_before > 0, log);
        apply_access(shm_id_, sem_id_, access);
        image_ = static_cast<PNDevShm*>(attach(shm_id_));
        // The adapter only attaches once it sees exactly two attachments.
        second_attach_ = attach(shm_id_);
        if (image_ == nullptr || second_attach_ == nullptr) throw ImageError(errno_text("shmat"));
    } catch (...) {
        remove();
        throw;
    }
    lock();  // the adapter may be reading a reused image right now
    std::memset(image_, 0, sizeof(PNDevShm));
    image_->control.enable = 1;
    image_->state.state = kStateNoPlc;
    image_->state.version = kImageVersion;
    unlock();
}

ProcessImage::~ProcessImage() { remove(); }

bool ProcessImage::lock() {
    sembuf op{0, -1, SEM_UNDO};
    while (semop(sem_id_, &op, 1) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

void ProcessImage::unlock() {
    sembuf op{0, 1, SEM_UNDO};
    while (semop(sem_id_, &op, 1) != 0 && errno == EINTR) {
    }
}

bool ProcessImage::exchange(const uint8_t* plc_out, uint8_t* robot_in) {
    if (image_ == nullptr || !lock()) return false;
    std::memcpy(image_->srci.srci_out, plc_out, kTelegramSize);
    std::memcpy(robot_in, image_->srci.srci_in, kTelegramSize);
    unlock();
    return true;
}

bool ProcessImage::clear_plc_output() {
    if (image_ == nullptr || !lock()) return false;
    std::memset(image_->srci.srci_out, 0, kTelegramSize);
    unlock();
    return true;
}

bool ProcessImage::set_connection_state(bool plc_connected) {
    if (image_ == nullptr || !lock()) return false;
    const char flag = plc_connected ? 1 : 0;
    image_->control.srci_active = flag;
    image_->state.state = plc_connected ? kStatePlcConnected : kStateNoPlc;
    image_->state.led_state = flag;
    image_->state.srci_state = flag;
    unlock();
    return true;
}

bool ProcessImage::describe(const std::string& name, uint32_t ip) {
    if (image_ == nullptr || !lock()) return false;
    std::strncpy(image_->state.adapter_name, "pnio-sim", sizeof image_->state.adapter_name - 1);
    std::strncpy(image_->state.name, name.c_str(), sizeof image_->state.name - 1);
    image_->state.ip = ip;
    unlock();
    return true;
}

std::string ProcessImage::remove() {
    if (image_ != nullptr && lock()) {
        image_->control.enable = 0;
        image_->control.srci_active = 0;
        image_->state.state = kStateStopped;
        unlock();
    }
    if (image_ != nullptr) shmdt(image_);
    if (second_attach_ != nullptr) shmdt(second_attach_);
    image_ = nullptr;
    second_attach_ = nullptr;
    std::string what;
    if (shm_id_ >= 0) {
        shmid_ds ds{};
        const bool attached = shmctl(shm_id_, IPC_STAT, &ds) == 0 && ds.shm_nattch > 0;
        if (attached) {
            // Removing them under a running adapter would leave it without a process image for good.
            what = "shared memory segment and semaphore left for " + std::to_string(ds.shm_nattch) +
                   " attached process(es)";
        } else {
            shmctl(shm_id_, IPC_RMID, nullptr);
            if (sem_id_ >= 0) semctl(sem_id_, 0, IPC_RMID);
            what = "shared memory segment and semaphore removed";
        }
    }
    shm_id_ = -1;
    sem_id_ = -1;
    return what;
}

}  // namespace pnio_sim
