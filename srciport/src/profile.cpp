// SPDX-License-Identifier: Apache-2.0
#include "profile.h"

#include <algorithm>
#include <cmath>

namespace srciport {

bool TrapezoidTracker::step(double dt, double vlim) {
    if (finished()) {
        v_ = 0;
        return true;
    }
    const double a = acc_;
    const double rem = length_ - s_;
    vlim = std::max(0.0, vlim);
    // Highest end velocity of this step that still leaves the braking distance v^2 / 2a.
    const double h = a * dt / 2.0;
    const double budget = rem - v_ * dt / 2.0;
    const double vStop = budget > 0 ? -h + std::sqrt(h * h + 2.0 * a * budget) : 0.0;
    const double vDown = std::max(0.0, v_ - a * dt);
    double vNew = std::min({v_ + a * dt, std::max(vlim, vDown), vStop});
    vNew = std::max(vNew, vDown);
    const double ds = (v_ + vNew) / 2.0 * dt;
    // The last sliver is taken in one step: it is below what one tick at rest would cover,
    // so the implied acceleration stays under the limit.
    if (ds >= rem || (vNew <= 0.0 && rem - ds <= a * dt * dt / 8.0 && vlim > 0)) {
        s_ = length_;
        v_ = 0;
        return true;
    }
    s_ += ds;
    v_ = vNew;
    return false;
}

}  // namespace srciport
