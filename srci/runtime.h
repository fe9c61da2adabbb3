// SPDX-License-Identifier: Apache-2.0
// The adapter process's runtime core: start-up and the cycle, PLC receive preparation,
// controller-state synchronisation into the interpreter, the interpreter's log relay and stage
// timing.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "itf_commu/commuitf.h"

inline constexpr uint8_t srci_communication_loop_time_ms = 4;

// The telegram buffers of the current cycle; main thread only.
extern unsigned char recvBuff[srci::SRCI_COMMUDATA_SIZE];
extern unsigned char sendBuff[srci::SRCI_COMMUDATA_SIZE];

// Where a cycle's telegrams come from and go to: the shared-memory process image in the
// process, an in-memory image in the in-process tests.
class PlcLink {
public:
    virtual ~PlcLink() = default;
    virtual int recvFromPlc(uint8_t* buf, size_t len) = 0;
    virtual int sendToPlc(const uint8_t* buf, size_t len) = 0;
};

class CommuPlcLink final : public PlcLink {
public:
    explicit CommuPlcLink(srci::CommuItf& commu) : commu_(commu) {}
    int recvFromPlc(uint8_t* buf, size_t len) override { return commu_.recvFromPlc(buf, len); }
    int sendToPlc(const uint8_t* buf, size_t len) override { return commu_.sendToPlc(buf, len); }

private:
    srci::CommuItf& commu_;
};

// Everything after the process image is attached and before the first cycle: zeroed telegram
// buffers, a powered robot with kinematics, the handlers registered with the interpreter.
// Integer codes from the controller are logged and rethrown.
void startUp();

// What one cycle remembers for the next.
struct CycleState {
    bool lastAppConnected = false;
};

// One cycle without its leading sleep: application hand-over, PLC telegram in, controller state
// into the interpreter, the interpreter, stage timing, answer out.
void runCycle(PlcLink& plc, CycleState& state);

// PLC receive preparation and lifesign supervision.
void prepareRecvData(PlcLink& plc);
void checkDataTemp();

// Controller-state synchronisation.
void on_update_robot_control_data();
void on_update_cyclic_state();
void on_update_power_enable_state();
void on_update_position();
void on_sync();
void syncTool(bool enabled);
void syncFrame(bool enabled);
void syncLoad(bool enabled);
void syncDefaultRef(bool enabled);
void syncRefDyn(bool enabled);
void syncSoftLimit(bool enabled);
void syncWorkArea(bool enabled);

// The interpreter's diagnostics into the process log.
void EDKLogThread();
void output_edk_log();

using SystemTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;
void monitorTime(SystemTime t0, SystemTime t1, SystemTime t2, int32_t limitMs);
