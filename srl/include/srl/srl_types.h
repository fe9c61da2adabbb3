// SPDX-License-Identifier: Apache-2.0
// Host-order records exchanged between the SRCI interpreter and the command handlers.
//
// Every record is packed (no padding); field names and sizes are the interpreter's interface
// and are checked at compile time below. The interpreter converts between these host-order
// records and the big-endian wire layouts of the SRCI standard with its own field tables, so a
// handler never sees wire byte order.
#pragma once

#include <cstdint>

using USInt = uint8_t;
using SInt = int8_t;
using UInt = uint16_t;
using Int = int16_t;
using UDInt = uint32_t;
using DInt = int32_t;
using Real = float;
using LReal = double;
using Bool = uint8_t;
using Byte = uint8_t;
using Char = char;

#pragma pack(push, 1)

// ---------------------------------------------------------------- common pieces
struct LRob_typeServerCmdHeader {
    UInt CmdType;
    USInt Reserved_ExecutionMode;  // execution mode (0 primary, 1 primary+abort, 2 parallel, ...)
    USInt Priority_ParSeq;         // lo nibble priority, hi nibble parameter-set counter
};
struct LRob_typeServerRspHeader {
    USInt ParSeq_State;  // lo nibble state, hi nibble ParSeq (filled by the interpreter)
    SInt AlarmMessageSeverity;
    UInt AlarmMessageCode;
};
struct LRob_typeServerCmdTriggerSubheader {
    SInt EmitterID[4];
    SInt ListenerID;
    Byte Reserved;
};
struct LRob_typeServerRspTriggerSubheader {
    USInt InvocationCounter;
    SInt Reserved;
    Int OriginID;
};
struct LRob_typeTimeStamp {
    UInt Datee;  // days since 1990-01-01
    UDInt Time;  // ms since midnight
};
struct LRob_typeServerRobotDynamicsTelegramm {
    UInt VelocityRate;  // 0.01 % units, 10000 = 100 %
    UInt AccelerationRate;
    UInt DecelerationRate;  // 65535 = not used
    UInt JerkRate;
};
struct LRob_typeServerRobotCoordinateSystemParameters {
    USInt ToolNo;  // 255 = the active one
    USInt FrameNo;
};
struct LRob_typeServerRobotConfig {
    uint8_t Shoulder : 1;
    uint8_t Elbow : 1;
    uint8_t Wrist : 1;
    uint8_t Reserved : 5;
};
struct LRob_typeServerRobotShortJointPosition {
    Real J1, J2, J3, J4, J5, J6, E1;
};
struct LRob_typeServerRobotExtendedJointPosition {
    Real E2, E3, E4, E5, E6;
};
struct LRob_typeServerRobotJointPosition {
    LRob_typeServerRobotShortJointPosition Joint;
    LRob_typeServerRobotExtendedJointPosition ExtendedJoint;
};
struct LRob_typeServerRobotShortCartesianPosition {
    Real X, Y, Z, RX, RY, RZ;
    LRob_typeServerRobotConfig Config;
    Byte res;
    Byte TurnNumber[4];
    Real E1;
};
struct LRob_typeServerRobotExtendedCartesianPosition {
    Real E2, E3, E4, E5, E6;
};
struct LRob_typeServerRobotCartesianPosition {
    LRob_typeServerRobotShortCartesianPosition Position;
    LRob_typeServerRobotExtendedCartesianPosition ExtendedPosition;
};
struct LRob_typeServerRobotJogControl {
    uint8_t X_J1_Pos : 1, Y_J2_Pos : 1, Z_J3_Pos : 1, RX_J4_Pos : 1, RY_J5_Pos : 1, RZ_J6_Pos : 1, X_J1_Neg : 1,
        Y_J2_Neg : 1;
    uint8_t Z_J3_Neg : 1, RX_J4_Neg : 1, RY_J5_Neg : 1, RZ_J6_Neg : 1, E1_Pos : 1, E2_Pos : 1, E3_Pos : 1, E4_Pos : 1;
    uint8_t E5_Pos : 1, E6_Pos : 1, E1_Neg : 1, E2_Neg : 1, E3_Neg : 1, E4_Neg : 1, E5_Neg : 1, E6_Neg : 1;
};
struct LRob_typeServerSyncEnable {
    uint8_t Tool : 1, Frame : 1, Load : 1, WorkArea : 1, SwLimits : 1, DefaultDynamic : 1, ReferenceDynamic : 1,
        Spare_0_7 : 1;
    uint8_t Spare_1;
};

