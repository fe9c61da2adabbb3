// SPDX-License-Identifier: Apache-2.0
// Which wire command goes to which handler, of which kind, with which records.
#pragma once

#include <cstdint>

#include "registry.h"
#include "srl/srl_config.h"
#include "wire_codec.h"

namespace srl {

enum class Kind : uint8_t {
    Instant,         // one answer: Done or Error
    Motion,          // Buffered at once, then follows the adapter's motion reports
    StopType,        // GroupStop/GroupInterrupt: Done once the arm stands still
    EnableRobot,     // enable-type
    GroupJog,        // enable-type
    ExchangeConfig,  // enable-type, kept active
    ReadMessages,    // enable-type, served by the interpreter itself
};

namespace cmd {
enum : uint16_t {
    EnableRobot = 1000,
    GroupReset = 1001,
    SetOperationMode = 1003,
    SetSequence = 1004,
    ChangeSpeedOverride = 2000,
    GroupContinue = 2001,
    GroupInterrupt = 2002,
    GroupStop = 2003,
    GroupJog = 2100,
    MoveAxesAbsolute = 2101,
    MoveDirectAbsolute = 2102,
    MoveLinearAbsolute = 2103,
    ReadActualPosition = 5100,
    ReadFrameData = 5102,
    ReadLoadData = 5103,
    ReadRobotDefaultDynamics = 5104,
    ReadRobotReferenceDynamics = 5105,
    ReadRobotSWLimits = 5106,
    ReadToolData = 5107,
    WriteFrameData = 5200,
    WriteLoadData = 5201,
    WriteRobotDefaultDynamics = 5202,
    WriteRobotReferenceDynamics = 5203,
    WriteRobotSWLimits = 5204,
    WriteToolData = 5205,
    ReadDigitalInputs = 6100,
    ReadDigitalOutputs = 6101,
    WriteDigitalOutputs = 6104,
    CalculateForwardKinematic = 7203,
    CalculateInverseKinematic = 7204,
    ReadWorkArea = 7502,
    WriteWorkArea = 7503,
    ExchangeConfiguration = 9000,
    ReadMessages = 9001,
    ReadRobotData = 9002,
};
}  // namespace cmd

struct CmdInfo {
    uint16_t type;
    Kind kind;
    Slot slot;
    const RecordDesc* cmd;
    const RecordDesc* rsp;
    uint8_t support_byte;  // RCSupportedFunctions position
    uint8_t support_bit;
};

// nullptr for command types without a mapping.
const CmdInfo* find_command(uint16_t type);
// Whether the adapter's handler for the type stops the axes group itself for an aborting
// execution mode (1 or 8). Only for these may the interpreter report the others Aborted.
bool handler_aborts_others(uint16_t type);
// Whether the SRCI standard defines the type at all (decides 0x8F11 versus 0x8F20).
bool known_command_type(uint16_t type);
// RCSupportedFunctions (19 bytes) from what is registered.
void build_supported_functions(const Registry& reg, const srl_config& cfg, uint8_t out[19]);

}  // namespace srl
