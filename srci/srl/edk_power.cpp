// SPDX-License-Identifier: Apache-2.0
// Power-on/enable and disable take the controller seconds, so they run on a detached worker.
// The atomic flag keeps the cycle from starting a worker per cycle; the try-lock makes a
// second worker started in the gap before the flag is set give up.
#include <unistd.h>

#include <thread>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"

VELD_Locker::VELD_Locker(std::mutex& m) : _locker(&m), _lockOK(false) {}

bool VELD_Locker::tryLock() {
    if (_locker == nullptr) return _lockOK;
    _lockOK = _locker->try_lock();
    return _lockOK;
}

VELD_Locker::~VELD_Locker() {
    if (_locker != nullptr && _lockOK) _locker->unlock();
}

void EDK_Helper::TryEnableRobot(bool enable) {
    requireEnable = enable;
    if (!enable_thread_running) std::thread(&EDK_Helper::power_thread, enable).detach();
}

namespace {

void powerAndEnable() {
    srci::RcItf* rc = srci::RcItf::get(true);
    rc->robotPower(true);
    rc->robotEnable(true);
}

// Power stays on: disabling never switches it off. The queues belong to the main thread, which
// makes the stop at its next cycle, well inside the 100 ms given to it before the disable.
void stopAndDisable() {
    srci::RcItf* rc = srci::RcItf::get(true);
    if (rc->isRcMoving()) {
        motionManagerTemp.requestDisableStop();
        usleep(100 * 1000);
    }
    rc->robotEnable(false);
}

}  // namespace

void EDK_Helper::power_thread(bool enable) {
    SRCI_LOG(zlog::ZLogLvInfo, "power thread working...");
    VELD_Locker guard(enable_poweron_locker);
    if (!guard.tryLock()) {
        SRCI_LOG(zlog::ZLogLvInfo, "power thread already in progress...");
        return;
    }
    enable_thread_running = true;
    try {
        if (enable) powerAndEnable();
        else stopAndDisable();
    } catch (int code) {
        logErr(code);
    } catch (const char* text) {
        // Nothing may escape a detached thread: that would end the process.
        SRCI_LOG(zlog::ZLogLvError, text);
    }
    power_enable_need_update = true;
    SRCI_LOG(zlog::ZLogLvInfo, "power thread work end...");
    enable_thread_running = false;
}