// ---------------------------------------------------------------- motion commands
struct LRob_typeServerCmdMoveAxesAbs {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    LRob_typeServerRobotDynamicsTelegramm DynamicParameter;
    USInt ToolNo;
    USInt BlendingMode;
    Real BlendingParameter[2];
    LRob_typeServerRobotShortJointPosition Joint;
    Bool Manipulation;
    Byte Reserved;
    UInt Time;
    LRob_typeServerRobotExtendedJointPosition ExtendedJoint;
};
struct LRob_typeServerRspMoveAxesAbs {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRspTriggerSubheader TriggerHeader;
    UInt Progress;
};
struct LRob_typeServerCmdMoveLinAbs {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    LRob_typeServerRobotDynamicsTelegramm DynamicParameter;
    LRob_typeServerRobotCoordinateSystemParameters CoordSystem;
    USInt BlendingMode;
    USInt OriMode;
    Real BlendingParameter[2];
    LRob_typeServerRobotShortCartesianPosition Position;
    Bool Manipulation;
    USInt TurnMode;
    Byte ConfigMode[2];  // [0] lo nibble shoulder, hi nibble elbow; [1] lo nibble wrist
    Byte Reserved[2];
    UInt Time;
    LRob_typeServerRobotExtendedCartesianPosition ExtendedPosition;
};
struct LRob_typeServerCmdMoveDirectAbs {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    LRob_typeServerRobotDynamicsTelegramm DynamicParameter;
    LRob_typeServerRobotCoordinateSystemParameters CoordSystem;
    USInt BlendingMode;
    USInt Reserved_1;
    Real BlendingParameter[2];
    LRob_typeServerRobotShortCartesianPosition Position;
    Bool Manipulation;
    USInt TurnMode;
    Byte ConfigMode[2];
    Byte Reserved[2];
    UInt Time;
    LRob_typeServerRobotExtendedCartesianPosition ExtendedPosition;
};
struct LRob_typeServerRspMoveLinAbs {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRspTriggerSubheader TriggerHeader;
    UInt Progress;
    Real RemainingDistance;
};
using LRob_typeServerRspMoveDirectAbs = LRob_typeServerRspMoveLinAbs;

// GroupJog: the relative (incremental) moves of the handlers.
struct LRob_typeServerCmdMoveJog {
    LRob_typeServerCmdHeader Header;
    uint8_t Enable : 1, Reserved_0 : 7;
    Byte Reserved_1;
    LRob_typeServerRobotCoordinateSystemParameters CoordSystem;
    USInt Mode;  // 0 frame, 1 tool, 2 joints
    Byte Reserved_2;
    Real IncrementalTranslation;
    Real IncrementalRotation;
    UInt JogOverride;
    LRob_typeServerRobotJogControl JogControl;
};
struct LRob_typeServerRspMoveJog {
    LRob_typeServerRspHeader Header;
    uint8_t Enabled : 1, DistanceReached : 1, MotionActive : 1, Reserved : 5;
};

