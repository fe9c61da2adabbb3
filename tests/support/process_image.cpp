// SPDX-License-Identifier: Apache-2.0
#include "process_image.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace srci_test {
namespace {

void semStep(int sem, short op) {
    sembuf step{};
    step.sem_op = op;
    step.sem_flg = SEM_UNDO;
    semop(sem, &step, 1);
}

}  // namespace

void ProcessImage::removeStale() {
    const int id = shmget(kShmKey, 0, 0);
    if (id >= 0) {
        std::fprintf(stderr, "removing a stale process image (shm key %d) left by an earlier run\n", kShmKey);
        shmctl(id, IPC_RMID, nullptr);
    }
    const int sem = semget(kSemKey, 1, 0);
    if (sem >= 0) {
        std::fprintf(stderr, "removing a stale semaphore (key %d) left by an earlier run\n", kSemKey);
        semctl(sem, 0, IPC_RMID);
    }
}

ProcessImage::ProcessImage(int attachments) {
    removeStale();
    id_ = shmget(kShmKey, kShmSize, IPC_CREAT | IPC_EXCL | 0666);
    if (id_ < 0) throw std::runtime_error("cannot create the process image");
    void* a = shmat(id_, nullptr, 0);
    base_ = static_cast<uint8_t*>(a == reinterpret_cast<void*>(-1) ? nullptr : a);
    if (attachments > 1) {
        void* b = shmat(id_, nullptr, 0);
        extra_ = static_cast<uint8_t*>(b == reinterpret_cast<void*>(-1) ? nullptr : b);
    }
    if (!base_) throw std::runtime_error("cannot attach the process image");
    sem_ = semget(kSemKey, 1, IPC_CREAT | 0666);
    if (sem_ < 0 || semctl(sem_, 0, SETVAL, 1) != 0) throw std::runtime_error("cannot create the semaphore");
}

ProcessImage::~ProcessImage() {
    if (extra_) shmdt(extra_);
    if (base_) shmdt(base_);
    shmctl(id_, IPC_RMID, nullptr);
    semctl(sem_, 0, IPC_RMID);
}

void ProcessImage::writePlcTelegram(const uint8_t* telegram) {
    semStep(sem_, -1);
    std::memcpy(plcToRobot(), telegram, 256);
    semStep(sem_, +1);
}

void ProcessImage::readRobotTelegram(uint8_t* telegram) {
    semStep(sem_, -1);
    std::memcpy(telegram, robotToPlc(), 256);
    semStep(sem_, +1);
}

}  // namespace srci_test
