// SPDX-License-Identifier: Apache-2.0
// Field tables of every record the interpreter converts between wire and host order.
#pragma once

#include "wire_codec.h"

namespace srl::rec {

// Private host records of the commands the adapter has no record type for.
#pragma pack(push, 1)
struct CmdHeaderByte {  // SetOperationMode, SetSequence: header and one USInt
    uint8_t header[4];
    uint8_t value;
};
struct CmdReadMessages {
    uint8_t header[4];
    uint8_t MsgID;
    uint8_t Enable;  // bit 0
    uint8_t MessageLevel;
};
struct RspReadMessages {
    uint8_t header[4];
    uint8_t MsgID;
    uint8_t Enabled;  // bit 0
    uint8_t NumberOfActiveErrors;
    uint8_t NumberOfActiveWarnings;
    uint16_t Date;
    uint32_t Time;
    uint8_t MsgType;
    int8_t Severity;
    uint32_t ErrorCode;
    char Text[150];
};
#pragma pack(pop)
static_assert(sizeof(RspReadMessages) == 170);

// Commands (P->R payloads).
extern const RecordDesc kCmdHeaderOnly, kCmdEnableRobot, kCmdHeaderByte, kCmdChangeSpeedOverride, kCmdMoveAxesAbs,
    kCmdMoveCartAbs, kCmdMoveJog, kCmdReadActualPosition, kCmdReadNumber, kCmdWriteToolData, kCmdWriteFrameData,
    kCmdWriteLoadData, kCmdWriteRefDyn, kCmdWriteDefDyn, kCmdWriteSWLimit, kCmdWriteWorkArea, kCmdReadDigitalIO,
    kCmdWriteDigitalOutputs, kCmdForwardKinematic, kCmdInverseKinematic, kCmdExchangeConfiguration, kCmdReadMessages;

// Responses (R->P payloads; bytes 0-3 are written by the interpreter, not by the tables).
extern const RecordDesc kRspHeaderOnly, kRspOneByte, kRspMoveAxesAbs, kRspMoveCartAbs, kRspReadActualPosition,
    kRspReadToolData, kRspReadFrameData, kRspReadLoadData, kRspReadRefDyn, kRspWriteRefDyn, kRspReadDefDyn,
    kRspWriteDefDyn, kRspReadSWLimit, kRspReadWorkArea, kRspReadDigitalIO, kRspWriteDigitalOutputs,
    kRspForwardKinematic, kRspInverseKinematic, kRspExchangeConfiguration, kRspReadRobotData, kRspReadMessages;

// R->P cyclic Cartesian block (bit 1), host record of the cyclic position handler.
extern const RecordDesc kCyclicCartesian;

}  // namespace srl::rec
