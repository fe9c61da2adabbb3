// SPDX-License-Identifier: Apache-2.0
// Positions, joints and arm configuration as every part of the adapter speaks about them.
// Plain values; numbers are held exactly as they come from SRCI records or the controller.
#pragma once

#include <cstdint>
#include <string>

#include "itf_rc/srci_errcode.h"

namespace srci {

// Every str() has an appendTo that writes the same text into a log text, so a log line can
// carry a value without a string of its own.
class LogText;

inline constexpr int32_t RA_JOINT_NUM = 6;
inline constexpr int32_t RA_DEGREE_NUM = 6;

enum class ConfigModeShoulder : uint8_t { UseConfig = 0, NoChange = 1, FreeIt = 2, Back = 3, Front = 4 };
enum class ConfigModeElbow : uint8_t { UseConfig = 0, NoChange = 1, FreeIt = 2, Down = 3, Up = 4 };
enum class ConfigModeWrist : uint8_t { UseConfig = 0, NoChange = 1, FreeIt = 2, Flip = 3, NonFlip = 4 };
enum class TurnModeEnum : uint8_t { UseIt = 0, NoChange = 1, FreeIt = 2 };
enum class OriModeEnum : uint8_t { Linear = 1, Joint = 2, Fix = 3, Path = 4 };
enum class BlendingModeEnum : uint8_t {
    ExactStop = 0,
    DefinedVelocity = 2,
    CornerDistance = 3,
    MaxCornerDeviation = 4,
    CornerrDistance2R = 10,
    RampOverlap = 11,
    CornerDistance1R = 12,
};

struct TRANS {
    double _x = 0.0, _y = 0.0, _z = 0.0;
    TRANS() = default;
    TRANS(double x, double y, double z) : _x(x), _y(y), _z(z) {}
    // By value; an index past z reads 0.0 rather than failing.
    double operator[](unsigned int i) const;
    bool match(TRANS other) const;  // each component within 0.01
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct ORI {
    double _rx = 0.0, _ry = 0.0, _rz = 0.0;
    ORI() = default;
    ORI(double rx, double ry, double rz) : _rx(rx), _ry(ry), _rz(rz) {}
    double operator[](unsigned int i) const;
    bool match(ORI other) const;  // each angle within 0.001
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct POSE {
    TRANS _trans;
    ORI _ori;
    POSE() = default;
    POSE(TRANS t, ORI o) : _trans(t), _ori(o) {}
    POSE(double x, double y, double z, double rx, double ry, double rz) : _trans(x, y, z), _ori(rx, ry, rz) {}
    explicit POSE(const double* xyzrpy);
    // 0..2 translation, 3..5 orientation, anything else 0.0.
    double operator[](unsigned int i) const;
    bool match(POSE other) const;
    void toArray(double out[6]) const;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct JOINTS {
    double joints[RA_JOINT_NUM] = {};
    JOINTS() = default;
    JOINTS(double j1, double j2, double j3, double j4, double j5, double j6);
    explicit JOINTS(const double* values);
    JOINTS& operator=(const double* values);
    // One-based like SRCI axis numbers; 0 or above 6 throws err_joints_index.
    double& operator[](unsigned char i);
    double operator[](unsigned char i) const;
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct SEW {
    bool s = false, e = false, w = false;
    uint8_t toInt() const;  // bit 0 shoulder, bit 1 elbow, bit 2 wrist
    void fromInt(unsigned char v);
    std::string str() const;
    void appendTo(LogText& text) const;
};

struct SEWConfig {
    uint8_t s = 0, e = 0, w = 0;
    std::string str() const;
    void appendTo(LogText& text) const;
};

}  // namespace srci
