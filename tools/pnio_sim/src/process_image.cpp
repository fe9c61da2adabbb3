#include "pnio_sim/process_image.hpp"

#include <cerrno>
#include <cstring>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace pnio_sim {

namespace {

std::string errno_text(const std::string& what) { return what + ": " + std::strerror(errno); }

void* attach(int id) {
    void* p = shmat(id, nullptr, 0);
    return p == reinterpret_cast<void*>(-1) ? nullptr : p;
}

int create_segment(int key, const ProcessImage::Log& log) {
    int id = shmget(key, kShmSize, IPC_CREAT | IPC_EXCL | 0666);
    if (id >= 0) return id;
    if (errno != EEXIST) throw ImageError(errno_text("shmget(create)"));
    const int old = shmget(key, 0, 0);
    if (old < 0) throw ImageError(errno_text("shmget(existing)"));
    shmid_ds ds{};
    if (shmctl(old, IPC_STAT, &ds) != 0) throw ImageError(errno_text("shmctl(IPC_STAT)"));
    if (ds.shm_nattch != 0) {
        throw ImageError("shared memory key " + std::to_string(key) + " is in use: " +
                         std::to_string(ds.shm_nattch) + " attachment(s), last by pid " +
                         std::to_string(ds.shm_lpid) + " - is another pnio-sim running?");
    }
    if (shmctl(old, IPC_RMID, nullptr) != 0) throw ImageError(errno_text("shmctl(IPC_RMID) of the stale segment"));
    log("removed stale shared memory segment (key " + std::to_string(key) + ", no attachments, left by a crash)");
    id = shmget(key, kShmSize, IPC_CREAT | IPC_EXCL | 0666);
    if (id < 0) throw ImageError(errno_text("shmget(create)"));
    return id;
}

// The segment has just been created by us, so any semaphore under the key is
// left over from an earlier run.
int create_semaphore(int key, const ProcessImage::Log& log) {
    int id = semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    if (id < 0 && errno == EEXIST) {
        const int old = semget(key, 0, 0);
        if (old >= 0 && semctl(old, 0, IPC_RMID) == 0)
            log("removed stale semaphore (key " + std::to_string(key) + ")");
        id = semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
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

ProcessImage::ProcessImage(int shm_key, int sem_key, const Log& log) {
    shm_id_ = create_segment(shm_key, log);
    try {
        sem_id_ = create_semaphore(sem_key, log);
        image_ = static_cast<PNDevShm*>(attach(shm_id_));
        // The adapter only attaches once it sees exactly two attachments.
        second_attach_ = attach(shm_id_);
        if (image_ == nullptr || second_attach_ == nullptr) throw ImageError(errno_text("shmat"));
    } catch (...) {
        remove();
        throw;
    }
    std::memset(image_, 0, sizeof(PNDevShm));
    lock();
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

void ProcessImage::remove() {
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
    if (shm_id_ >= 0) shmctl(shm_id_, IPC_RMID, nullptr);
    if (sem_id_ >= 0) semctl(sem_id_, 0, IPC_RMID);
    shm_id_ = -1;
    sem_id_ = -1;
}

}  // namespace pnio_sim
