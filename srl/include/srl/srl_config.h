// SPDX-License-Identifier: Apache-2.0
// Library options of the SRCI interpreter that the adapter does not need to touch.
//
// Everything here has a sensible default; tests, the fuzzer and integrators with unusual PLC
// clients use it. The options are read at every cycle, so they may be changed between cycles.
#pragma once

#include <cstdint>

// Monotonic time source in milliseconds. Tests inject their own to drive timeouts without waiting.
using srl_clock_fn = uint64_t (*)();

struct srl_config {
    // P->R bytes 18-19 (ToolNo/FrameNo) are present only when the client asks for the R->P
    // Cartesian block (TelegramNumberRobToPlc bit 1), as the SRCI standard says. Common PLC clients
    // always send bytes 18-19 whatever their configuration: set this for them.
    bool always_tool_frame = false;
    // AxesGroupID accepted at INITIALIZE besides 0 (single arm: clients use 0 or 1).
    uint8_t axes_group_id = 1;
    // Configured I/O lengths of both telegram directions (64..256); INITIALIZE checks the header.
    uint16_t length_plc_to_rob = 256;
    uint16_t length_rob_to_plc = 256;
    // R->P byte 0. Clients only check the major version (bits 5-7 = 1).
    uint8_t version_byte = 0x23;
    // RCSupportedFunctions advertises every registered function that does real work. The digital
    // I/O commands are registered but do nothing on this robot, and the software-limit write is
    // always refused (limits change through work area 0): both stay unadvertised unless set here.
    // The work-area commands are advertised; WorkAreaNo is read in both layouts met in the field.
    bool advertise_digital_io = false;
    bool advertise_sw_limit_write = false;
    bool advertise_work_areas = true;
    // Client lifesign timeout used until ExchangeConfiguration brings the client's value, when the
    // init parameters do not give one (generalConfiguration.LifeSignTimeOut).
    uint16_t default_lifesign_timeout_ms = 1000;
    // An unacknowledged ReadMessages message is given up after this time.
    uint32_t message_ack_timeout_ms = 5000;
    // GroupStop/GroupInterrupt that never see the arm stand still end with 0x8FFF after this time.
    uint32_t stop_timeout_ms = 10000;
    // Motion commands removed by a stop, SetSequence, an aborting ExecMode, a new jog or a power
    // loss are finalised as Aborted when the adapter has not reported them final this many cycles
    // after the removal and after the arm has stood still for as long.
    uint16_t drop_grace_cycles = 25;
};

void srl_config_set(const srl_config& cfg);
srl_config srl_config_get();
// nullptr restores the monotonic system clock.
void srl_config_set_clock(srl_clock_fn fn);
// Back to power-up: connection state, commands, messages, registrations, init parameters, options
// and clock. Pending log lines are discarded as well.
void srl_config_reset();
