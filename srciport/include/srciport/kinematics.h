// SPDX-License-Identifier: Apache-2.0
// Kinematics of a six-axis arm with a spherical wrist.
//
// Denavit-Hartenberg convention: STANDARD (distal) DH. Row i of the table is
// {alpha_i (deg), a_i (mm), d_i (mm), theta_offset_i (deg)} and the link transform is
//
//     A_i = Rz(q_i + theta_offset_i) * Tz(d_i) * Tx(a_i) * Rx(alpha_i)
//
// so flange = A_1 * ... * A_6 in the base (world) frame. The closed-form inverse needs the
// usual industrial structure: alpha_1, alpha_3, alpha_4, alpha_5 = +-90, alpha_2 = alpha_6 = 0,
// a_4 = a_5 = a_6 = 0, d_5 = 0 (axes 4, 5, 6 meet in the wrist centre); d_2 + d_3 is a
// lateral shoulder offset and may be non-zero. load() refuses other tables.
//
// Configuration bits (as reported by forward() and requested from inverse()):
//   bit 0 shoulder: set = FRONT, the wrist centre lies in front of axis 1 (on the side the
//         arm's a_1 offset points to); clear = BACK.
//   bit 1 elbow:    set = UP, the elbow lies above (towards +z of the base) the line from the
//         shoulder (axis 2) to the wrist centre; clear = DOWN. The same holds for a BACK
//         shoulder, as long as the wrist centre is not between axis 1 and axis 2.
//   bit 2 wrist:    set = NON-FLIP, sin(q5 + theta_offset_5) > 0; clear = FLIP.
//
// Joint values are degrees; inverse() returns for every joint the angle nearest the seed
// among the solution + k*360 that lie within the joint limits, so turn numbers beyond
// +-180 deg follow the seed.
#pragma once

#include "srciport/geometry.h"

#include <array>
#include <cstdint>

namespace srciport {

using Joints = std::array<double, 6>;

// Kinematic result codes; 0 is success. The values are the controller's own codes.
enum KineCode : int32_t {
    kKineOk = 0,
    kKineSingular = 0xF0017,     // wrist or shoulder singularity: no unique solution
    kKineUnreachable = 0xF0018,  // pose outside the workspace
    kKineJointRange = 0xF0011,   // a solution exists but not within the joint limits
    kKineBadTable = 0xF0020,     // DH table without the required structure
    kKineBadInput = 0xF0021,     // not a finite number
};

struct DhRow {
    double alpha = 0;   // deg
    double a = 0;       // mm
    double d = 0;       // mm
    double offset = 0;  // deg
};

using DhTable = std::array<DhRow, 6>;

// A ~1.1 m reach arm: shoulder offset a1 100, upper arm a2 450, forearm a3 50 / d4 450,
// flange d6 90, base height d1 400.
DhTable defaultDhTable();
// Hard joint limits (deg), {min, max} per joint.
std::array<std::array<double, 2>, 6> defaultHardLimits();

class Kinematics {
public:
    Kinematics();
    // Returns 0, or kKineBadTable (the previous table stays in force).
    int load(const DhTable& dh);
    const DhTable& table() const { return dh_; }

    void setLimits(const std::array<std::array<double, 2>, 6>& lim) { limits_ = lim; }
    const std::array<std::array<double, 2>, 6>& limits() const { return limits_; }

    // Flange pose in the base frame and the configuration bits.
    Transform forward(const Joints& q, uint8_t* config = nullptr) const;
    // Flange pose -> joints with the requested configuration, nearest `seed`.
    int inverse(const Transform& flange, uint8_t config, const Joints& seed, Joints& out) const;

private:
    DhTable dh_;
    // Cached trigonometry and signs of the structural +-90 twists.
    double ca_[6], sa_[6];
    std::array<std::array<double, 2>, 6> limits_;
};

// Configuration bits of a joint position (same as forward()'s).
uint8_t configOf(const Kinematics& k, const Joints& q);

// Frames: `frame` is a user frame given in world coordinates.
// World pose -> the same pose expressed in the user frame.
Transform worldToUser(const Transform& worldPose, const Transform& frame);
// Pose expressed in the user frame -> world.
Transform userToWorld(const Transform& userPose, const Transform& frame);

}  // namespace srciport
