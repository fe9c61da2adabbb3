// SPDX-License-Identifier: Apache-2.0
// The port classes: thin forwarding to the process-wide simulated arm.
#include "srciport/srciport.h"

#include "srciport/euler.h"
#include "srciport/kinematics.h"
#include "srciport/sim_arm.h"

#include <cmath>

using srciport::SimArm;

SrciPortStat::SrciPortStat() = default;

int SrciPortStat::init() {
    SimArm::instance().ensureStarted();
    return 0;
}

int SrciPortStat::poll() {
    SimArm::instance().snapshot(*this);
    return 0;
}

SrciPortCmd::SrciPortCmd() = default;

int SrciPortCmd::init() {
    SimArm::instance().ensureStarted();
    return 0;
}

int SrciPortCmd::powerOnRobot() { return SimArm::instance().powerOn(); }
int SrciPortCmd::powerOffRobot() { return SimArm::instance().powerOff(); }
int SrciPortCmd::enableRobot() { return SimArm::instance().enable(); }
int SrciPortCmd::disableRobot() { return SimArm::instance().disable(); }
int SrciPortCmd::exitProtect(unsigned char type) { return SimArm::instance().exitProtect(type); }

int SrciPortCmd::updateErrInfo(int& errCode, int& errType) {
    SimArm::instance().errorInfo(errCode, errType);
    return 0;
}

int SrciPortCmd::movjAbs(const double joints[6], double vel, double acc, uint32_t trajId, double tol) {
    return SimArm::instance().moveJoint(joints, vel, acc, trajId, tol);
}

int SrciPortCmd::movl(const double pose[6], double vel, double acc, uint32_t trajId, double tol) {
    return SimArm::instance().moveLinear(pose, vel, acc, trajId, tol);
}

int SrciPortCmd::motionStop() { return SimArm::instance().stop(); }
int SrciPortCmd::motionPause() { return SimArm::instance().pause(); }
int SrciPortCmd::motionContinue() { return SimArm::instance().resume(); }

int SrciPortCmd::jogIncr(int mode, int direction, double speed, double distance) {
    return SimArm::instance().jog(mode, direction, speed, distance, false);
}

int SrciPortCmd::jogCont(int mode, int direction, double speed, double distance) {
    return SimArm::instance().jog(mode, direction, speed, distance, true);
}

int SrciPortCmd::jogStop(int mode, int direction) { return SimArm::instance().jogStop(mode, direction); }

int SrciPortCmd::setToolOffset(const double pose[6], int id, const char*) {
    return SimArm::instance().setToolOffset(pose, id);
}

int SrciPortCmd::setUsrFrame(const double pose[6], int id, const char*) {
    return SimArm::instance().setUserFrame(pose, id);
}

int SrciPortCmd::setToolId(int id) { return SimArm::instance().setToolId(id); }
int SrciPortCmd::setFrameId(int id) { return SimArm::instance().setFrameId(id); }
int SrciPortCmd::setLoad(const double load[4]) { return SimArm::instance().setLoad(load); }
int SrciPortCmd::setMinLimit(int joint, double value) { return SimArm::instance().setMinLimit(joint, value); }
int SrciPortCmd::setMaxLimit(int joint, double value) { return SimArm::instance().setMaxLimit(joint, value); }

int SrciPortCmd::setReferenceDynamic(double vel, double acc, double dec, double jerk) {
    return SimArm::instance().setReferenceDynamic(vel, acc, dec, jerk);
}

int SrciPortCmd::setSpeedRatio(double ratio) { return SimArm::instance().setSpeedRatio(ratio); }

int SrciPortCmd::kineInit(const double dh[6][4], int) { return SimArm::instance().kineInit(dh); }

int SrciPortCmd::fkine(const double joints[6], double pose[6], unsigned char* config, const double tool[6],
                       const double frame[6]) {
    return SimArm::instance().fkine(joints, pose, config, tool, frame);
}

int SrciPortCmd::ikine(const double pose[6], double joints[6], unsigned char config, const double tool[6],
                       const double frame[6]) {
    return SimArm::instance().ikine(pose, joints, config, tool, frame);
}

namespace {

bool finite6(const double* v) {
    for (int i = 0; i < 6; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

}  // namespace

int SrciPortCmd::calFrameWorldToUser(const double pose[6], const double frame[6], double out[6]) {
    if (!pose || !frame || !out || !finite6(pose) || !finite6(frame)) return 1;
    srciport::transformToPose(srciport::worldToUser(srciport::poseToTransform(pose), srciport::poseToTransform(frame)),
                              out);
    return 0;
}

int SrciPortCmd::calFrameUserToWorld(const double pose[6], const double frame[6], double out[6]) {
    if (!pose || !frame || !out || !finite6(pose) || !finite6(frame)) return 1;
    srciport::transformToPose(srciport::userToWorld(srciport::poseToTransform(pose), srciport::poseToTransform(frame)),
                              out);
    return 0;
}
