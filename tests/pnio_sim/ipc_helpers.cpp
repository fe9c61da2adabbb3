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

#include <csignal>
#include <cstring>
#include <regex>

using namespace pnio_sim;

namespace {

// Where the robot adapter finds the telegrams, independent of the layout struct.
constexpr size_t kPlcOutput = 1348;
constexpr size_t kRobotInput = 1604;

uint8_t* at(PNDevShm* image, size_t offset) { return reinterpret_cast<uint8_t*>(image) + offset; }

std::vector<std::string> with_no_status(std::vector<std::string> args) {
    args.insert(args.begin(), "--no-status");
    return args;
}

}  // namespace

bool ipc_segment_exists() { return shmget(kShmKey, 0, 0) >= 0; }
bool ipc_semaphore_exists() { return semget(kSemKey, 0, 0) >= 0; }

PnioSim::PnioSim(const std::vector<std::string>& args)
    : process_(PNIO_SIM_PATH, with_no_status(args), dir_.path(), dir_.file("pnio.out")) {
    const std::regex listening(R"(listening on [0-9.]+:([0-9]+))");
    std::smatch m;
    std::string out;
    // Ready once it says where it listens; given up on when it exits first.
    srci_test::eventually([&] { return std::regex_search(out = output(), m, listening) || !process_.running(); },
                          10000);
    if (!m.empty()) port_ = static_cast<uint16_t>(std::stoi(m[1]));
}

int PnioSim::wait_exit(int timeout_ms) {
    return process_.waitExit(timeout_ms) && process_.exitedNormally() ? process_.exitCode() : -1;
}

int PnioSim::terminate() {
    process_.signal(SIGTERM);
    return wait_exit(10000);
}

AdapterView::AdapterView() {
    const int shm_id = shmget(kShmKey, kShmSize, 0);
    if (shm_id < 0) return;
    shmid_ds ds{};
    srci_test::eventually([&] { return shmctl(shm_id, IPC_STAT, &ds) == 0 && ds.shm_nattch == 2; }, 5000);
    nattch_before_ = static_cast<int>(ds.shm_nattch);
    void* p = shmat(shm_id, nullptr, 0);
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
    const timeval timeout{5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
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

std::vector<uint8_t> receive(int fd) {
    std::vector<uint8_t> t(kTelegramSize);
    if (recv(fd, t.data(), t.size(), MSG_WAITALL) != static_cast<ssize_t>(t.size())) t.clear();
    return t;
}

std::vector<uint8_t> round_trip(int fd, const std::vector<uint8_t>& telegram) {
    return send_bytes(fd, telegram) ? receive(fd) : std::vector<uint8_t>{};
}

bool closed_by_peer(int fd) {
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
