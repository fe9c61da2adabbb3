// SPDX-License-Identifier: Apache-2.0
// Command and parameter records passed between handlers, motion manager, parameter store and
// the controller adapter. Their str() texts are part of the log vocabulary.
#pragma once

#include <cstdint>
#include <string>

#include "itf_rc/srci_types.h"

namespace srci {

enum class MotionCmdType : int32_t { Move = 0, Jog = 1 };
enum class MotionCmdType2 : int32_t { Axes = 0, Linear = 1, Direct = 2 };
enum class MotionFlagType : int32_t { Ready = 0, Pause = 1, Stop = 2 };
enum class JogMode : int32_t { Frame = 0, Tool = 1, Axes = 2 };
enum class StepMode : int32_t { Deactive = 0, Blending = 1, ExactStop = 2 };
enum class OperationMode : int32_t {
    Local_T1 = 1,
    Local_T2 = 2,
    Local_Automatic = 3,
    External_Automatic = 4,
    External_T1 = 5,
    External_T2 = 6,
};

struct MoveCmdGeneralParam {
    double vel = 0.0;
    double acc = 0.0;
    double tol = 0.0;
    uint32_t trajId = 0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct MoveCmdParam {
    MotionCmdType2 type = MotionCmdType2::Axes;
    MoveCmdGeneralParam generalParam;
    int32_t toolId = -1;
    int32_t frameId = -1;
    JOINTS jpos;
    POSE pos;
    uint8_t turnMode = 0;
    SEW sewTarget;
    SEWConfig sewConfigMode;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct JogCmdParam {
    JogMode mode = JogMode::Frame;
    int32_t direction = 0;  // sign = sense, magnitude = axis 1..6
    double speed = 0.0;
    double distance = 0.0;  // 0: continuous
    uint32_t jogId = 0;
    int32_t toolId = -1;
    int32_t frameId = -1;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct ToolData {
    POSE pose;
    bool fixed_tool = false;
    uint8_t loadId = 0;
    uint8_t physicalToolId = 0;
};

struct FrameData {
    POSE pose;
    uint8_t refIndex = 0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct LoadData {
    double mass = 0.0;
    double x = 0.0, y = 0.0, z = 0.0;
    double rx = 0.0, ry = 0.0, rz = 0.0;
    double ix = 0.0, iy = 0.0, iz = 0.0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct DefaultDynamic {
    double vel_rate = 0.0, acc_rate = 0.0, dec_rate = 0.0, jerk_rate = 0.0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct ReferenceDynamic {
    double vel = 0.0, acc = 0.0, dec = 0.0, jerk = 0.0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct SyncSwitch {
    bool tool = false, frame = false, load = false, defaultRef = false, refDyn = false, softLimit = false,
         workArea = false;
};

struct ErrorInfo {
    int32_t errCode = 0;
    int32_t errType = 0;
};

struct RobotInfo {
    std::string Robot_Id = "SRL_InterpRob";
    std::string SRCI_version = "1.2";
    std::string RC_manufacturer = "VELD";
    std::string RC_Order_Id = "testRCO";
    std::string RC_serial = "testRCS";
    std::string RA_serial = "testRAS";
    std::string RC_firmware = "testRCF";
    std::string RC_Interpreter_Version = "111";
    std::string RC_UserDefined_Name = "testRCD";
};

}  // namespace srci
