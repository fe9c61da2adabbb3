// SPDX-License-Identifier: Apache-2.0
// Small fixed-size 3-D geometry used by the kinematics and the motion planner.
// Lengths in millimetres; angles inside this header are radians unless a name says deg.
#pragma once

#include <array>
#include <cmath>

namespace srciport {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDeg = kPi / 180.0;

inline double deg2rad(double d) { return d * kDeg; }
inline double rad2deg(double r) { return r / kDeg; }

struct Vec3 {
    double x = 0, y = 0, z = 0;
    double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(double s, const Vec3& a) { return {s * a.x, s * a.y, s * a.z}; }
inline double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double norm(const Vec3& a) { return std::sqrt(dot(a, a)); }

// Row-major 3x3 rotation matrix.
struct Mat3 {
    double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    Vec3 col(int c) const { return {m[0][c], m[1][c], m[2][c]}; }
};

Mat3 operator*(const Mat3& a, const Mat3& b);
Vec3 operator*(const Mat3& a, const Vec3& v);
Mat3 transpose(const Mat3& a);
Mat3 rotX(double rad);
Mat3 rotY(double rad);
Mat3 rotZ(double rad);
// Rotation by `rad` about the unit axis `axis` (Rodrigues).
Mat3 rotAxis(const Vec3& axis, double rad);
// Angle (rad, 0..pi) and unit axis of a rotation; axis is x when the angle is 0.
double rotationAngle(const Mat3& r, Vec3* axis = nullptr);

// Rigid transform: p_out = rot * p_in + pos.
struct Transform {
    Mat3 rot;
    Vec3 pos;
};

Transform operator*(const Transform& a, const Transform& b);
Transform inverse(const Transform& t);

}  // namespace srciport
