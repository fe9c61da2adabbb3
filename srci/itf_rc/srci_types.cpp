// SPDX-License-Identifier: Apache-2.0
#include "itf_rc/srci_types.h"

#include "itf_rc/srci_log.h"

#include <cmath>

namespace srci {
namespace {

bool within(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

constexpr double kTransTolerance = 0.01;
constexpr double kOriTolerance = 0.001;

}  // namespace

double TRANS::operator[](unsigned int i) const {
    switch (i) {
        case 0:
            return _x;
        case 1:
            return _y;
        case 2:
            return _z;
        default:
            return 0.0;
    }
}

bool TRANS::match(TRANS o) const {
    return within(_x, o._x, kTransTolerance) && within(_y, o._y, kTransTolerance) && within(_z, o._z, kTransTolerance);
}

std::string TRANS::str() const { return textOf(*this); }

void TRANS::appendTo(LogText& text) const { appendAll(text, "x: ", _x, ", y: ", _y, ", z: ", _z); }

double ORI::operator[](unsigned int i) const {
    switch (i) {
        case 0:
            return _rx;
        case 1:
            return _ry;
        case 2:
            return _rz;
        default:
            return 0.0;
    }
}

bool ORI::match(ORI o) const {
    return within(_rx, o._rx, kOriTolerance) && within(_ry, o._ry, kOriTolerance) && within(_rz, o._rz, kOriTolerance);
}

std::string ORI::str() const { return textOf(*this); }

void ORI::appendTo(LogText& text) const { appendAll(text, "rx: ", _rx, ", ry: ", _ry, ", rz: ", _rz); }

POSE::POSE(const double* v) : _trans(v[0], v[1], v[2]), _ori(v[3], v[4], v[5]) {}

double POSE::operator[](unsigned int i) const { return i < 3 ? _trans[i] : _ori[i - 3]; }

bool POSE::match(POSE o) const { return _trans.match(o._trans) && _ori.match(o._ori); }

void POSE::toArray(double out[6]) const {
    for (unsigned int i = 0; i < 6; ++i) out[i] = (*this)[i];
}

std::string POSE::str() const { return textOf(*this); }

void POSE::appendTo(LogText& text) const { appendAll(text, _trans, ", ", _ori); }

JOINTS::JOINTS(double j1, double j2, double j3, double j4, double j5, double j6) : joints{j1, j2, j3, j4, j5, j6} {}

JOINTS::JOINTS(const double* values) { *this = values; }

JOINTS& JOINTS::operator=(const double* values) {
    for (int i = 0; i < RA_JOINT_NUM; ++i) joints[i] = values[i];
    return *this;
}

double& JOINTS::operator[](unsigned char i) {
    if (i < 1 || i > RA_JOINT_NUM) throw static_cast<int>(err_joints_index);
    return joints[i - 1];
}

double JOINTS::operator[](unsigned char i) const {
    if (i < 1 || i > RA_JOINT_NUM) throw static_cast<int>(err_joints_index);
    return joints[i - 1];
}

std::string JOINTS::str() const { return textOf(*this); }

void JOINTS::appendTo(LogText& text) const {
    text << "[";
    for (int i = 0; i < RA_JOINT_NUM; ++i) appendAll(text, i ? ", " : "", joints[i]);
    text << "]";
}

uint8_t SEW::toInt() const { return static_cast<uint8_t>((s ? 1 : 0) | (e ? 2 : 0) | (w ? 4 : 0)); }

void SEW::fromInt(unsigned char v) {
    s = (v & 1) != 0;
    e = (v & 2) != 0;
    w = (v & 4) != 0;
}

std::string SEW::str() const { return textOf(*this); }

void SEW::appendTo(LogText& text) const { appendAll(text, "sew: ", s, e, w); }

std::string SEWConfig::str() const { return textOf(*this); }

void SEWConfig::appendTo(LogText& text) const { appendAll(text, "sewConfig: ", int(s), "-", int(e), "-", int(w)); }

}  // namespace srci