// ---------------------------------------------------------------- robot state and group commands
struct LRob_typeServerCmdEnableRobot {
    LRob_typeServerCmdHeader Header;
    uint8_t Enable : 1, Reserved_0 : 7;
    USInt StepMode;
    uint8_t HoldToRun : 1, ManualStep : 1, Reserved_1 : 6;
    Byte Reserved_2;
};
struct LRob_typeServerRspEnableRobot {
    LRob_typeServerRspHeader Header;
    uint8_t Enabled : 1, Reserved : 7;
};
struct LRob_typeServerCmdHeaderOnly {
    LRob_typeServerCmdHeader Header;
};
struct LRob_typeServerRspHeaderOnly {
    LRob_typeServerRspHeader Header;
};
using LRob_typeServerCmdGroupReset = LRob_typeServerCmdHeaderOnly;
using LRob_typeServerRspGroupReset = LRob_typeServerRspHeaderOnly;
using LRob_typeServerCmdGroupStop = LRob_typeServerCmdHeaderOnly;
using LRob_typeServerCmdGroupPause = LRob_typeServerCmdHeaderOnly;
using LRob_typeServerRspGroupPause = LRob_typeServerRspHeaderOnly;
using LRob_typeServerCmdGroupContinue = LRob_typeServerCmdHeaderOnly;
using LRob_typeServerRspGroupContinue = LRob_typeServerRspHeaderOnly;
struct LRob_typeServerRspGroupStop {
    LRob_typeServerRspHeader Header;
    SInt AbortedSequence;
};
struct LRob_typeServerCmdSetOperationMode {
    LRob_typeServerCmdHeader Header;
    USInt OperationMode;
};
using LRob_typeServerRspSetOperationMode = LRob_typeServerRspHeaderOnly;
struct LRob_typeServerCmdChangeSpeedOverride {
    LRob_typeServerCmdHeader Header;
    UInt Override;
};
using LRob_typeServerRspChangeSpeedOverride = LRob_typeServerRspHeaderOnly;

// ---------------------------------------------------------------- tool, frame, load
struct LRob_typeServerRobotToolDataValues {
    Real X, Y, Z, RX, RY, RZ;
    USInt ID;
    USInt LoadNo;
    Bool ExternalTCP;
    Byte Reserved;
};
struct LRob_typeServerRobotToolData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotToolDataValues Data;
};
struct LRob_typeServerCmdReadToolData {
    LRob_typeServerCmdHeader Header;
    USInt ToolNo;
};
struct LRob_typeServerRspReadToolData {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotToolData ToolData;
    USInt ToolNo;
    Bool DataChanged;
};
struct LRob_typeServerCmdWriteToolData {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotToolData ToolData;
    USInt ToolNo;
    Byte Reserved;
};
using LRob_typeServerRspWriteToolData = LRob_typeServerRspHeaderOnly;

struct LRob_typeServerRobotFrameDataValues {
    USInt ReferenceFrame;
    Byte Reserved;
    Real X, Y, Z, RX, RY, RZ;
};
struct LRob_typeServerRobotFrameData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotFrameDataValues Data;
};
struct LRob_typeServerCmdReadFrameData {
    LRob_typeServerCmdHeader Header;
    USInt FrameNo;
};
struct LRob_typeServerRspReadFrameData {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotFrameData FrameData;
    USInt FrameNo;
    Bool DataChanged;
};
struct LRob_typeServerCmdWriteFrameData {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotFrameData FrameData;
    USInt FrameNo;
    Byte Reserved;
};
using LRob_typeServerRspWriteFrameData = LRob_typeServerRspHeaderOnly;

struct LRob_typeServerRobotLoadDataValues {
    Real X, Y, Z, RX, RY, RZ;
    Real Mass;
    Real IX, IY, IZ;
};
struct LRob_typeServerRobotLoadData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotLoadDataValues Data;
};
struct LRob_typeServerCmdReadLoad_Data {
    LRob_typeServerCmdHeader Header;
    USInt LoadNo;
};
struct LRob_typeServerRspReadLoadData {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotLoadData LoadData;
    USInt LoadNo;
    Bool DataChanged;
};
struct LRob_typeServerCmdWriteLoadData {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotLoadData LoadData;
    USInt LoadNo;
    Byte Reserved;
};
using LRob_typeServerRspWriteLoadData = LRob_typeServerRspHeaderOnly;

