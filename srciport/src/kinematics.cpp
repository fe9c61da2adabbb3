// SPDX-License-Identifier: Apache-2.0
#include "srciport/kinematics.h"

#include <cmath>
#include <limits>

namespace srciport {

namespace {

constexpr double kSingularEps = 1e-9;

bool isQuarterTurn(double deg) { return std::fabs(std::fabs(deg) - 90.0) < 1e-9; }

double sgn(double v) { return v < 0 ? -1.0 : 1.0; }

// Angle in (-180, 180].
double wrap180(double deg) {
    double r = std::remainder(deg, 360.0);
    if (r <= -180.0) r += 360.0;
    return r;
}

// Standard DH link transform with precomputed cos/sin of alpha.
Transform link(double theta, double d, double a, double ca, double sa) {
    const double ct = std::cos(theta), st = std::sin(theta);
    Transform t;
    t.rot = Mat3{{{ct, -st * ca, st * sa}, {st, ct * ca, -ct * sa}, {0, sa, ca}}};
    t.pos = {a * ct, a * st, d};
    return t;
}

// Picks q + k*360 inside [lo, hi] nearest the seed; false when no multiple fits.
bool nearestInRange(double q, double seed, double lo, double hi, double& out) {
    const double k = std::round((seed - q) / 360.0);
    double best = 0;
    bool found = false;
    for (double dk = -2; dk <= 2; ++dk) {
        const double c = q + (k + dk) * 360.0;
        if (c < lo - 1e-9 || c > hi + 1e-9) continue;
        if (!found || std::fabs(c - seed) < std::fabs(best - seed)) {
            best = c;
            found = true;
        }
    }
    if (!found) {
        // Seeds far outside the limits: scan the whole range.
        for (double c = q + std::ceil((lo - 1e-9 - q) / 360.0) * 360.0; c <= hi + 1e-9; c += 360.0) {
            if (!found || std::fabs(c - seed) < std::fabs(best - seed)) {
                best = c;
                found = true;
            }
        }
    }
    out = best;
    return found;
}

}  // namespace

DhTable defaultDhTable() {
    return {{{-90, 100, 400, 0}, {0, 450, 0, -90}, {-90, 50, 0, 0}, {90, 0, 450, 0}, {-90, 0, 0, 0}, {0, 0, 90, 0}}};
}

std::array<std::array<double, 2>, 6> defaultHardLimits() {
    return {{{-170, 170}, {-110, 150}, {-170, 90}, {-190, 190}, {-125, 125}, {-450, 450}}};
}

Kinematics::Kinematics() : limits_(defaultHardLimits()) { load(defaultDhTable()); }

int Kinematics::load(const DhTable& dh) {
    for (const DhRow& r : dh)
        if (!std::isfinite(r.alpha) || !std::isfinite(r.a) || !std::isfinite(r.d) || !std::isfinite(r.offset))
            return kKineBadTable;
    const bool ok = isQuarterTurn(dh[0].alpha) && std::fabs(dh[1].alpha) < 1e-9 && isQuarterTurn(dh[2].alpha) &&
                    isQuarterTurn(dh[3].alpha) && isQuarterTurn(dh[4].alpha) && std::fabs(dh[5].alpha) < 1e-9 &&
                    std::fabs(dh[3].a) < 1e-9 && std::fabs(dh[4].a) < 1e-9 && std::fabs(dh[5].a) < 1e-9 &&
                    std::fabs(dh[4].d) < 1e-9 && dh[1].a > 1e-6 && std::hypot(dh[2].a, dh[3].d) > 1e-6;
    if (!ok) return kKineBadTable;
    dh_ = dh;
    for (int i = 0; i < 6; ++i) {
        // Exact values for the structural twists keep FK and IK consistent to the last bit.
        const double al = dh_[i].alpha;
        if (std::fabs(al) < 1e-9) {
            ca_[i] = 1;
            sa_[i] = 0;
        } else if (isQuarterTurn(al)) {
            ca_[i] = 0;
            sa_[i] = sgn(al);
        } else {
            ca_[i] = std::cos(deg2rad(al));
            sa_[i] = std::sin(deg2rad(al));
        }
    }
    return kKineOk;
}

Transform Kinematics::forward(const Joints& q, uint8_t* config) const {
    Transform t;
    for (int i = 0; i < 6; ++i) t = t * link(deg2rad(q[i] + dh_[i].offset), dh_[i].d, dh_[i].a, ca_[i], sa_[i]);
    if (config) {
        uint8_t c = 0;
        const Vec3 z6 = t.rot.col(2);
        const Vec3 wc = t.pos - dh_[5].d * z6;
        const double th1 = deg2rad(q[0] + dh_[0].offset);
        const double front = wc.x * std::cos(th1) + wc.y * std::sin(th1);
        const double f = front > 0 ? 1.0 : -1.0;
        if (f > 0) c |= 1;
        const double gamma = std::atan2(-sa_[2] * dh_[3].d, dh_[2].a);
        const double beta = deg2rad(q[2] + dh_[2].offset) + gamma;
        if (-std::sin(beta) * sa_[0] * f > 0) c |= 2;
        if (std::sin(deg2rad(q[4] + dh_[4].offset)) > 0) c |= 4;
        *config = c;
    }
    return t;
}

int Kinematics::inverse(const Transform& flange, uint8_t config, const Joints& seed, Joints& out) const {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            if (!std::isfinite(flange.rot.m[i][j])) return kKineBadInput;
    if (!std::isfinite(flange.pos.x) || !std::isfinite(flange.pos.y) || !std::isfinite(flange.pos.z))
        return kKineBadInput;
    for (double s : seed)
        if (!std::isfinite(s)) return kKineBadInput;

    const bool front = config & 1, up = config & 2, nonFlip = config & 4;
    const Vec3 z6 = flange.rot.col(2);
    const Vec3 wc = flange.pos - dh_[5].d * z6;

    // Axis 1: the wrist centre must lie in the arm plane shifted by the lateral offset.
    const double dOff = dh_[1].d + dh_[2].d;
    const double k = dOff * sa_[0];
    const double rho2 = wc.x * wc.x + wc.y * wc.y;
    if (rho2 < k * k) return kKineUnreachable;
    const double perp = std::sqrt(rho2 - k * k);
    if (perp < 1e-6) return kKineSingular;
    const double phi = std::atan2(wc.y, wc.x);
    const double delta = std::atan2(k, perp);
    const double th1 = front ? phi + delta : phi + kPi - delta;

    // Axes 2 and 3: two-link problem in the plane of frame 1.
    const double c1 = std::cos(th1), s1 = std::sin(th1);
    const Vec3 rel = wc - Vec3{dh_[0].a * c1, dh_[0].a * s1, dh_[0].d};
    // R1 = Rz(th1) * Rx(alpha1) with cos(alpha1) = 0: columns x1, y1.
    const Vec3 x1{c1, s1, 0};
    const Vec3 y1{-s1 * ca_[0], c1 * ca_[0], sa_[0]};
    const double px = dot(rel, x1), py = dot(rel, y1);
    const double a2 = dh_[1].a;
    const double l3 = std::hypot(dh_[2].a, dh_[3].d);
    const double gamma = std::atan2(-sa_[2] * dh_[3].d, dh_[2].a);
    double c = (px * px + py * py - a2 * a2 - l3 * l3) / (2.0 * a2 * l3);
    if (c > 1.0 + 1e-12 || c < -1.0 - 1e-12) return kKineUnreachable;
    c = std::fmax(-1.0, std::fmin(1.0, c));
    const double f = front ? 1.0 : -1.0;
    const double betaSign = -sa_[0] * f * (up ? 1.0 : -1.0);
    const double beta = betaSign * std::acos(c);
    const double th2 = std::atan2(py, px) - std::atan2(l3 * std::sin(beta), a2 + l3 * std::cos(beta));
    const double th3 = beta - gamma;

    // Wrist: M = R3^T * R6 = Rz(th4) Rx(alpha4) Rz(th5) Rx(alpha5) Rz(th6).
    const Mat3 r3 = rotZ(th1) * Mat3{{{1, 0, 0}, {0, ca_[0], -sa_[0]}, {0, sa_[0], ca_[0]}}} * rotZ(th2 + th3) *
                    Mat3{{{1, 0, 0}, {0, ca_[2], -sa_[2]}, {0, sa_[2], ca_[2]}}};
    const Mat3 m = transpose(r3) * flange.rot;
    const double s4 = sa_[3], s5 = sa_[4];
    const double sbAbs = std::hypot(m.m[0][2], m.m[1][2]);
    if (sbAbs < kSingularEps) return kKineSingular;
    const double sb = nonFlip ? sbAbs : -sbAbs;
    const double cb = -s4 * s5 * m.m[2][2];
    const double th5 = std::atan2(sb, cb);
    const double th4 = std::atan2(s5 * m.m[1][2] / sb, s5 * m.m[0][2] / sb);
    const double th6 = std::atan2(-s4 * m.m[2][1] / sb, s4 * m.m[2][0] / sb);

    const double dhAngles[6] = {th1, th2, th3, th4, th5, th6};
    Joints res;
    for (int i = 0; i < 6; ++i) {
        const double q = wrap180(rad2deg(dhAngles[i]) - dh_[i].offset);
        if (!nearestInRange(q, seed[i], limits_[i][0], limits_[i][1], res[i])) return kKineJointRange;
    }
    out = res;
    return kKineOk;
}

uint8_t configOf(const Kinematics& k, const Joints& q) {
    uint8_t c = 0;
    k.forward(q, &c);
    return c;
}

Transform worldToUser(const Transform& worldPose, const Transform& frame) { return inverse(frame) * worldPose; }

Transform userToWorld(const Transform& userPose, const Transform& frame) { return frame * userPose; }

}  // namespace srciport
