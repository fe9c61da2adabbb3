// SPDX-License-Identifier: Apache-2.0
// The adapter's one gateway to the robot controller's command and status port.
//
// Turns the adapter's value types into the arrays the port expects, turns refusals into thrown
// int error codes, and paces commands that change the active tool or frame. No unit conversion
// happens here. There is no lock: the main cycle and the power worker both call in, and the
// port library tolerates that.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "itf_rc/srci_records.h"
#include "itf_rc/srci_types.h"

class SrciPortStat;
class SrciPortCmd;

namespace srci {

std::shared_ptr<SrciPortStat> getStat();
std::shared_ptr<SrciPortCmd> getCmd();

// While one lives on a thread, that thread's status reads share one poll of the controller
// until the adapter sends a command or waits (on any thread); the first read after that polls
// again. The main cycle holds one, so its many readers see one sample instead of copying the
// whole status for each. Other threads keep polling at every read.
class SharedStatusPoll {
public:
    SharedStatusPoll();
    ~SharedStatusPoll();
    SharedStatusPoll(const SharedStatusPoll&) = delete;
    SharedStatusPoll& operator=(const SharedStatusPoll&) = delete;
};

class RcItf {
public:
    static RcItf* get(bool poll);

    // ---- status
    bool isRobotEnable();
    bool isRobotPower();
    bool isAppConnected();
    bool isRcInstPaused();
    bool isRcMoving();
    bool isRcInstDone();
    bool isPStopEStop();
    bool isProfinetRunning();
    int getCurTrajId();
    double GetSpeedRatio();
    uint8_t getCurrentTooldId();
    uint8_t getCurrentUserFrameId();
    JOINTS getCurrentJPos();
    POSE getCartesianPos();
    SEW getSew();
    OperationMode getOperationMode();
    ErrorInfo getErrorInfo();
    LoadData getLoad();
    int getSoftLimits(double* out);
    int getHardLimits(double* out);
    ReferenceDynamic getReferenceDynamic();
    void getInstallationAngle(double* out);
    RobotInfo getRobotInfo();

    // ---- tools, frames, payload, limits, dynamics, speed
    POSE getTool(int id);
    POSE getUsrFrame(int id);
    // `work` sends nothing to the controller (the store's file write) and is done during the
    // pause that follows the change: the controller still gets the whole pause before the next
    // command, and the caller waits for the longer of the two rather than their sum. Work that
    // throws ends the pause first, then the exception goes on.
    using DuringPause = std::function<void()>;
    void setTool(unsigned char id, POSE pose, const DuringPause& work = {});
    void setUsrFrame(unsigned char id, POSE pose, const DuringPause& work = {});
    void setToolId(int id);
    void setUsrFrameId(int id);
    void setLoad(LoadData load);
    int setSoftLimits(double* lim);
    void setReferenceDynamic(ReferenceDynamic d);
    void SetSpeedRatio(double r);
    void getWorkArea();
    void setWorkArea();

    // ---- operation mode: only External_Automatic exists for SRCI
    void setOperationMode(OperationMode m);
    static int operationMode_toVeld(OperationMode m);
    static OperationMode operationMode_fromVeld(unsigned char controllerMode);

    // ---- power, enable, protective stop, kinematics set-up
    void robotPower(bool on);
    void robotEnable(bool on);
    void exit_protect(unsigned char type);
    void robotKineInit();

    // ---- motion
    void robotMoveJoint(MoveCmdParam p);
    void robotMoveLine(MoveCmdParam p);
    void robotMoveDirect(MoveCmdParam p);
    static void checkSpeedAcc(double vel, double acc);
    void robotMoveStop();
    void robotMoveInterrupt();
    void robotMoveContinue();

    // ---- jog
    static int jogmode_srci2veld(JogMode m);  // throws "wrong jog mode" for unknown modes
    void jog(JogCmdParam p);
    void robotJogStop();

    // ---- kinematics, configuration, turn numbers, frames
    void fkine(JOINTS j, POSE& pose, SEW& sew, POSE tool, POSE frame);
    void ikine(POSE pose, JOINTS& joints, SEW sew, POSE tool, POSE frame);
    static bool calcSew_each(unsigned char mode, bool target, bool current);
    static SEW calcSew(SEWConfig mode, SEW target, SEW current);
    SEW getCurrentSEW();
    static uint8_t getTurnNumber(double angle);
    static double calcRefJposByTurnNumber(unsigned char n);
    POSE calFrame_world_to_user(POSE pose, POSE frame);
    POSE calFrame_user_to_world(POSE pose, POSE frame);

private:
    RcItf() = default;
};

// The last jog that moved; robotJogStop names the same coordinate system and axis.
const JogCmdParam& lastJogCommand();

// The adapter blocks in whole steps while the controller powers up or takes a tool change.
// Tests replace the sleep to run those waits without real time passing.
using SleepFn = void (*)(int milliseconds);
void setRcItfSleep(SleepFn fn);

}  // namespace srci
