// SPDX-License-Identifier: Apache-2.0
#include "srciport/geometry.h"
#include "srciport/euler.h"

#include <algorithm>

namespace srciport {

Mat3 operator*(const Mat3& a, const Mat3& b) {
    Mat3 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
    return r;
}

Vec3 operator*(const Mat3& a, const Vec3& v) {
    return {a.m[0][0] * v.x + a.m[0][1] * v.y + a.m[0][2] * v.z, a.m[1][0] * v.x + a.m[1][1] * v.y + a.m[1][2] * v.z,
            a.m[2][0] * v.x + a.m[2][1] * v.y + a.m[2][2] * v.z};
}

Mat3 transpose(const Mat3& a) {
    Mat3 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r.m[i][j] = a.m[j][i];
    return r;
}

Mat3 rotX(double a) {
    const double c = std::cos(a), s = std::sin(a);
    return Mat3{{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
}

Mat3 rotY(double a) {
    const double c = std::cos(a), s = std::sin(a);
    return Mat3{{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
}

Mat3 rotZ(double a) {
    const double c = std::cos(a), s = std::sin(a);
    return Mat3{{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

Mat3 rotAxis(const Vec3& axis, double a) {
    const double c = std::cos(a), s = std::sin(a), v = 1.0 - c;
    const double x = axis.x, y = axis.y, z = axis.z;
    return Mat3{{{c + x * x * v, x * y * v - z * s, x * z * v + y * s},
                 {y * x * v + z * s, c + y * y * v, y * z * v - x * s},
                 {z * x * v - y * s, z * y * v + x * s, c + z * z * v}}};
}

double rotationAngle(const Mat3& r, Vec3* axis) {
    // atan2 of the skew and symmetric parts stays accurate for tiny and near-pi angles alike.
    const Vec3 w{r.m[2][1] - r.m[1][2], r.m[0][2] - r.m[2][0], r.m[1][0] - r.m[0][1]};
    const double s = 0.5 * norm(w);
    const double c = 0.5 * (r.m[0][0] + r.m[1][1] + r.m[2][2] - 1.0);
    const double angle = std::atan2(s, c);
    if (axis) {
        if (s > 1e-9) {
            *axis = (1.0 / (2.0 * s)) * w;
        } else if (c > 0) {
            *axis = {1, 0, 0};
        } else {
            // Half-turn: the axis is the dominant column of (R + I) / 2.
            int k = 0;
            for (int i = 1; i < 3; ++i)
                if (r.m[i][i] > r.m[k][k]) k = i;
            Vec3 a{r.m[0][k], r.m[1][k], r.m[2][k]};
            if (k == 0) a.x += 1;
            else if (k == 1) a.y += 1;
            else a.z += 1;
            *axis = (1.0 / norm(a)) * a;
        }
    }
    return angle;
}

Transform operator*(const Transform& a, const Transform& b) { return {a.rot * b.rot, a.rot * b.pos + a.pos}; }

Transform inverse(const Transform& t) {
    const Mat3 rt = transpose(t.rot);
    return {rt, -1.0 * (rt * t.pos)};
}

Mat3 eulerToMatrix(double rx, double ry, double rz) {
    return rotZ(deg2rad(rz)) * rotY(deg2rad(ry)) * rotX(deg2rad(rx));
}

void matrixToEuler(const Mat3& r, double out[3]) {
    const double cy = std::hypot(r.m[0][0], r.m[1][0]);
    if (cy > 1e-12) {
        out[0] = rad2deg(std::atan2(r.m[2][1], r.m[2][2]));
        out[1] = rad2deg(std::atan2(-r.m[2][0], cy));
        out[2] = rad2deg(std::atan2(r.m[1][0], r.m[0][0]));
    } else {
        out[0] = 0.0;
        out[1] = r.m[2][0] < 0 ? 90.0 : -90.0;
        out[2] = rad2deg(std::atan2(-r.m[0][1], r.m[1][1]));
    }
    for (int i = 0; i < 3; ++i)
        if (out[i] <= -180.0) out[i] += 360.0;
}

Transform poseToTransform(const double p[6]) { return {eulerToMatrix(p[3], p[4], p[5]), {p[0], p[1], p[2]}}; }

void transformToPose(const Transform& t, double p[6]) {
    p[0] = t.pos.x;
    p[1] = t.pos.y;
    p[2] = t.pos.z;
    matrixToEuler(t.rot, p + 3);
}

}  // namespace srciport
