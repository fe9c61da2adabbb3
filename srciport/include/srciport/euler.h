// SPDX-License-Identifier: Apache-2.0
// The one orientation convention of the port.
//
// A pose is six doubles x, y, z (mm), rx, ry, rz (deg). The angles are EXTRINSIC rotations
// about the fixed X, then Y, then Z axes of the reference frame, which is the same as
//
//     R = Rz(rz) * Ry(ry) * Rx(rx)
//
// (equivalently intrinsic Z-Y'-X''). Every pose the port accepts or reports uses it: motion
// targets, actual positions, tool offsets (tool frame relative to the flange), user frames
// (relative to the world/base frame) and the frame conversions.
//
// Converting a rotation back gives rx, rz in (-180, 180] and ry in [-90, 90]. At ry = +-90
// (gimbal lock) only rz - rx (ry = 90) or rz + rx (ry = -90) is defined; rx is then reported
// as 0.
#pragma once

#include "srciport/geometry.h"

namespace srciport {

Mat3 eulerToMatrix(double rxDeg, double ryDeg, double rzDeg);
// Writes rx, ry, rz in degrees.
void matrixToEuler(const Mat3& r, double outDeg[3]);

// pose[6] = x, y, z, rx, ry, rz  <->  homogeneous transform
Transform poseToTransform(const double pose[6]);
void transformToPose(const Transform& t, double pose[6]);

}  // namespace srciport
