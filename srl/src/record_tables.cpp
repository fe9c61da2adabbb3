// SPDX-License-Identifier: Apache-2.0
// Offsets follow the payload tables of the SRCI standard (wire) and srl_types.h (host). Where
// both agree the wire and host columns are equal; the differences are commented.
#include "record_tables.h"

#include "srl/srl_types.h"

namespace srl::rec {
namespace {

using FT = FieldType;

constexpr Field B(uint16_t w, uint16_t h, uint16_t n) { return {w, h, n, FT::Bytes}; }
constexpr Field W(uint16_t w, uint16_t h, uint16_t n = 1) { return {w, h, n, FT::U16}; }
constexpr Field D(uint16_t w, uint16_t h, uint16_t n = 1) { return {w, h, n, FT::U32}; }

constexpr uint16_t width(const Field& f) {
    switch (f.type) {
        case FT::U16:
            return static_cast<uint16_t>(2 * f.count);
        case FT::U32:
            return static_cast<uint16_t>(4 * f.count);
        case FT::U16ToU8:
            return 2;
        default:
            return f.count;
    }
}
constexpr uint16_t host_width(const Field& f) { return f.type == FT::U16ToU8 ? 1 : width(f); }

// Every field must lie inside both the wire table and the host record.
template <size_t N>
constexpr bool fits(const Field (&fs)[N], uint16_t wire_len, uint16_t host_len) {
    for (const Field& f : fs) {
        if (f.wire + width(f) > wire_len || f.host + host_width(f) > host_len) return false;
    }
    return true;
}

#define SRL_DESC(name, fields, wire_len, host_len, fixup)                                \
    static_assert(fits(fields, wire_len, host_len), #name ": field outside the record"); \
    const RecordDesc name{wire_len, host_len, fields, static_cast<uint16_t>(sizeof(fields) / sizeof(Field)), fixup};

#define SRL_HDR W(0, 0), B(2, 2, 2)
#define SRL_STAMP W(4, 4), D(6, 6)

// Some clients put ManualStep in byte 7 bit 0 instead of byte 6 bit 1: accept either.
void enable_robot_fixup(const uint8_t* wire, uint8_t* host) {
    if (wire[7] & 0x01) host[6] |= 0x02;
    host[7] = 0;
}

constexpr Field kHdrOnly[] = {SRL_HDR};
constexpr Field kEnableRobot[] = {SRL_HDR, B(4, 4, 4)};
constexpr Field kHdrByte[] = {SRL_HDR, B(4, 4, 1)};
constexpr Field kOverride[] = {SRL_HDR, W(4, 4)};
constexpr Field kAxesAbs[] = {SRL_HDR,      B(4, 4, 6),   W(10, 10, 4), B(18, 18, 2), D(20, 20, 2),
                              D(28, 28, 7), B(56, 56, 2), W(58, 58),    D(60, 60, 5)};
constexpr Field kCartAbs[] = {SRL_HDR,      B(4, 4, 6), W(10, 10, 4), B(18, 18, 4), D(22, 22, 2), D(30, 30, 6),
                              B(54, 54, 6), D(60, 60),  B(64, 64, 6), W(70, 70),    D(72, 72, 5)};
constexpr Field kJog[] = {SRL_HDR, B(4, 4, 6), D(10, 10, 2), W(18, 18), B(20, 20, 3)};
constexpr Field kReadPos[] = {SRL_HDR, B(4, 4, 8)};
constexpr Field kWriteTool[] = {SRL_HDR, SRL_STAMP, D(10, 10, 6), B(34, 34, 5)};
constexpr Field kWriteFrame[] = {SRL_HDR, SRL_STAMP, B(10, 10, 2), D(12, 12, 6), B(36, 36, 1)};
constexpr Field kWriteLoad[] = {SRL_HDR, SRL_STAMP, D(10, 10, 10), B(50, 50, 1)};
constexpr Field kWriteRefDyn[] = {SRL_HDR, SRL_STAMP, D(10, 10, 4)};
constexpr Field kWriteDefDyn[] = {SRL_HDR, SRL_STAMP, W(10, 10, 4)};
constexpr Field kWriteSWLimit[] = {SRL_HDR, SRL_STAMP, D(10, 10, 24), B(106, 106, 1)};
// Standard layout: FrameNo at 16 and every REAL one byte before the host record's (which carries
// an extra DefinitionMode byte at 16). WorkAreaNo (bytes 4-5, USInt + reserved or a UINT) is
// decoded by the command dispatch, which overwrites the host byte set here.
constexpr Field kWriteWorkArea[] = {SRL_HDR,      {4, 4, 1, FT::U16ToU8}, W(6, 6),      D(8, 8),
                                    B(12, 12, 4), B(16, 17, 1),           D(17, 18, 34)};
constexpr Field kReadDigital[] = {SRL_HDR, B(4, 4, 11)};
constexpr Field kWriteDigital[] = {SRL_HDR, B(4, 4, 23)};
// Kinematics: the handlers get the bare position records; ToolNo/FrameNo at 4/5 stay on the wire.
constexpr Field kFkCmd[] = {D(6, 0, 12)};
constexpr Field kIkCmd[] = {D(6, 0, 6), B(30, 24, 6), D(36, 30, 6)};
// Wire 15 DataInSync, 16 reserved, 17 DataEnableSync, 18-19 reserved; the host record keeps
// them as SyncStatePLC[2] and SyncEnable[2] after one reserved byte.
constexpr Field kExchangeCfg[] = {SRL_HDR, B(4, 4, 2), W(6, 6, 4), B(14, 14, 1), B(15, 16, 4), B(19, 15, 1)};
constexpr Field kReadMessages[] = {SRL_HDR, B(4, 4, 3)};

constexpr Field kNone[] = {B(0, 0, 0)};
constexpr Field kOneByte[] = {B(4, 4, 1)};
constexpr Field kAxesAbsRsp[] = {B(4, 4, 2), W(6, 6), W(8, 8)};
constexpr Field kCartAbsRsp[] = {B(4, 4, 2), W(6, 6), W(8, 8), D(10, 10)};
// Wire: E1 at 40, J1..J6 at 44, Cartesian E2..E6 at 68, joint E1..E6 at 88 (112 bytes). The host
// record keeps joint E1 after J6 and two reserved bytes before the extended values.
constexpr Field kReadPosRsp[] = {B(4, 4, 2),   W(6, 6),      B(8, 8, 2),   D(10, 10, 6), B(34, 34, 6),
                                 D(40, 40, 7), D(68, 74, 5), D(88, 68, 1), D(92, 94, 5)};
constexpr Field kReadToolRsp[] = {SRL_STAMP, D(10, 10, 6), B(34, 34, 6)};
constexpr Field kReadFrameRsp[] = {SRL_STAMP, B(10, 10, 2), D(12, 12, 6), B(36, 36, 2)};
constexpr Field kReadLoadRsp[] = {SRL_STAMP, D(10, 10, 10), B(50, 50, 2)};
constexpr Field kReadRefDynRsp[] = {SRL_STAMP, D(10, 10, 4), B(26, 26, 1)};
constexpr Field kWriteRefDynRsp[] = {D(4, 4, 4)};
constexpr Field kReadDefDynRsp[] = {SRL_STAMP, W(10, 10, 4), B(18, 18, 1)};
constexpr Field kWriteDefDynRsp[] = {W(4, 4, 4)};
constexpr Field kReadSWLimitRsp[] = {SRL_STAMP, D(10, 10, 24), B(106, 106, 1)};
constexpr Field kReadWorkAreaRsp[] = {B(4, 4, 2),   W(6, 6),       D(8, 8),       B(12, 12, 4),
                                      B(16, 17, 1), D(17, 18, 34), B(153, 154, 1)};
constexpr Field kReadDigitalRsp[] = {B(4, 4, 2), W(6, 6), B(8, 8, 5)};
constexpr Field kWriteDigitalRsp[] = {B(4, 4, 2), W(6, 6)};
// Wire 4/5 (ToolNoReturn/FrameNoReturn) are filled by the interpreter.
constexpr Field kFkRsp[] = {D(6, 0, 6), B(30, 24, 6), D(36, 30, 6)};
constexpr Field kIkRsp[] = {D(4, 0, 12)};
// The host record's four trailing reserved bytes carry the RC working hours (wire 24); wire
// 28-29 (NumberOfServerLogs) stays 0.
constexpr Field kExchangeCfgRsp[] = {B(4, 4, 2), W(6, 6), B(8, 8, 10), D(18, 18), B(22, 22, 2), D(24, 24)};
constexpr Field kReadRobotDataRsp[] = {B(4, 4, 128), W(132, 132)};
constexpr Field kReadMessagesRsp[] = {B(4, 4, 4), W(8, 8), D(10, 10), B(14, 14, 2), D(16, 16), B(20, 20, 150)};
constexpr Field kCyclicCart[] = {D(0, 0, 6), B(24, 24, 6), D(30, 30), B(34, 34, 6)};

}  // namespace

SRL_DESC(kCmdHeaderOnly, kHdrOnly, 4, 4, nullptr)
SRL_DESC(kCmdEnableRobot, kEnableRobot, 8, sizeof(LRob_typeServerCmdEnableRobot), enable_robot_fixup)
SRL_DESC(kCmdHeaderByte, kHdrByte, 5, sizeof(CmdHeaderByte), nullptr)
SRL_DESC(kCmdChangeSpeedOverride, kOverride, 6, sizeof(LRob_typeServerCmdChangeSpeedOverride), nullptr)
SRL_DESC(kCmdMoveAxesAbs, kAxesAbs, 80, sizeof(LRob_typeServerCmdMoveAxesAbs), nullptr)
SRL_DESC(kCmdMoveCartAbs, kCartAbs, 92, sizeof(LRob_typeServerCmdMoveLinAbs), nullptr)
SRL_DESC(kCmdMoveJog, kJog, 23, sizeof(LRob_typeServerCmdMoveJog), nullptr)
SRL_DESC(kCmdReadActualPosition, kReadPos, 12, sizeof(LRob_typeServerCmdReadActualPosition), nullptr)
SRL_DESC(kCmdReadNumber, kHdrByte, 5, sizeof(LRob_typeServerCmdReadToolData), nullptr)
SRL_DESC(kCmdWriteToolData, kWriteTool, 39, sizeof(LRob_typeServerCmdWriteToolData), nullptr)
SRL_DESC(kCmdWriteFrameData, kWriteFrame, 37, sizeof(LRob_typeServerCmdWriteFrameData), nullptr)
SRL_DESC(kCmdWriteLoadData, kWriteLoad, 51, sizeof(LRob_typeServerCmdWriteLoadData), nullptr)
SRL_DESC(kCmdWriteRefDyn, kWriteRefDyn, 26, sizeof(LRob_typeServerCmdWriteRobotReferenceDynamics), nullptr)
SRL_DESC(kCmdWriteDefDyn, kWriteDefDyn, 18, sizeof(LRob_typeServerCmdWriteRobotDefaultDynamics), nullptr)
SRL_DESC(kCmdWriteSWLimit, kWriteSWLimit, 107, sizeof(LRob_typeServerCmdWriteRobotSWLimit), nullptr)
SRL_DESC(kCmdWriteWorkArea, kWriteWorkArea, 154, sizeof(LRob_typeServerCmdWriteWorkArea), nullptr)
SRL_DESC(kCmdReadDigitalIO, kReadDigital, 15, sizeof(LRob_typeServerCmdReadDigitalIO), nullptr)
SRL_DESC(kCmdWriteDigitalOutputs, kWriteDigital, 27, sizeof(LRob_typeServerCmdWriteDigitalOutputs), nullptr)
SRL_DESC(kCmdForwardKinematic, kFkCmd, 54, sizeof(LRob_typeServerRobotJointPosition), nullptr)
SRL_DESC(kCmdInverseKinematic, kIkCmd, 60, sizeof(LRob_typeServerRobotCartesianPosition), nullptr)
SRL_DESC(kCmdExchangeConfiguration, kExchangeCfg, 20, sizeof(LRob_typeServerCmdExchangeConfiguration), nullptr)
SRL_DESC(kCmdReadMessages, kReadMessages, 7, sizeof(CmdReadMessages), nullptr)

SRL_DESC(kRspHeaderOnly, kNone, 4, 4, nullptr)
SRL_DESC(kRspOneByte, kOneByte, 5, 5, nullptr)
SRL_DESC(kRspMoveAxesAbs, kAxesAbsRsp, 10, sizeof(LRob_typeServerRspMoveAxesAbs), nullptr)
SRL_DESC(kRspMoveCartAbs, kCartAbsRsp, 14, sizeof(LRob_typeServerRspMoveLinAbs), nullptr)
SRL_DESC(kRspReadActualPosition, kReadPosRsp, 112, sizeof(LRob_typeServerRspReadActualPosition), nullptr)
SRL_DESC(kRspReadToolData, kReadToolRsp, 40, sizeof(LRob_typeServerRspReadToolData), nullptr)
SRL_DESC(kRspReadFrameData, kReadFrameRsp, 38, sizeof(LRob_typeServerRspReadFrameData), nullptr)
SRL_DESC(kRspReadLoadData, kReadLoadRsp, 52, sizeof(LRob_typeServerRspReadLoadData), nullptr)
SRL_DESC(kRspReadRefDyn, kReadRefDynRsp, 27, sizeof(LRob_typeServerRspReadRobotReferenceDynamics), nullptr)
SRL_DESC(kRspWriteRefDyn, kWriteRefDynRsp, 20, sizeof(LRob_typeServerRspWriteRobotReferenceDynamics), nullptr)
SRL_DESC(kRspReadDefDyn, kReadDefDynRsp, 19, sizeof(LRob_typeServerRspReadRobotDefaultDynamics), nullptr)
SRL_DESC(kRspWriteDefDyn, kWriteDefDynRsp, 12, sizeof(LRob_typeServerRspWriteRobotDefaultDynamics), nullptr)
SRL_DESC(kRspReadSWLimit, kReadSWLimitRsp, 107, sizeof(LRob_typeServerRspReadRobotSWLimit), nullptr)
SRL_DESC(kRspReadWorkArea, kReadWorkAreaRsp, 154, sizeof(LRob_typeServerRspReadWorkArea), nullptr)
SRL_DESC(kRspReadDigitalIO, kReadDigitalRsp, 13, sizeof(LRob_typeServerRspReadDigitalIO), nullptr)
SRL_DESC(kRspWriteDigitalOutputs, kWriteDigitalRsp, 8, sizeof(LRob_typeServerRspWriteDigitalOutputs), nullptr)
SRL_DESC(kRspForwardKinematic, kFkRsp, 60, sizeof(LRob_typeServerRobotCartesianPosition), nullptr)
SRL_DESC(kRspInverseKinematic, kIkRsp, 52, sizeof(LRob_typeServerRobotJointPosition), nullptr)
SRL_DESC(kRspExchangeConfiguration, kExchangeCfgRsp, 30, sizeof(LRob_typeServerRspExchangeConfiguration), nullptr)
SRL_DESC(kRspReadRobotData, kReadRobotDataRsp, 134, sizeof(LRob_typeServerRspReadRobotData), nullptr)
SRL_DESC(kRspReadMessages, kReadMessagesRsp, 170, sizeof(RspReadMessages), nullptr)
SRL_DESC(kCyclicCartesian, kCyclicCart, 40, sizeof(LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data),
         nullptr)

}  // namespace srl::rec
