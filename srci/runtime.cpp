// SPDX-License-Identifier: Apache-2.0
// Start-up after the process image is attached, and one cycle of the adapter. The process's main
// and the in-process tests both run exactly these, so the tests see what the process does.
#include "runtime.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <string>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_api.h"
#include "srl/srl_define_function.h"
#include "srl/veld_motion_manager.h"

namespace {

// The cycle's messages keep the function name they have always carried in the logs.
#define CYCLE_LOG(level, text) ::srci::logFramed((level), SRCI_LOG_TAG, "main", __LINE__, (text))

constexpr int32_t kStageLimitMs = 50;

void startController() {
    try {
        srci::RcItf::get(true)->robotPower(true);
        srci::RcItf::get(true)->robotKineInit();
    } catch (int code) {
        SRCI_LOG(zlog::ZLogLvError, handler::text("fail to init controller: ", code));
        EDK_Helper::logErr(code);
        throw;
    }
}

SystemTime now() { return std::chrono::system_clock::now(); }

}  // namespace

void monitorTime(SystemTime t0, SystemTime t1, SystemTime t2, int32_t limitMs) {
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const auto d1 = duration_cast<milliseconds>(t1 - t0).count();
    const auto d2 = duration_cast<milliseconds>(t2 - t1).count();
    if (limitMs >= d1 && limitMs >= d2) return;
    SRCI_LOG(zlog::ZLogLvDebug, handler::text("d1: ", d1, ", d2: ", d2, "\n"));
}

void startUp() {
    std::memset(recvBuff, 0, sizeof recvBuff);
    std::memset(sendBuff, 0, sizeof sendBuff);
    startController();
    srl_data_function_init();
    const unsigned char behaviours[2] = {0x11, 0x01};
    srl_set_return_to_primary_behaviors(behaviours, 1, 2);
}

void runCycle(PlcLink& plc, CycleState& state) {
    // The cycle's many status readers share one poll until the cycle commands or waits.
    const srci::SharedStatusPoll sharedPoll;
    const bool appConnected = srci::RcItf::get(true)->isAppConnected();
    if (appConnected != state.lastAppConnected) {
        CYCLE_LOG(zlog::ZLogLvError, handler::text("APP connection state: ", appConnected ? 1 : 0));
        state.lastAppConnected = appConnected;
        if (appConnected) motionManagerTemp.disableStop();
    }
    // While the controller's own application holds the robot, the PLC image is left alone.
    if (appConnected) return;
    // Integer codes (a detached process image) are not caught here: they end the process.
    try {
        prepareRecvData(plc);
        const SystemTime t0 = now();
        on_update_robot_control_data();
        const SystemTime t1 = now();
        srl_interpreter(recvBuff, sendBuff);
        const SystemTime t2 = now();
        monitorTime(t0, t1, t2, kStageLimitMs);
        plc.sendToPlc(sendBuff, sizeof sendBuff);
    } catch (const std::exception& e) {
        CYCLE_LOG(zlog::ZLogLvError, std::string("error-try-catch-in-main-loop...") + e.what());
    }
}
