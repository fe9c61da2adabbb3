// The adapter's cycle run in the test's own process: each PLC telegram from the client goes
// through the controller-state update and the interpreter, and the simulated arm advances by one
// 4 ms cycle. Deterministic and fast; the shared-memory link is covered by the process tests.
#pragma once

#include <cstring>
#include <vector>

#include "itf_rc/rcitf.h"
#include "runtime.h"
#include "srci_plc/client.hpp"
#include "srciport/sim_arm.h"
#include "srl/srl_api.h"
#include "srl/srl_define_function.h"

namespace srci_test {

class InProcessAdapter : public srci_plc::Transport {
public:
    static constexpr double kCycleSeconds = 0.004;

    // What main() does before its first cycle, with the arm stepped by the adapter's waits.
    static void startUp() {
        auto& arm = srciport::SimArm::instance();
        arm.stopThread();
        arm.setManual(true);
        srci::setRcItfSleep([](int ms) { srciport::SimArm::instance().step(ms / 1000.0); });
        srci::RcItf::get(true)->robotPower(true);
        srci::RcItf::get(true)->robotKineInit();
        srl_data_function_init();
        const unsigned char behaviours[2] = {0x11, 0x01};
        srl_set_return_to_primary_behaviors(behaviours, 1, 2);
    }

    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override {
        std::memset(recvBuff, 0, sizeof recvBuff);
        std::memcpy(recvBuff, tx.data(), std::min<size_t>(tx.size(), sizeof recvBuff));
        on_update_robot_control_data();
        srl_interpreter(recvBuff, sendBuff);
        srciport::SimArm::instance().step(kCycleSeconds);
        rx.assign(sendBuff, sendBuff + sizeof sendBuff);
        ++cycles;
    }

    long cycles = 0;
};

}  // namespace srci_test
