// SPDX-License-Identifier: Apache-2.0
#include "path.h"

#include <cmath>

namespace srciport {

JointPath::JointPath(const Joints& from, const Joints& to) : from_(from), length_(0) {
    for (int i = 0; i < 6; ++i) {
        delta_[i] = to[i] - from[i];
        length_ = std::fmax(length_, std::fabs(delta_[i]));
    }
}

int JointPath::jointsAt(double s, const Joints&, Joints& out) const {
    const double u = length_ > 0 ? s / length_ : 1.0;
    for (int i = 0; i < 6; ++i) out[i] = from_[i] + u * delta_[i];
    return kKineOk;
}

CartesianPath::CartesianPath(const Kinematics& kin, const Transform& tcpStart, const Vec3& travel,
                             const Vec3& rotAxisUnit, double rotDeg, const Transform& tool, uint8_t config)
    : kin_(&kin),
      start_(tcpStart),
      travel_(travel),
      axis_(rotAxisUnit),
      rotRad_(deg2rad(rotDeg)),
      toolInv_(inverse(tool)),
      config_(config) {
    const double lin = norm(travel);
    length_ = lin > 1e-6 ? lin : std::fabs(rotDeg);
}

CartesianPath CartesianPath::towards(const Kinematics& kin, const Transform& tcpStart, const Transform& tcpEnd,
                                     const Transform& tool, uint8_t config) {
    Vec3 axis;
    const double angle = rotationAngle(tcpEnd.rot * transpose(tcpStart.rot), &axis);
    return CartesianPath(kin, tcpStart, tcpEnd.pos - tcpStart.pos, axis, rad2deg(angle), tool, config);
}

Transform CartesianPath::tcpAt(double s) const {
    const double u = length_ > 0 ? s / length_ : 1.0;
    Transform t;
    t.pos = start_.pos + u * travel_;
    t.rot = rotRad_ != 0.0 ? rotAxis(axis_, u * rotRad_) * start_.rot : start_.rot;
    return t;
}

int CartesianPath::jointsAt(double s, const Joints& seed, Joints& out) const {
    return kin_->inverse(tcpAt(s) * toolInv_, config_, seed, out);
}

}  // namespace srciport
