// SPDX-License-Identifier: Apache-2.0
#include "itf_rc/srci_records.h"

#include <sstream>

namespace srci {

std::string MoveCmdGeneralParam::str() const {
    std::ostringstream os;
    os << "id: " << trajId << ", [" << vel << ", " << acc << ", " << tol << "]";
    return os.str();
}

std::string MoveCmdParam::str() const {
    std::ostringstream os;
    switch (type) {
        case MotionCmdType2::Axes:
            os << jpos.str() << ", " << generalParam.str() << ", toolid: " << toolId;
            break;
        case MotionCmdType2::Linear:
        case MotionCmdType2::Direct:
            // The SEW and SEWConfig texts carry their own labels, so each label stands twice:
            // that doubling is the established log format.
            os << "toolId: " << toolId << ", frameId: " << frameId << ", " << pos.str()
               << ", turnMode: " << int(turnMode) << ", sew: " << sewTarget.str()
               << ", sewConfig: " << sewConfigMode.str() << ", " << generalParam.str();
            break;
        default:
            break;
    }
    return os.str();
}

std::string JogCmdParam::str() const {
    std::ostringstream os;
    os << "id: " << jogId << ", jogmode: " << static_cast<int>(mode) << ", direction: " << direction
       << ", speed: " << speed << ", distance: " << distance << ", toolid: " << toolId << ", frameid: " << frameId;
    return os.str();
}

std::string FrameData::str() const {
    std::ostringstream os;
    os << "refIndex: " << int(refIndex) << ", frame: " << pose.str();
    return os.str();
}

std::string LoadData::str() const {
    std::ostringstream os;
    os << "mass: " << mass << ", x: " << x << ", y: " << y << ", z: " << z << ", \n"
       << "rx: " << rx << ", ry: " << ry << ", rz: " << rz << ", ix: " << ix << ", iy: " << iy << ", iz: " << iz;
    return os.str();
}

std::string DefaultDynamic::str() const {
    std::ostringstream os;
    os << "speed % : " << vel_rate << ", acc % : " << acc_rate << ", dec % : " << dec_rate
       << ", jerk rate % : " << jerk_rate << "\n";
    return os.str();
}

std::string ReferenceDynamic::str() const {
    std::ostringstream os;
    os << "velocity: " << vel << ", acc: " << acc << ", dec: " << dec << ", jerk rate: " << jerk << "\n";
    return os.str();
}

}  // namespace srci
