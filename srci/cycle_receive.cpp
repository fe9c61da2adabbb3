// SPDX-License-Identifier: Apache-2.0
// Fills recvBuff with the PLC's telegram while PROFINET runs, zeros otherwise, and reports
// link changes once each.
#include <cstring>
#include <string>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "runtime.h"
#include "srl/srl_api.h"

unsigned char recvBuff[srci::SRCI_COMMUDATA_SIZE];
unsigned char sendBuff[srci::SRCI_COMMUDATA_SIZE];

namespace {
// About 160 ms at 4 ms per cycle: shorter drops are not worth a log line.
constexpr uint32_t kStoppedAfterCycles = 39;
constexpr uint32_t kCountCeiling = 9999;
}  // namespace

void prepareRecvData(PlcLink& plc) {
    static bool profinet_running_reported = false;
    static uint32_t profinet_fail_count = 0;
    std::memset(recvBuff, 0, sizeof recvBuff);
    if (srci::RcItf::get(true)->isProfinetRunning()) {
        profinet_fail_count = 0;
        if (!profinet_running_reported) {
            profinet_running_reported = true;
            SRCI_LOG(zlog::ZLogLvError, "profinet running...");
        }
        plc.recvFromPlc(recvBuff, sizeof recvBuff);
        return;
    }
    if (++profinet_fail_count > kCountCeiling) profinet_fail_count = kStoppedAfterCycles + 1;
    if (profinet_fail_count > kStoppedAfterCycles && profinet_running_reported) {
        profinet_running_reported = false;
        SRCI_LOG(zlog::ZLogLvError, "profinet stopped...");
    }
}

// Kept for diagnosis; the cycle does not call it.
void checkDataTemp() {
    static int32_t count = 0;
    static int32_t sameLifeSignCount = 0;
    if (++count > 5000) {
        count = 0;
        SRCI_LOG(zlog::ZLogLvDebug, "alive...");
        std::string bytes;
        for (int i = 0; i < 18; ++i) bytes += std::to_string(recvBuff[i]) + ",";
        SRCI_LOG(zlog::ZLogLvDebug, bytes);
    }
    // A plain local on purpose: every call compares against 0, which detects a lifesign stuck
    // at zero.
    unsigned char lastLifeSign = 0;
    LRob_typeSystemState state{};
    srl_get_system_state(&state);
    if (state.state.riState == 71 || !srci::RcItf::get(true)->isProfinetRunning()) return;
    if (recvBuff[1] != lastLifeSign) {
        sameLifeSignCount = 0;
        lastLifeSign = recvBuff[1] & 0x0F;
        return;
    }
    if (++sameLifeSignCount > 20) {
        sameLifeSignCount = 0;
        SRCI_LOG(zlog::ZLogLvDebug, "too much repeated lifesign...");
    }
}
