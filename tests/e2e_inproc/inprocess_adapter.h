// SPDX-License-Identifier: Apache-2.0
// The adapter's own start-up and cycle run in the caller's process: each PLC telegram from the
// client goes through an in-memory process image into the same runCycle as srci_server's, and
// the simulated arm advances by one 4 ms cycle. Deterministic and fast; the shared-memory link
// is covered by the process tests. Used by the in-process suites and the cycle-count benches.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "itf_rc/rcitf.h"
#include "runtime.h"
#include "srci_plc/client.hpp"
#include "srciport/sim_arm.h"

namespace srci_test {

using srciport::SimArm;

class InProcessAdapter : public srci_plc::Transport {
public:
    static constexpr double kCycleSeconds = 0.004;

    // srci_server's start-up after attaching the process image, with the arm stepped by the
    // adapter's waits instead of its own thread.
    static void startUp() {
        auto& arm = SimArm::instance();
        arm.stopThread();
        arm.setManual(true);
        srci::setRcItfSleep([](int ms) { SimArm::instance().step(ms / 1000.0); });
        ::startUp();
    }

    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override {
        inExchange = true;
        image_.plcToRobot.assign(tx.begin(), tx.begin() + std::min(tx.size(), kTelegram));
        image_.plcToRobot.resize(kTelegram, 0);
        runCycle(image_, state_);
        SimArm::instance().step(kCycleSeconds);
        rx = image_.robotToPlc;
        ++cycles;
        inExchange = false;
    }

    long cycles = 0;
    // Set while this thread runs the adapter's side of an exchange, so that the allocation test
    // can tell the adapter's work from the PLC client's.
    static inline thread_local bool inExchange = false;

private:
    static constexpr size_t kTelegram = srci::SRCI_COMMUDATA_SIZE;

    // The two telegram areas of the process image, without the I/O manager.
    struct MemoryImage final : PlcLink {
        std::vector<uint8_t> plcToRobot = std::vector<uint8_t>(kTelegram, 0);
        std::vector<uint8_t> robotToPlc = std::vector<uint8_t>(kTelegram, 0);
        int recvFromPlc(uint8_t* buf, size_t len) override { return copy(plcToRobot.data(), buf, len); }
        int sendToPlc(const uint8_t* buf, size_t len) override { return copy(buf, robotToPlc.data(), len); }
        static int copy(const uint8_t* from, uint8_t* to, size_t len) {
            const size_t n = std::min(len, kTelegram);
            std::memcpy(to, from, n);
            return static_cast<int>(n);
        }
    };

    MemoryImage image_;
    CycleState state_;
};

}  // namespace srci_test
