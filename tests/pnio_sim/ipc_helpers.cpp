// SPDX-License-Identifier: Apache-2.0
#include "ipc_helpers.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

using namespace pnio_sim;

namespace {

// Where the robot adapter finds the telegrams, independent of the layout struct.
constexpr size_t kPlcOutput = 1348;
constexpr size_t kRobotInput = 1604;

uint8_t* at(PNDevShm* image, size_t offset) { return reinterpret_cast<uint8_t*>(image) + offset; }

}  // namespace

bool ipc_segment_exists() { return shmget(kShmKey, 0, 0) >= 0; }
bool ipc_semaphore_exists() { return semget(kSemKey, 0, 0) >= 0; }

bool remove_stale_ipc() {
    const int shm = shmget(kShmKey, 0, 0);
    if (shm >= 0) {
        shmid_ds ds{};
        if (shmctl(shm, IPC_STAT, &ds) == 0 && ds.shm_nattch != 0) return false;
        shmctl(shm, IPC_RMID, nullptr);
        std::fprintf(stderr, "test setup: removed stale shared memory segment key %d left by a crashed run\n", kShmKey);
    }
    const int sem = semget(kSemKey, 0, 0);
    if (sem >= 0) {
        semctl(sem, 0, IPC_RMID);
        std::fprintf(stderr, "test setup: removed stale semaphore key %d left by a crashed run\n", kSemKey);
    }
    return true;
}

AdapterView::AdapterView() {
    shm_id_ = shmget(kShmKey, kShmSize, 0);
    if (shm_id_ < 0) return;
    shmid_ds ds{};
    for (int i = 0; i < 500; ++i) {
        if (shmctl(shm_id_, IPC_STAT, &ds) == 0 && ds.shm_nattch == 2) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    nattch_before_ = static_cast<int>(ds.shm_nattch);
    void* p = shmat(shm_id_, nullptr, 0);
    if (p != reinterpret_cast<void*>(-1)) image_ = static_cast<PNDevShm*>(p);
    sem_id_ = semget(kSemKey, 1, 0);
}

AdapterView::~AdapterView() {
    if (image_ != nullptr) shmdt(image_);
}

void AdapterView::hold_semaphore() {
    sembuf op{0, -1, SEM_UNDO};
    semop(sem_id_, &op, 1);
}

void AdapterView::release_semaphore() {
    sembuf op{0, 1, SEM_UNDO};
    semop(sem_id_, &op, 1);
}

std::vector<uint8_t> AdapterView::plc_output() { return read(kPlcOutput); }
std::vector<uint8_t> AdapterView::robot_input() { return read(kRobotInput); }

std::vector<uint8_t> AdapterView::read(size_t offset) {
    hold_semaphore();
    std::vector<uint8_t> v(at(image_, offset), at(image_, offset) + kTelegramSize);
    release_semaphore();
    return v;
}

void AdapterView::write_robot_input(const std::vector<uint8_t>& t) {
    hold_semaphore();
    std::memcpy(at(image_, kRobotInput), t.data(), kTelegramSize);
    release_semaphore();
}

PNDevShm AdapterView::snapshot() {
    hold_semaphore();
    PNDevShm copy;
    std::memcpy(&copy, image_, sizeof copy);
    release_semaphore();
    return copy;
}

int tcp_connect(uint16_t port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

bool send_bytes(int fd, const std::vector<uint8_t>& data) {
    return send(fd, data.data(), data.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(data.size());
}

bool recv_exact(int fd, std::vector<uint8_t>& out, size_t n, int timeout_ms) {
    out.assign(n, 0);
    size_t done = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (done < n) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        pollfd p{fd, POLLIN, 0};
        if (left <= 0 || poll(&p, 1, static_cast<int>(left)) <= 0) return false;
        const ssize_t r = recv(fd, out.data() + done, n - done, 0);
        if (r <= 0) return false;
        done += static_cast<size_t>(r);
    }
    return true;
}

bool closed_by_peer(int fd, int timeout_ms) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, timeout_ms) <= 0) return false;
    char c;
    return recv(fd, &c, 1, 0) == 0;
}

bool stays_silent(int fd, int timeout_ms) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, timeout_ms) == 0;
}

std::vector<uint8_t> pattern(uint8_t seed) {
    std::vector<uint8_t> v(kTelegramSize);
    for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}