// ---------------------------------------------------------------- dynamics
struct LRob_typeServerRobotReferenceDynamicsValues {
    Real VelocityReference;
    Real AccelerationReference;
    Real DecelerationReference;
    Real JerkReference;
};
struct LRob_typeServerRobotReferenceDynamics {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotReferenceDynamicsValues Data;
};
struct LRob_typeServerCmdWriteRobotReferenceDynamics {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotReferenceDynamics ReferenceDynamics;
};
struct LRob_typeServerRspWriteRobotReferenceDynamics {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotReferenceDynamicsValues ReferenceDynamicValues;
};
using LRob_typeServerCmdReadRobotReferenceDynamics = LRob_typeServerCmdHeaderOnly;
struct LRob_typeServerRspReadRobotReferenceDynamics {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotReferenceDynamics ReferenceDynamics;
    Bool DataChanged;
    Byte Reserved;
};
struct LRob_typeServerRobotDefaultDynamics {
    LRob_typeTimeStamp Timestamp;
    LRob_typeServerRobotDynamicsTelegramm Data;
};
struct LRob_typeServerCmdWriteRobotDefaultDynamics {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotDefaultDynamics DefaultDynamics;
};
struct LRob_typeServerRspWriteRobotDefaultDynamics {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotDynamicsTelegramm DefaultDynamicValues;
};
using LRob_typeServerCmdReadRobotDefaultDynamics = LRob_typeServerCmdHeaderOnly;
struct LRob_typeServerRspReadRobotDefaultDynamics {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotDefaultDynamics DefaultDynamics;
    Bool DataChanged;
    Byte Reserved;
};

// ---------------------------------------------------------------- position, kinematics, robot data
struct LRob_typeServerCmdReadActualPosition {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    LRob_typeServerRobotCoordinateSystemParameters coordinateSystem;
};
struct LRob_typeServerRspReadActualPosition {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRspTriggerSubheader TriggerHeader;
    LRob_typeServerRobotCoordinateSystemParameters CoordinateSystem;
    LRob_typeServerRobotShortCartesianPosition Cartesian;
    LRob_typeServerRobotShortJointPosition Joint;
    Byte Reserved_1;
    Byte Reserved_2;
    LRob_typeServerRobotExtendedCartesianPosition CartesianExtended;
    LRob_typeServerRobotExtendedJointPosition JointExtended;
};
// The R->P cyclic Cartesian block, produced by the cyclic position handler.
struct LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data {
    LRob_typeServerRobotShortCartesianPosition Position;
    LRob_typeServerRobotCoordinateSystemParameters CoordinateSystem;
    LRob_typeServerRobotCoordinateSystemParameters CurrentCoordinateSystem;
    Byte Reserved_1;
    Byte Reserved_2;
};
struct LRob_typeServerCmdExchangeConfiguration {
    LRob_typeServerCmdHeader Header;
    USInt LogLevel;
    uint8_t WaitAtBlendingZone : 1, Enable : 1, AllowSecondaryWhileCSP : 1, AllowDynamicBlending : 1, Reserved_0 : 4;
    UInt DelayTime;
    UInt WaitForNrOfCmd;
    UInt LifeSignTimeOut;
    UInt SyncDelayTime;
    USInt SyncReaction;
    Byte res5;
    Byte SyncStatePLC[2];
    LRob_typeServerSyncEnable SyncEnable;
};
struct LRob_typeServerRspExchangeConfigurationState {
    uint8_t brakeTestRequired : 1, stepModeExactStopActive : 1, stepModeBlendingActive : 1, pathAccuracyMode : 1,
        avoidSingularity : 1, collisionDetectionEnabled : 1, acceleratingSupported : 1, decceleratingSupported : 1;
    uint8_t constantVelocitySupported : 1, Reserved : 7;
};
struct LRob_typeServerRspExchangeConfiguration {
    LRob_typeServerRspHeader Header;
    uint8_t Enabled : 1, Reserved_0 : 7;
    Byte reserved;
    UInt LengthACR;
    USInt UbTools;
    USInt UbFrames;
    USInt UbLoads;
    USInt UbWorkarea;
    Byte SyncStateRC[6];  // DataInSync, reserved, change index tool/frame/load/work area
    UDInt RAWorkingHours;
    LRob_typeServerRspExchangeConfigurationState State;
    Byte reserved_2[4];
};
using LRob_typeServerCmdReadRobotData = LRob_typeServerCmdHeaderOnly;
struct LRob_typeServerRspReadRobotData {
    LRob_typeServerRspHeader Header;
    Char RCManufacturer[20];
    Char RCOrderID[20];
    Char RCSerialNumber[16];
    Char RASerialNumber[16];
    Char RCFirmwareVersion[12];
    USInt RCInterpreterVersion[3];
    Byte res1;
    Byte AxisJointUsed;
    Byte AxisExternalUsed;
    Byte AxisJointUnit;
    Byte AxisExternalUnit;
    Byte RCSupportedFunctions[19];
    Byte res2;
    Char RobotID[16];
    UInt InterpreterCycleTime;
};

