// SPDX-License-Identifier: Apache-2.0
// Online trapezoidal profile along a path of known length.
//
// The profile is planned tick by tick rather than in advance so that a change of the speed
// limit (override, pause, stop) applies at once: the velocity ramps towards the current
// limit with at most the commanded acceleration and always keeps enough distance to stop
// exactly at the end. Velocity is piecewise linear in time and the position is its exact
// integral, so a sampled trajectory never exceeds the limits.
#pragma once

namespace srciport {

class TrapezoidTracker {
public:
    TrapezoidTracker() = default;
    TrapezoidTracker(double length, double acc) : length_(length), acc_(acc) {}

    // Advances by dt with the velocity limit vlim (0 = come to rest). Returns true once the
    // end of the path has been reached.
    bool step(double dt, double vlim);

    double position() const { return s_; }
    double velocity() const { return v_; }
    double length() const { return length_; }
    double remaining() const { return length_ - s_; }
    bool finished() const { return s_ >= length_; }

private:
    double length_ = 0;
    double acc_ = 1;
    double s_ = 0;
    double v_ = 0;
};

}  // namespace srciport
