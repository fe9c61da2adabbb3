// SPDX-License-Identifier: Apache-2.0
#include "command_table.h"

#include <algorithm>
#include <iterator>

#include "record_tables.h"

namespace srl {
namespace {

using namespace rec;

constexpr CmdInfo kCommands[] = {
    {cmd::EnableRobot, Kind::EnableRobot, Slot::RobotEnable, &kCmdEnableRobot, &kRspOneByte, 0, 2},
    {cmd::GroupReset, Kind::Instant, Slot::GroupReset, &kCmdHeaderOnly, &kRspHeaderOnly, 0, 3},
    {cmd::SetOperationMode, Kind::Instant, Slot::SetOpMode, &kCmdHeaderByte, &kRspHeaderOnly, 9, 1},
    {cmd::SetSequence, Kind::Instant, Slot::SetSequence, &kCmdHeaderByte, &kRspHeaderOnly, 0, 7},
    {cmd::ChangeSpeedOverride, Kind::Instant, Slot::ChangeOverride, &kCmdChangeSpeedOverride, &kRspHeaderOnly, 1, 0},
    {cmd::GroupContinue, Kind::Instant, Slot::GroupContinue, &kCmdHeaderOnly, &kRspHeaderOnly, 3, 2},
    {cmd::GroupInterrupt, Kind::StopType, Slot::GroupPause, &kCmdHeaderOnly, &kRspHeaderOnly, 3, 3},
    {cmd::GroupStop, Kind::StopType, Slot::GroupStop, &kCmdHeaderOnly, &kRspOneByte, 3, 1},
    {cmd::GroupJog, Kind::GroupJog, Slot::None, &kCmdMoveJog, &kRspOneByte, 2, 5},
    {cmd::MoveAxesAbsolute, Kind::Motion, Slot::MoveAxesAbs, &kCmdMoveAxesAbs, &kRspMoveAxesAbs, 3, 0},
    {cmd::MoveDirectAbsolute, Kind::Motion, Slot::MoveDirectAbs, &kCmdMoveCartAbs, &kRspMoveCartAbs, 2, 7},
    {cmd::MoveLinearAbsolute, Kind::Motion, Slot::MoveLinAbs, &kCmdMoveCartAbs, &kRspMoveCartAbs, 2, 6},
    {cmd::ReadActualPosition, Kind::Instant, Slot::ReadActualPos, &kCmdReadActualPosition, &kRspReadActualPosition, 0,
     4},
    {cmd::ReadFrameData, Kind::Instant, Slot::ReadFrame, &kCmdReadNumber, &kRspReadFrameData, 2, 1},
    {cmd::ReadLoadData, Kind::Instant, Slot::ReadLoad, &kCmdReadNumber, &kRspReadLoadData, 2, 3},
    {cmd::ReadRobotDefaultDynamics, Kind::Instant, Slot::ReadDefDyn, &kCmdHeaderOnly, &kRspReadDefDyn, 2, 0},
    {cmd::ReadRobotReferenceDynamics, Kind::Instant, Slot::ReadRefDyn, &kCmdHeaderOnly, &kRspReadRefDyn, 1, 2},
    {cmd::ReadRobotSWLimits, Kind::Instant, Slot::ReadSWLimit, &kCmdHeaderOnly, &kRspReadSWLimit, 2, 4},
    {cmd::ReadToolData, Kind::Instant, Slot::ReadTool, &kCmdReadNumber, &kRspReadToolData, 2, 2},
    {cmd::WriteFrameData, Kind::Instant, Slot::WriteFrame, &kCmdWriteFrameData, &kRspHeaderOnly, 1, 3},
    {cmd::WriteLoadData, Kind::Instant, Slot::WriteLoad, &kCmdWriteLoadData, &kRspHeaderOnly, 1, 5},
    {cmd::WriteRobotDefaultDynamics, Kind::Instant, Slot::WriteDefDyn, &kCmdWriteDefDyn, &kRspWriteDefDyn, 1, 7},
    {cmd::WriteRobotReferenceDynamics, Kind::Instant, Slot::WriteRefDyn, &kCmdWriteRefDyn, &kRspWriteRefDyn, 1, 6},
    {cmd::WriteRobotSWLimits, Kind::Instant, Slot::WriteSWLimit, &kCmdWriteSWLimit, &kRspOneByte, 9, 0},
    {cmd::WriteToolData, Kind::Instant, Slot::WriteTool, &kCmdWriteToolData, &kRspHeaderOnly, 1, 4},
    {cmd::ReadDigitalInputs, Kind::Instant, Slot::ReadDI, &kCmdReadDigitalIO, &kRspReadDigitalIO, 4, 5},
    {cmd::ReadDigitalOutputs, Kind::Instant, Slot::ReadDO, &kCmdReadDigitalIO, &kRspReadDigitalIO, 4, 6},
    {cmd::WriteDigitalOutputs, Kind::Instant, Slot::WriteDO, &kCmdWriteDigitalOutputs, &kRspWriteDigitalOutputs, 4, 7},
    {cmd::CalculateForwardKinematic, Kind::Instant, Slot::ForwardKin, &kCmdForwardKinematic, &kRspForwardKinematic, 6,
     7},
    {cmd::CalculateInverseKinematic, Kind::Instant, Slot::InverseKin, &kCmdInverseKinematic, &kRspInverseKinematic, 7,
     0},
    {cmd::ReadWorkArea, Kind::Instant, Slot::ReadWorkArea, &kCmdReadNumber, &kRspReadWorkArea, 9, 2},
    {cmd::WriteWorkArea, Kind::Instant, Slot::WriteWorkArea, &kCmdWriteWorkArea, &kRspHeaderOnly, 9, 3},
    {cmd::ExchangeConfiguration, Kind::ExchangeConfig, Slot::ExchangeConfig, &kCmdExchangeConfiguration,
     &kRspExchangeConfiguration, 0, 6},
    {cmd::ReadMessages, Kind::ReadMessages, Slot::None, &kCmdReadMessages, &kRspReadMessages, 1, 1},
    {cmd::ReadRobotData, Kind::Instant, Slot::ReadRobotData, &kCmdHeaderOnly, &kRspReadRobotData, 0, 1},
};

// Every CmdType the SRCI standard lists, sorted.
constexpr uint16_t kKnownTypes[] = {
    1000, 1001, 1003, 1004, 1005, 1006, 1101, 2000, 2001, 2002, 2003, 2100, 2101, 2102, 2103, 2104, 2105,
    2106, 2107, 2108, 2109, 2110, 2111, 2112, 2200, 2201, 2202, 2203, 2204, 2205, 2300, 2301, 2302, 2303,
    2400, 2401, 2402, 2500, 2501, 2502, 2503, 2600, 2601, 2602, 2603, 3000, 3001, 3002, 3003, 3004, 3005,
    3006, 5100, 5101, 5102, 5103, 5104, 5105, 5106, 5107, 5109, 5110, 5111, 5200, 5201, 5202, 5203, 5204,
    5205, 5206, 6000, 6001, 6100, 6101, 6102, 6103, 6104, 6105, 6106, 6107, 6108, 6109, 7000, 7001, 7002,
    7003, 7004, 7005, 7006, 7007, 7008, 7009, 7010, 7100, 7101, 7200, 7201, 7202, 7203, 7204, 7205, 7300,
    7301, 7302, 7400, 7401, 7500, 7501, 7502, 7503, 9000, 9001, 9002, 9003, 9004,
};
static_assert(std::is_sorted(std::begin(kKnownTypes), std::end(kKnownTypes)));

bool handler_present(const Registry& reg, const CmdInfo& c) {
    switch (c.kind) {
        case Kind::ReadMessages:
            return true;
        case Kind::GroupJog:
            return registered(reg, Slot::JogFrame) || registered(reg, Slot::JogTool) || registered(reg, Slot::JogJoint);
        default:
            return registered(reg, c.slot);
    }
}

}  // namespace

const CmdInfo* find_command(uint16_t type) {
    for (const CmdInfo& c : kCommands) {
        if (c.type == type) return &c;
    }
    return nullptr;
}

bool handler_aborts_others(uint16_t type) {
    switch (type) {
        case cmd::MoveAxesAbsolute:
        case cmd::MoveDirectAbsolute:
        case cmd::MoveLinearAbsolute:
        case cmd::WriteToolData:
        case cmd::WriteFrameData:
        case cmd::WriteLoadData:
            return true;
        default:
            return false;
    }
}

bool known_command_type(uint16_t type) {
    return std::binary_search(std::begin(kKnownTypes), std::end(kKnownTypes), type);
}

namespace {

bool advertised(const srl_config& cfg, uint16_t type) {
    switch (type) {
        case cmd::ReadDigitalInputs:
        case cmd::ReadDigitalOutputs:
        case cmd::WriteDigitalOutputs:
            return cfg.advertise_digital_io;
        case cmd::WriteRobotSWLimits:
            return cfg.advertise_sw_limit_write;
        case cmd::ReadWorkArea:
        case cmd::WriteWorkArea:
            return cfg.advertise_work_areas;
        default:
            return true;
    }
}

}  // namespace

// MoveCircular*, MoveLinearAbsoluteJ and SoftSwitchTCP are never advertised: common PLC clients
// send other codes for them, so advertising would make 2103/2106/2109/7205 ambiguous.
void build_supported_functions(const Registry& reg, const srl_config& cfg, uint8_t out[19]) {
    for (int i = 0; i < 19; ++i) out[i] = 0;
    for (const CmdInfo& c : kCommands) {
        if (!handler_present(reg, c) || !advertised(cfg, c.type)) continue;
        out[c.support_byte] = static_cast<uint8_t>(out[c.support_byte] | (1u << c.support_bit));
    }
    // ReadActualPositionCyclic works through the cyclic blocks, which are always served.
    out[0] = static_cast<uint8_t>(out[0] | (1u << 5));
}

}  // namespace srl
