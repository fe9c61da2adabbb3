// SPDX-License-Identifier: Apache-2.0
// Input: records of one control byte and one 256-byte PLC telegram. Each telegram goes through
// the adapter's cycle (controller-state update, interpreter, real handlers) and the simulated arm
// advances one 4 ms cycle per exchange. Control byte: bits 0-2 repeat the telegram 2^n times
// (so that moves and power-up can progress), bit 3 keeps the lifesign ticking on the repeats,
// bits 4-7 pick a fault on the arm before the telegram (stops, controller error, application,
// PROFINET), so the stop and recovery paths are fuzzed along with the commands.
#include <dirent.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "itf_rc/rcitf.h"
#include "qxutil/dualbuff.h"
#include "runtime.h"
#include "srciport/sim_arm.h"
#include "srl/srl_api.h"
#include "srl/srl_config.h"
#include "srl/srl_define_function.h"

namespace {

constexpr size_t kTelegram = 256;
constexpr double kCycleSeconds = 0.004;

srciport::SimArm& arm() { return srciport::SimArm::instance(); }

// The adapter logs through machine-wide channels, where a real srci_server on this machine would
// file the fuzzer's records: the run takes channels of its own before any static initialiser
// logs. They and the scratch directory go when the run ends.
// A plain array: the handler runs after static destructors, a string would be gone by then.
char g_scratch[] = "/dev/shm/fuzz-adapter-XXXXXX";
bool g_scratchMade = false;

void removeWhatTheRunLeaves() {
    for (const char* name : {"errorlog", "rvodbg.log", "bus"}) qxutil::removeChannel(name);
    std::error_code ignored;
    if (g_scratchMade) std::filesystem::remove_all(g_scratch, ignored);
}

__attribute__((constructor(101))) void privateLogChannels() {
    qxutil::setShmScope("fuzz-adapter-" + std::to_string(::getpid()));
    std::atexit(removeWhatTheRunLeaves);
}

void fault(uint8_t which) {
    switch (which) {
        case 1:
            arm().setPStop(true);
            break;
        case 2:
            arm().setPStop(false);
            break;
        case 3:
            arm().setEStop(true);
            break;
        case 4:
            arm().setEStop(false);
            break;
        case 5:
            arm().injectError(0xF0017);
            break;
        case 6:
            arm().injectError(0);
            break;
        case 7:
            arm().setAppConnected(true);
            break;
        case 8:
            arm().setAppConnected(false);
            break;
        case 9:
            arm().setProfinetState(0);
            break;
        case 10:
            arm().setProfinetState(SRCIPORT_PROFINET_RUNNING);
            break;
        default:
            break;
    }
}

int threadCount() {
    DIR* tasks = ::opendir("/proc/self/task");
    if (tasks == nullptr) std::abort();
    int n = 0;
    while (const dirent* e = ::readdir(tasks))
        if (e->d_name[0] != '.') ++n;
    ::closedir(tasks);
    return n;
}

// An enable or disable runs on a detached power worker, which may outlive the input that started
// it. Each input waits until the worker has gone: otherwise it would step the arm of the next
// input, and its per-thread status snapshot, freed as the thread ends, would show as a leak to
// the check that follows an input.
void awaitPowerWorker() {
    static const int idle = threadCount();  // taken at the first input's start: no worker then
    for (int waited = 0; threadCount() > idle; ++waited) {
        if (waited == 50000) {
            std::fprintf(stderr, "the power worker did not end within 5 s\n");
            std::abort();
        }
        ::usleep(100);
    }
}

void cycle(const uint8_t* telegram) {
    std::memcpy(recvBuff, telegram, kTelegram);
    on_update_robot_control_data();
    srl_interpreter(recvBuff, sendBuff);
    arm().step(kCycleSeconds);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The store keeps srci.ini in the working directory: give it a scratch one on tmpfs.
    g_scratchMade = ::mkdtemp(g_scratch) != nullptr;
    if (!g_scratchMade || ::chdir(g_scratch) != 0) std::abort();
    arm().stopThread();
    arm().setManual(true);
    srci::setRcItfSleep([](int ms) { arm().step(ms / 1000.0); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    awaitPowerWorker();
    // Every input starts from a fresh arm and interpreter, as the adapter does at start-up.
    arm().reset();
    srl_config_reset();
    srci::RcItf::get(true)->robotPower(true);
    srci::RcItf::get(true)->robotKineInit();
    srl_data_function_init();
    const unsigned char behaviours[2] = {0x11, 0x01};
    srl_set_return_to_primary_behaviors(behaviours, 1, 2);

    uint8_t telegram[kTelegram];
    while (size >= 1) {
        const uint8_t control = data[0];
        const size_t n = size - 1 < kTelegram ? size - 1 : kTelegram;
        std::memset(telegram, 0, sizeof telegram);
        std::memcpy(telegram, data + 1, n);
        data += 1 + n;
        size -= 1 + n;
        fault(control >> 4);
        const int repeats = 1 << (control & 0x07);
        for (int r = 0; r < repeats; ++r) {
            if (r > 0 && (control & 0x08)) {
                const uint8_t life = static_cast<uint8_t>(((telegram[1] & 0x0F) % 15) + 1);
                telegram[1] = static_cast<uint8_t>((telegram[1] & 0xF0) | life);
                telegram[255] = life;
            }
            cycle(telegram);
        }
    }
    awaitPowerWorker();
    return 0;
}
