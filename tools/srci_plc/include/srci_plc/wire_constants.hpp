// SPDX-License-Identifier: Apache-2.0
#pragma once
// Numeric vocabulary of the SRCI wire protocol as seen from the PLC side.
#include <cstddef>
#include <cstdint>

namespace srci_plc {

constexpr size_t kTelegramSize = 256;
constexpr size_t kFragmentHeaderSize = 8;
constexpr size_t kSequenceHeaderSize = 4;
constexpr uint8_t kVersion1_5 = 0x25;
constexpr uint8_t kVersion1_3 = 0x23;

// Telegram control request, lo nibble of P->R byte 6.
enum class Control : uint8_t { None = 0, Initialize = 1, Resume = 2, Reset = 3, AckError = 4, ClientError = 5 };

// TelegramState values of R->P byte 3 that drive the start-up.
namespace telegram_state {
constexpr uint8_t kUndefined = 0;
constexpr uint8_t kFirstError = 161;
constexpr uint8_t kLastError = 173;
constexpr uint8_t kResumable = 253;
constexpr uint8_t kReadyForInit = 254;
constexpr uint8_t kInitialized = 255;
}  // namespace telegram_state

// FragmentAction bits.
namespace fragment_action {
constexpr uint8_t kComplete = 0x01;
constexpr uint8_t kReset = 0x02;
constexpr uint8_t kClear = 0x04;
}  // namespace fragment_action

// TelegramNumber bits (both directions use the same numbering).
namespace telegram_number {
constexpr uint16_t kSubProgram = 1u << 0;
constexpr uint16_t kCartesian = 1u << 1;
constexpr uint16_t kJoint = 1u << 2;
constexpr uint16_t kForce = 1u << 3;
constexpr uint16_t kCurrent = 1u << 4;
constexpr uint16_t kTwoSequences = 1u << 8;
constexpr uint16_t kCartesianExt = 1u << 9;
constexpr uint16_t kJointExt = 1u << 10;
constexpr uint16_t kForceExt = 1u << 11;
constexpr uint16_t kCurrentExt = 1u << 12;
constexpr uint16_t kDefaultRobToPlc = kCartesian | kJoint;
}  // namespace telegram_number

// CmdMessageState, lo nibble of response byte 0.
namespace cmd_state {
constexpr uint8_t kEmpty = 0;
constexpr uint8_t kCreated = 1;
constexpr uint8_t kBuffered = 2;
constexpr uint8_t kBufferedInPlanner = 3;
constexpr uint8_t kActive = 4;
constexpr uint8_t kInterrupted = 5;
constexpr uint8_t kAbortRequested = 6;
constexpr uint8_t kDone = 10;
constexpr uint8_t kAborted = 14;
constexpr uint8_t kError = 15;
constexpr bool is_final(uint8_t s) { return s >= kDone; }
}  // namespace cmd_state

// ExecutionMode, lo nibble of command byte 2.
namespace exec_mode {
constexpr uint8_t kSequencePrimary = 0;
constexpr uint8_t kPrimaryAbortOthers = 1;
constexpr uint8_t kParallel = 2;
constexpr uint8_t kContinuous = 3;
constexpr uint8_t kSequenceSecondary = 7;
}  // namespace exec_mode

constexpr uint8_t kPriorityNormal = 3;

namespace cmd_type {
constexpr uint16_t kEnableRobot = 1000;
constexpr uint16_t kGroupReset = 1001;
constexpr uint16_t kChangeSpeedOverride = 2000;
constexpr uint16_t kGroupContinue = 2001;
constexpr uint16_t kGroupInterrupt = 2002;
constexpr uint16_t kGroupStop = 2003;
constexpr uint16_t kGroupJog = 2100;
constexpr uint16_t kMoveAxesAbsolute = 2101;
constexpr uint16_t kMoveDirectAbsolute = 2102;
constexpr uint16_t kMoveLinearAbsolute = 2103;
constexpr uint16_t kReadActualPosition = 5100;
constexpr uint16_t kReadFrameData = 5102;
constexpr uint16_t kReadLoadData = 5103;
constexpr uint16_t kReadRobotDefaultDynamics = 5104;
constexpr uint16_t kReadRobotReferenceDynamics = 5105;
constexpr uint16_t kReadRobotSWLimits = 5106;
constexpr uint16_t kReadToolData = 5107;
constexpr uint16_t kWriteFrameData = 5200;
constexpr uint16_t kWriteLoadData = 5201;
constexpr uint16_t kWriteRobotDefaultDynamics = 5202;
constexpr uint16_t kWriteRobotReferenceDynamics = 5203;
constexpr uint16_t kWriteRobotSWLimits = 5204;
constexpr uint16_t kWriteToolData = 5205;
constexpr uint16_t kCalculateForwardKinematic = 7203;
constexpr uint16_t kCalculateInverseKinematic = 7204;
constexpr uint16_t kReadWorkArea = 7502;
constexpr uint16_t kWriteWorkArea = 7503;
constexpr uint16_t kExchangeConfiguration = 9000;
constexpr uint16_t kReadMessages = 9001;
constexpr uint16_t kReadRobotData = 9002;
}  // namespace cmd_type

// Severities from this value on are errors (28 error, 29 fatal).
constexpr int kSeverityError = 28;

const char* telegram_state_name(uint8_t state);
const char* cmd_state_name(uint8_t state);
const char* severity_name(int severity);

}  // namespace srci_plc