// ---------------------------------------------------------------- digital I/O
struct LRob_typeServerCmdReadDigitalIO {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    USInt Index[5];
};
struct LRob_typeServerRspReadDigitalIO {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRspTriggerSubheader TriggerHeader;
    Byte Values[5];
};
struct LRob_typeServerCmdWriteDigitalOutputs {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerCmdTriggerSubheader TriggerHeader;
    USInt Index[5];
    Byte Reserved_1;
    Byte OutputBitmask[5];
    Byte Reserved_2;
    Byte Values[5];
};
struct LRob_typeServerRspWriteDigitalOutputs {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRspTriggerSubheader TriggerHeader;
};

// ---------------------------------------------------------------- software limits, work areas
struct LRob_typeServerRobotSWLimitValues {
    LRob_typeServerRobotShortJointPosition JointLowerLimit;
    LRob_typeServerRobotShortJointPosition JointUpperLimit;
    LRob_typeServerRobotExtendedJointPosition ExtendedJointLowerLimit;
    LRob_typeServerRobotExtendedJointPosition ExtendedJointUpperLimit;
};
struct LRob_typeServerRobotSWLimit {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotSWLimitValues Data;
};
using LRob_typeServerCmdReadRobotSWLimit = LRob_typeServerCmdHeaderOnly;
struct LRob_typeServerRspReadRobotSWLimit {
    LRob_typeServerRspHeader Header;
    LRob_typeServerRobotSWLimit SWLimit;
    Bool DataChanged;
    Byte Reserved;
};
struct LRob_typeServerCmdWriteRobotSWLimit {
    LRob_typeServerCmdHeader Header;
    LRob_typeServerRobotSWLimit SWLimits;
    Bool ResetToFactoryDefaults;
};
struct LRob_typeServerRspWriteRobotSWLimit {
    LRob_typeServerRspHeader Header;
    Bool restartRequested;
    Byte Reserved;
};
struct LRob_typeServerRobotWorkAreaValues {
    USInt AreaType;
    Bool AreaMode;
    USInt ReactionMode;
    Bool ActiveModification;
    USInt DefinitionMode;
    USInt FrameNo;
    Real ZeroPointX, ZeroPointY, ZeroPointZ;
    Real X1, X2, Y1, Y2, Z1, Z2;
    Real Radius;
    LRob_typeServerRobotShortJointPosition JointLowerLimit;
    LRob_typeServerRobotShortJointPosition JointUpperLimit;
    LRob_typeServerRobotExtendedJointPosition ExtendedJointLowerLimit;
    LRob_typeServerRobotExtendedJointPosition ExtendedJointUpperimit;
};
struct LRob_typeServerRobotWorkAreaData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotWorkAreaValues Data;
};
struct LRob_typeServerCmdReadWorkArea {
    LRob_typeServerCmdHeader Header;
    USInt WorkAreaNo;
};
struct LRob_typeServerRspReadWorkArea {
    LRob_typeServerRspHeader Header;
    USInt WorkAreaNo;
    Byte Reserved;
    LRob_typeServerRobotWorkAreaData WorkAreaData;
    Bool DataChanged;
};
struct LRob_typeServerCmdWriteWorkArea {
    LRob_typeServerCmdHeader Header;
    USInt WorkAreaNo;
    Byte Reserved;
    LRob_typeServerRobotWorkAreaData WorkAreaData;
};
using LRob_typeServerRspWriteWorkArea = LRob_typeServerRspHeaderOnly;

