// SPDX-License-Identifier: Apache-2.0
// Status queries: some poll the controller first, the others read the last snapshot.
#include <cstring>

#include "itf_rc/rcitf_internal.h"

namespace srci {
namespace {

SrciPortStat& polled() { return rcitf_detail::polledStat(); }

SrciPortStat& snapshot() { return rcitf_detail::stat(); }

}  // namespace

bool RcItf::isRobotEnable() { return polled().ra_enable_stat != 0; }
bool RcItf::isRobotPower() { return polled().ra_power_stat != 0; }
bool RcItf::isAppConnected() { return polled().isAppConnected != 0; }
bool RcItf::isRcInstPaused() { return polled().is_inst_paused != 0; }

bool RcItf::isRcMoving() {
    const SrciPortStat& s = polled();
    return s.ra_is_moving != 0 && s.ra_enable_stat != 0;
}

// A disabled arm executes nothing, so whatever is queued counts as done.
bool RcItf::isRcInstDone() {
    const SrciPortStat& s = polled();
    return s.ra_is_inst_done != 0 || s.ra_enable_stat == 0;
}

bool RcItf::isPStopEStop() {
    const SrciPortStat& s = snapshot();
    return s.isEStop != 0 || s.isPStop != 0;
}

bool RcItf::isProfinetRunning() { return snapshot().profinet_state == SRCIPORT_PROFINET_RUNNING; }
int RcItf::getCurTrajId() { return snapshot().cur_trajId; }
double RcItf::GetSpeedRatio() { return polled().speed_ratio; }
uint8_t RcItf::getCurrentTooldId() { return static_cast<uint8_t>(polled().cur_tool_id); }
uint8_t RcItf::getCurrentUserFrameId() { return static_cast<uint8_t>(polled().cur_usrframe_id); }
JOINTS RcItf::getCurrentJPos() { return JOINTS(snapshot().act_jpos); }
POSE RcItf::getCartesianPos() { return POSE(polled().act_cartpos); }
SEW RcItf::getSew() { return getCurrentSEW(); }
OperationMode RcItf::getOperationMode() { return operationMode_fromVeld(snapshot().ra_operation_mode); }

ErrorInfo RcItf::getErrorInfo() {
    int code = 0, type = 0;
    rcitf_detail::readOnly().updateErrInfo(code, type);
    return ErrorInfo{code, type};
}

LoadData RcItf::getLoad() {
    const SrciPortStat& s = polled();
    LoadData load;
    load.mass = s.usr_payload.m;
    load.x = s.usr_payload.p[0];
    load.y = s.usr_payload.p[1];
    load.z = s.usr_payload.p[2];
    return load;
}

int RcItf::getSoftLimits(double* out) {
    std::memcpy(out, polled().soft_limits, sizeof(double) * 2 * RA_JOINT_NUM);
    return 0;
}

int RcItf::getHardLimits(double* out) {
    std::memcpy(out, polled().hard_limits, sizeof(double) * 2 * RA_JOINT_NUM);
    return 0;
}

// The controller has no reference deceleration or jerk; -1 marks them absent.
ReferenceDynamic RcItf::getReferenceDynamic() {
    const SrciPortStat& s = polled();
    return ReferenceDynamic{s.reference_vel, s.reference_acc, -1.0, -1.0};
}

void RcItf::getInstallationAngle(double* out) { std::memcpy(out, snapshot().installationAngle, sizeof(double) * 3); }

POSE RcItf::getTool(int id) {
    if (id < -1 || id > 15) throw static_cast<int>(err_tools_index);
    const SrciPortStat& s = polled();
    return POSE(s.usr_tools[id == -1 ? s.cur_tool_id % SRCIPORT_TOOL_NUM : static_cast<uint32_t>(id)]);
}

POSE RcItf::getUsrFrame(int id) {
    if (id < -1 || id > 15) throw static_cast<int>(err_frames_index);
    const SrciPortStat& s = polled();
    return POSE(s.usr_frames[id == -1 ? s.cur_usrframe_id % SRCIPORT_FRAME_NUM : static_cast<uint32_t>(id)]);
}

RobotInfo RcItf::getRobotInfo() {
    RobotInfo info;
    const SrciPortStat& s = polled();
    info.Robot_Id = "null";
    info.SRCI_version = "1.6.27";
    info.RC_manufacturer = "VELD";
    info.RC_Order_Id = std::string(s.rc_order_id, strnlen(s.rc_order_id, sizeof(s.rc_order_id)));
    // One character from the low byte, deliberately not a formatted number.
    info.RC_serial = std::string(1, static_cast<char>(s.rc_serial_num & 0xFF));
    info.RA_serial = std::string(1, static_cast<char>(s.ra_serial_num & 0xFF));
    info.RC_firmware = "null";
    info.RC_Interpreter_Version = std::string(s.rc_version, strnlen(s.rc_version, sizeof(s.rc_version)));
    info.RC_UserDefined_Name = "null";
    return info;
}

}  // namespace srci
