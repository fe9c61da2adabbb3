// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/web_arm_model.hpp"

#include "srciport/geometry.h"
#include "srciport/kinematics.h"

namespace pnio_sim::web {

namespace {
// The simulated arm keeps its default soft limits this far inside the hard ones.
constexpr double kSoftMargin = 5.0;
}  // namespace

std::array<Point3, 7> link_chain(const JointValues& q) {
    using namespace srciport;
    const DhTable dh = defaultDhTable();
    std::array<Point3, 7> points{};
    Transform t;  // identity: the base
    for (size_t i = 0; i < 6; ++i) {
        const DhRow& r = dh[i];
        Transform a;
        a.rot = rotZ(deg2rad(q[i] + r.offset)) * rotX(deg2rad(r.alpha));
        a.pos = rotZ(deg2rad(q[i] + r.offset)) * Vec3{r.a, 0, r.d};
        t = t * a;
        points[i + 1] = {t.pos.x, t.pos.y, t.pos.z};
    }
    return points;
}

std::array<std::array<double, 2>, 6> hard_limits() { return srciport::defaultHardLimits(); }

std::array<std::array<double, 2>, 6> default_soft_limits() {
    auto l = hard_limits();
    for (auto& j : l) j = {j[0] + kSoftMargin, j[1] - kSoftMargin};
    return l;
}

}  // namespace pnio_sim::web
