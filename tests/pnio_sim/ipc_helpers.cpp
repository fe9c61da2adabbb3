// SPDX-License-Identifier: Apache-2.0
#include "ipc_helpers.hpp"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

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

std::vector<uint8_t> round_trip(srci_plc::Transport& plc, const std::vector<uint8_t>& telegram) {
    std::vector<uint8_t> answer(kTelegramSize);
    plc.exchange(telegram, answer);
    return answer;
}

std::string receive_error(srci_plc::Transport& plc) {
    std::vector<uint8_t> answer(kTelegramSize);
    try {
        plc.receive(answer);
    } catch (const srci_plc::TransportError& e) {
        return e.what();
    }
    return "";
}

std::vector<uint8_t> pattern(uint8_t seed) {
    std::vector<uint8_t> v(kTelegramSize);
    for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}