// ---------------------------------------------------------------- initialisation records
struct LRob_typeRobotServerToolData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotToolDataValues Data;
    Bool dataChanged;
    Bool isAvailable;
};
struct LRob_typeRobotServerFrameData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotFrameDataValues Data;
    Bool dataChanged;
    Bool isAvailable;
    Bool isDynamicFrame;
};
struct LRob_typeRobotServerLoadData {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotLoadDataValues Data;
    Bool dataChanged;
    Bool isAvailable;
};
struct LRob_typeRobotServerWorkArea {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotWorkAreaValues Data;
    Bool dataChanged;
    Bool isAvailable;
};
struct LRob_typeRobotServerReferenceDynamics {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotReferenceDynamicsValues Data;
    Bool dataChanged;
};
struct LRob_typeRobotServerDefaultDynamicsValues {
    Real VelocityRate;  // percent
    Real AccelerationRate;
    Real DecelerationRate;
    Real JerkRate;
};
struct LRob_typeRobotServerDefaultDynamics {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeRobotServerDefaultDynamicsValues Data;
    Bool dataChanged;
};
struct LRob_typeServer_Kinematics_JointLimits {
    Int J1_Neg, J1_Pos, J2_Neg, J2_Pos, J3_Neg, J3_Pos, J4_Neg, J4_Pos, J5_Neg, J5_Pos, J6_Neg, J6_Pos;
};
struct LRob_typeRobotServerSWLimit {
    LRob_typeTimeStamp TimeStamp;
    LRob_typeServerRobotSWLimitValues Data;
    Bool dataChanged;
};
struct LRob_typeRobotBaseData {
    Char RobotID[16];
    Char SRCIVersion[12];
    Char RCManufacturer[20];
    Char RCOrderID[20];
    Char RCSerialNumber[16];
    Char RASerialNumber[16];
    Char RCFirmwareVersion[12];
    Char RCInterpreterVersion[3];
    Char RCUserDefinedName[20];
    Byte AxisJointUsed;
    Byte AxisExternalUsed;
    Byte AxisJointUnit;
    Byte AxisExternalUnit;
    UInt InterpreterCycleTime;
};
struct LRob_typeServerRobotDHParameter {
    Real Alpha[7];
    Real A[7];
    Real D[7];
    Real Theta[7];
    Real PositiveJointDirection[7];
    Real JointZeroPosition[7];
};
struct LRob_typeVersion {
    USInt major;
    USInt minor;
};
struct LRob_typeGeneralConfiguration {
    Real DelayTime;
    Real SyncDelayTime;
    UInt WaitForNrOfCmd;
    UInt LifeSignTimeOut;  // ms
    Bool BlendingBehavior;
    Bool AllowSecondaryWhileCSP;
};
struct LRob_typeOtherSystemVariables {
    UInt ipAddress[6];
    Real adjustmentPosDeg[12];
    Real adjustmentPosMm[12];
};
struct LRob_typeDebugData {
    LRob_typeVersion plcSrciVersion;
};
struct LRob_typePersistentData {
    LRob_typeVersion srciVersion;
    LRob_typeRobotServerFrameData frames[20];
    LRob_typeRobotServerToolData tools[20];
    LRob_typeRobotServerLoadData loads[20];
    LRob_typeRobotServerWorkArea workAreas[11];
    LRob_typeRobotServerReferenceDynamics referenceDynamics;
    LRob_typeRobotServerDefaultDynamics defaultDynamics;
    LRob_typeServer_Kinematics_JointLimits hardwareLimits;
    LRob_typeRobotServerSWLimit swLimits;
    LRob_typeRobotBaseData masterData;
    Char language[2];
    LRob_typeServerRobotDHParameter dhParameter;
    Real monitoringSpeed;
    LRob_typeGeneralConfiguration generalConfiguration;
    Real workingHours;
    LReal workingTime;
    LRob_typeOtherSystemVariables otherSystemVariables;
    LRob_typeDebugData debug;
};

