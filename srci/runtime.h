// The adapter process's runtime core: PLC receive preparation, controller-state
// synchronisation into the interpreter, the interpreter's log relay and stage timing.
#pragma once

#include <chrono>
#include <cstdint>

#include "itf_commu/commuitf.h"

inline constexpr uint8_t srci_communication_loop_time_ms = 4;

// The telegram buffers of the current cycle; main thread only.
extern unsigned char recvBuff[srci::SRCI_COMMUDATA_SIZE];
extern unsigned char sendBuff[srci::SRCI_COMMUDATA_SIZE];

// PLC receive preparation and lifesign supervision.
void prepareRecvData(srci::CommuItf& commu);
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
