// SPDX-License-Identifier: Apache-2.0
// Geometric paths of one motion segment, parameterised by arc length s in [0, length()].
// Joint paths use the travel of the leading joint (deg); Cartesian paths the TCP travel (mm),
// or the rotation angle (deg) when the TCP does not translate.
#pragma once

#include "srciport/kinematics.h"

#include <utility>
#include <variant>

namespace srciport {

class Path {
public:
    virtual ~Path() = default;
    virtual double length() const = 0;
    // Joints at arc position s; `seed` is the solution of the previous sample.
    virtual int jointsAt(double s, const Joints& seed, Joints& out) const = 0;
};

// Straight line in joint space, all joints arriving together.
class JointPath final : public Path {
public:
    JointPath(const Joints& from, const Joints& to);
    double length() const override { return length_; }
    int jointsAt(double s, const Joints& seed, Joints& out) const override;

private:
    Joints from_, delta_;
    double length_;
};

// TCP line with the orientation turning about one fixed axis (a slerp between the end
// orientations when built by towards()). All vectors in world coordinates.
class CartesianPath final : public Path {
public:
    CartesianPath(const Kinematics& kin, const Transform& tcpStart, const Vec3& travel, const Vec3& rotAxisUnit,
                  double rotDeg, const Transform& tool, uint8_t config);
    // From tcpStart to tcpEnd, the shortest rotation between them.
    static CartesianPath towards(const Kinematics& kin, const Transform& tcpStart, const Transform& tcpEnd,
                                 const Transform& tool, uint8_t config);
    double length() const override { return length_; }
    int jointsAt(double s, const Joints& seed, Joints& out) const override;
    // TCP pose (world) at arc position s.
    Transform tcpAt(double s) const;

private:
    const Kinematics* kin_;
    Transform start_;
    Vec3 travel_, axis_;
    double rotRad_;
    Transform toolInv_;
    uint8_t config_;
    double length_;
};

// A segment's path, held in place: starting a segment costs no allocation.
class SegmentPath {
public:
    template <class P, class... Args>
    void emplace(Args&&... args) {
        path_.template emplace<P>(std::forward<Args>(args)...);
    }
    // Null until a path was set.
    const Path* operator->() const {
        if (const auto* joint = std::get_if<JointPath>(&path_)) return joint;
        return std::get_if<CartesianPath>(&path_);
    }

private:
    std::variant<std::monostate, JointPath, CartesianPath> path_;
};

}  // namespace srciport
