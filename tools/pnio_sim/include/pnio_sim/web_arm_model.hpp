// SPDX-License-Identifier: Apache-2.0
#pragma once
// The simulated arm's geometry for the drawing: the link chain of a joint position and the joint
// limits, taken from the arm's own kinematics so that the picture cannot drift from the robot.
#include <array>

namespace pnio_sim::web {

using JointValues = std::array<double, 6>;  // deg
using Point3 = std::array<double, 3>;       // mm, base frame

// Base, then the origin of every link frame: 7 points, the last one is the flange.
std::array<Point3, 7> link_chain(const JointValues& q);

std::array<std::array<double, 2>, 6> hard_limits();
// The soft limits the simulated arm starts with, until the PLC reads or writes others.
std::array<std::array<double, 2>, 6> default_soft_limits();

}  // namespace pnio_sim::web
