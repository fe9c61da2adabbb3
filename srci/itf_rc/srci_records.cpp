// SPDX-License-Identifier: Apache-2.0
#include "itf_rc/srci_records.h"

#include "itf_rc/srci_log.h"

namespace srci {

std::string MoveCmdGeneralParam::str() const { return textOf(*this); }

void MoveCmdGeneralParam::appendTo(LogText& text) const {
    appendAll(text, "id: ", trajId, ", [", vel, ", ", acc, ", ", tol, "]");
}

std::string MoveCmdParam::str() const { return textOf(*this); }

void MoveCmdParam::appendTo(LogText& text) const {
    switch (type) {
        case MotionCmdType2::Axes:
            appendAll(text, jpos, ", ", generalParam, ", toolid: ", toolId);
            break;
        case MotionCmdType2::Linear:
        case MotionCmdType2::Direct:
            // The SEW and SEWConfig texts carry their own labels, so each label stands twice:
            // that doubling is the established log format.
            appendAll(text, "toolId: ", toolId, ", frameId: ", frameId, ", ", pos, ", turnMode: ", int(turnMode),
                      ", sew: ", sewTarget, ", sewConfig: ", sewConfigMode, ", ", generalParam);
            break;
        default:
            break;
    }
}

std::string JogCmdParam::str() const { return textOf(*this); }

void JogCmdParam::appendTo(LogText& text) const {
    appendAll(text, "id: ", jogId, ", jogmode: ", static_cast<int>(mode), ", direction: ", direction,
              ", speed: ", speed, ", distance: ", distance, ", toolid: ", toolId, ", frameid: ", frameId);
}

std::string FrameData::str() const { return textOf(*this); }

void FrameData::appendTo(LogText& text) const { appendAll(text, "refIndex: ", int(refIndex), ", frame: ", pose); }

std::string LoadData::str() const { return textOf(*this); }

void LoadData::appendTo(LogText& text) const {
    appendAll(text, "mass: ", mass, ", x: ", x, ", y: ", y, ", z: ", z, ", \n", "rx: ", rx, ", ry: ", ry, ", rz: ", rz,
              ", ix: ", ix, ", iy: ", iy, ", iz: ", iz);
}

std::string DefaultDynamic::str() const { return textOf(*this); }

void DefaultDynamic::appendTo(LogText& text) const {
    appendAll(text, "speed % : ", vel_rate, ", acc % : ", acc_rate, ", dec % : ", dec_rate,
              ", jerk rate % : ", jerk_rate, "\n");
}

std::string ReferenceDynamic::str() const { return textOf(*this); }

void ReferenceDynamic::appendTo(LogText& text) const {
    appendAll(text, "velocity: ", vel, ", acc: ", acc, ", dec: ", dec, ", jerk rate: ", jerk, "\n");
}

}  // namespace srci