struct LRob_typeServerAxesGroupParameterCmdDefinition {
    Byte Reserved[8];
};
struct LRob_typeServerSyncModes {
    SInt Tool, Frame, Load, WorkAreas, SwLimits, DefaultDynamics, ReferenceDynamics;
};
struct LRob_typeServerAxesGroupParameterClient {
    LRob_typeServerSyncModes Sync;
};
struct LRob_typeServerAxesGroupParameterServer {
    UInt LengthACR;
    USInt UbTool, UbFrame, UbLoad, UbWorkarea, WorkingHours;
};
struct LRob_typeServerConfigOptionalCyclicFlags {
    uint16_t SubProgramData : 1, CartesianPosition : 1, JointPosition : 1, Force : 1, Current : 1, Bit5 : 1, Bit6 : 1,
        Bit7 : 1, TwoSequences : 1, CartesianPositionExt : 1, JointPositionExt : 1, ForceExt : 1, CurrentExt : 1,
        Bit13 : 1, Bit14 : 1, Bit15 : 1;
};
struct LRob_typeServerConfigOptionalCyclic {
    LRob_typeServerConfigOptionalCyclicFlags ClientServer;
    LRob_typeServerConfigOptionalCyclicFlags ServerClient;
};
struct LRob_typeServerAxesGroupParameter {
    LRob_typeServerAxesGroupParameterCmdDefinition CMD;
    LRob_typeServerAxesGroupParameterClient PLC;
    LRob_typeServerAxesGroupParameterServer RC;
    LRob_typeServerConfigOptionalCyclic ConfigOptionalCyclic;
};

// ---------------------------------------------------------------- interpreter state
struct LRob_typeHfsm {
    USInt riState;          // letters: 'G' (71) initialised robot disabled, 'H' (72) enabled, ...
    USInt rcSequenceState;  // 91 idle, 92 executing, 93 interrupted
    USInt rcPowerState;     // non-zero: robot enabled
    USInt telegramState;    // wire TelegramState (254, 255, 161..173)
};
struct LRob_typeSequenceInfo {
    USInt activeSequence;  // 0 none, 1 primary, 2 secondary
    USInt activeCMD[3];    // non-zero: a command is active in that sequence
};
struct LRob_typePathInfo {
    Bool isLeft;
};
struct LRob_typeSequencing {
    LRob_typeSequenceInfo sequence;
    LRob_typePathInfo path;
};
struct LRob_typeTaskManager {
    LRob_typeSequencing sequencing;
};
struct LRob_typeEnableRobotMemory {
    USInt wasHoldToRunPressed;
    USInt wasManualStepActive;
    USInt isHoldToRunValid;
    USInt lastStepMode;
};
struct LRob_typeCmdMemory {
    LRob_typeEnableRobotMemory enableRobot;
};
struct LRob_typeSystemState {
    LRob_typeHfsm state;
    USInt operationMode;
    Bool sequenceExecutionSingleStep;
    LRob_typeTaskManager taskManager;
    LRob_typeCmdMemory cmdMemory;
};

#pragma pack(pop)

enum LRob_typeServerMotionStateEnum : int32_t {
    LRob_typeServerMotionStateMin = -1,
    LRob_typeServerMotionStateStop = 0,
    LRob_typeServerMotionStateDone = 1,
    LRob_typeServerMotionStatePause = 2,
    LRob_typeServerMotionStateMove = 3,
    LRob_typeServerMotionStateError = 4,
    LRob_typeServerMotionStateMax = 5,
};

