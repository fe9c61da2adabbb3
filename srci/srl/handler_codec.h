// SPDX-License-Identifier: Apache-2.0
// Small helpers every handler shares: typed decode/encode of the host-order records, and the
// conversions between telegram floats and the adapter's value types.
#pragma once

#include <string>

#include "itf_rc/srci_log.h"
#include "itf_rc/srci_types.h"
#include "srl/srl_api.h"

namespace handler {

template <class Record>
Record decode(const unsigned char* in) {
    Record r{};
    srl_deserialize(in, &r, static_cast<int>(sizeof(Record)));
    return r;
}

template <class Record>
void encode(const Record& r, unsigned char* out) {
    srl_serialize(&r, out, static_cast<int>(sizeof(Record)));
}

template <class Values>
srci::POSE poseOf(const Values& v) {
    return srci::POSE(v.X, v.Y, v.Z, v.RX, v.RY, v.RZ);
}

template <class Values>
void putPose(Values& v, const srci::POSE& p) {
    v.X = static_cast<float>(p[0]);
    v.Y = static_cast<float>(p[1]);
    v.Z = static_cast<float>(p[2]);
    v.RX = static_cast<float>(p[3]);
    v.RY = static_cast<float>(p[4]);
    v.RZ = static_cast<float>(p[5]);
}

inline srci::JOINTS jointsOf(const LRob_typeServerRobotShortJointPosition& j) {
    return srci::JOINTS(j.J1, j.J2, j.J3, j.J4, j.J5, j.J6);
}

inline void putJoints(LRob_typeServerRobotShortJointPosition& j, const srci::JOINTS& v) {
    j.J1 = static_cast<float>(v[1]);
    j.J2 = static_cast<float>(v[2]);
    j.J3 = static_cast<float>(v[3]);
    j.J4 = static_cast<float>(v[4]);
    j.J5 = static_cast<float>(v[5]);
    j.J6 = static_cast<float>(v[6]);
}

inline void putConfig(LRob_typeServerRobotConfig& c, const srci::SEW& sew) {
    c.Shoulder = sew.s;
    c.Elbow = sew.e;
    c.Wrist = sew.w;
}

// A log text in an output stream's forms, built without the heap while it fits its buffer.
template <class... Parts>
srci::LogText text(const Parts&... parts) {
    srci::LogText out;
    srci::appendAll(out, parts...);
    return out;
}

}  // namespace handler