// Sizes the handlers rely on.
static_assert(sizeof(LRob_typeServerCmdHeader) == 4);
static_assert(sizeof(LRob_typeServerRspHeader) == 4);
static_assert(sizeof(LRob_typeServerCmdMoveAxesAbs) == 80);
static_assert(sizeof(LRob_typeServerRspMoveAxesAbs) == 10);
static_assert(sizeof(LRob_typeServerCmdMoveLinAbs) == 92);
static_assert(sizeof(LRob_typeServerCmdMoveDirectAbs) == 92);
static_assert(sizeof(LRob_typeServerRspMoveLinAbs) == 14);
static_assert(sizeof(LRob_typeServerCmdMoveJog) == 23);
static_assert(sizeof(LRob_typeServerRspMoveJog) == 5);
static_assert(sizeof(LRob_typeServerCmdEnableRobot) == 8);
static_assert(sizeof(LRob_typeServerRspEnableRobot) == 5);
static_assert(sizeof(LRob_typeServerCmdSetOperationMode) == 5);
static_assert(sizeof(LRob_typeServerCmdChangeSpeedOverride) == 6);
static_assert(sizeof(LRob_typeServerRspGroupStop) == 5);
static_assert(sizeof(LRob_typeServerCmdReadToolData) == 5);
static_assert(sizeof(LRob_typeServerCmdWriteToolData) == 40);
static_assert(sizeof(LRob_typeServerRspReadToolData) == 40);
static_assert(sizeof(LRob_typeServerCmdWriteFrameData) == 38);
static_assert(sizeof(LRob_typeServerRspReadFrameData) == 38);
static_assert(sizeof(LRob_typeServerCmdWriteLoadData) == 52);
static_assert(sizeof(LRob_typeServerRspReadLoadData) == 52);
static_assert(sizeof(LRob_typeServerCmdWriteRobotReferenceDynamics) == 26);
static_assert(sizeof(LRob_typeServerRspWriteRobotReferenceDynamics) == 20);
static_assert(sizeof(LRob_typeServerRspReadRobotReferenceDynamics) == 28);
static_assert(sizeof(LRob_typeServerCmdWriteRobotDefaultDynamics) == 18);
static_assert(sizeof(LRob_typeServerRspWriteRobotDefaultDynamics) == 12);
static_assert(sizeof(LRob_typeServerRspReadRobotDefaultDynamics) == 20);
static_assert(sizeof(LRob_typeServerRobotCoordinateSystemParameters) == 2);
static_assert(sizeof(LRob_typeServerRobotConfig) == 1);
static_assert(sizeof(LRob_typeServerRobotShortCartesianPosition) == 34);
static_assert(sizeof(LRob_typeServerRobotCartesianPosition) == 54);
static_assert(sizeof(LRob_typeServerRobotShortJointPosition) == 28);
static_assert(sizeof(LRob_typeServerRobotJointPosition) == 48);
static_assert(sizeof(LRob_typeServerCmdReadActualPosition) == 12);
static_assert(sizeof(LRob_typeServerRspReadActualPosition) == 114);
static_assert(sizeof(LRob_typeServerAxesGroupOptionalCyclicServerClientCartesianPos_Data) == 40);
static_assert(sizeof(LRob_typeServerCmdExchangeConfiguration) == 20);
static_assert(sizeof(LRob_typeServerRspExchangeConfiguration) == 28);
static_assert(sizeof(LRob_typeServerRspReadRobotData) == 134);
static_assert(sizeof(LRob_typeServerCmdReadDigitalIO) == 15);
static_assert(sizeof(LRob_typeServerRspReadDigitalIO) == 13);
static_assert(sizeof(LRob_typeServerCmdWriteDigitalOutputs) == 27);
static_assert(sizeof(LRob_typeServerRspWriteDigitalOutputs) == 8);
static_assert(sizeof(LRob_typeServerRspReadRobotSWLimit) == 108);
static_assert(sizeof(LRob_typeServerCmdWriteRobotSWLimit) == 107);
static_assert(sizeof(LRob_typeServerRspWriteRobotSWLimit) == 6);
static_assert(sizeof(LRob_typeServerRobotWorkAreaValues) == 142);
static_assert(sizeof(LRob_typeServerRobotWorkAreaData) == 148);
static_assert(sizeof(LRob_typeServerCmdReadWorkArea) == 5);
static_assert(sizeof(LRob_typeServerRspReadWorkArea) == 155);
static_assert(sizeof(LRob_typeServerCmdWriteWorkArea) == 154);
static_assert(sizeof(LRob_typeServerRobotJogControl) == 3);
static_assert(sizeof(LRob_typeServerSyncEnable) == 2);
static_assert(sizeof(LRob_typeRobotServerToolData) == 36);
static_assert(sizeof(LRob_typeRobotServerFrameData) == 35);
