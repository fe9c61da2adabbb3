// SPDX-License-Identifier: Apache-2.0
// The adapter's parameter store and robot helper: tools, user frames, loads and dynamics kept
// in memory, mirrored into srci.ini and pushed to the controller; rate scaling and motion
// parameter checks; error logging and the pending error list; the power/enable worker.
//
// One instance, the process-wide `helper`. Everything but the power worker runs on the main
// cycle's thread; nothing here takes a lock except the worker's try-lock guard.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "INI/iniHandler.h"
#include "itf_rc/srci_records.h"
#include "itf_rc/srci_types.h"
#include "srl/srl_types.h"

// A failed-motion error reported to the PLC and not yet acknowledged by a group reset.
struct PendingErrInfo {
    SInt id = static_cast<SInt>(0xFF);
    bool isProcessed = false;
    int errCode = 0;
    USInt severity = 28;
    std::string info;
};

// Scope guard that only ever try-locks: the power worker must never wait for another one.
class VELD_Locker {
public:
    explicit VELD_Locker(std::mutex& m);
    bool tryLock();
    ~VELD_Locker();
    VELD_Locker(const VELD_Locker&) = delete;
    VELD_Locker& operator=(const VELD_Locker&) = delete;

private:
    std::mutex* _locker;
    bool _lockOK;
};

extern std::atomic<bool> enable_thread_running;
extern std::mutex enable_poweron_locker;

class EDK_Helper {
public:
    static constexpr int MaxToolsCount = 16;
    static constexpr int MaxFramesCount = 16;
    static constexpr int MaxLoadsCount = 16;
    static constexpr int MaxWorkareaCount = 11;

    // Reads srci.ini from the current working directory, falls back to the controller, and
    // writes everything back (file and controller).
    EDK_Helper();

    // ---- persistent store
    srci::ToolData getStoredTool(int index);
    srci::FrameData getStoredFrame(int index);
    srci::LoadData getStoredLoad(int index);
    void setStoredTool(int index, srci::ToolData tool);
    void setStoredTool(int index, srci::POSE pose);
    void setStoredFrame(int index, srci::FrameData frame);
    void setStoredFrame(int index, srci::POSE pose);
    void setStoredLoad(int index, srci::LoadData load);
    srci::ReferenceDynamic getStoredRefDyn_linear();
    srci::ReferenceDynamic getStoredRefDyn_joint();
    srci::DefaultDynamic getStoredDefaultDyn();
    void setStoredRefDyn_linear(srci::ReferenceDynamic rd);
    void setStoredDefaultDyn(srci::DefaultDynamic dd);
    srci::POSE get_rcFrame_inUser(srci::POSE pose, int frameId);
    srci::POSE get_rcFrame_fromUser(srci::POSE pose, int frameId);

    srci::ToolData ReadToolFromINI(int index);
    srci::FrameData ReadFrameFromINI(int index);
    srci::LoadData ReadLoadFromINI(int index);
    srci::ReferenceDynamic ReadRefDynFromINI();
    srci::DefaultDynamic ReadDefaultDynFromINI();
    void WriteToolToINI(int index, srci::ToolData tool);
    void WriteFrameToINI(int index, srci::FrameData frame);
    void WriteLoadToINI(int index, srci::LoadData load);
    void WriteRefDynToINI(srci::ReferenceDynamic rd);
    void WriteDefaultDynToINI(srci::DefaultDynamic dd);

    void initRefDyn();
    void initDefaultRef();
    void initTools();
    void initFrames();
    void initLoads();

    // ---- rate scaling and checks (each check throws its SRCI code)
    double calAxesVel(unsigned int rate);
    double calLinearVel(unsigned int rate);
    double calAxesAcc(unsigned int rate);
    double calLinearAcc(unsigned int rate);
    double calTolerance(unsigned char blendingMode, double value);
    void checkMotionCmdTime(unsigned int time);
    void checkMotionCmdDecJerk(unsigned int dec, unsigned int jerk);
    void checkMotionCmdTurnMode(unsigned char turnMode);
    void checkMotionCmdOriMode(unsigned char oriMode);
    void checkMotionCmdConfigMode_moveLinear(srci::SEWConfig mode);
    void checkMotionCmdConfigMode_moveDirect(srci::SEWConfig mode);
    void checkManipuation(bool manipulation);
    void checkTrig(LRob_typeServerCmdTriggerSubheader trigger);
    void checkAbortingMode(unsigned int executionMode);
    static unsigned char getCmdID(unsigned char* telegram);
    static int getJogDirection(LRob_typeServerRobotJogControl jog);
    static bool isTranslation(int direction);
    void UseReferenceDynamicLinear();
    void UseReferenceDynamicJoint();
    void setSyncParam(LRob_typeServerSyncEnable sync);
    srci::SyncSwitch getSyncParam();

    // ---- error reporting, pending errors, log level
    static void logErr(int code);
    static void logMotionErr(srci::MoveCmdParam param, int code);
    void addPendingErr(PendingErrInfo info);
    std::vector<PendingErrInfo> getPendingErrList();
    void clearPendingErrList();
    // Reports a failed motion's code to the PLC as a new error and keeps it pending.
    void raisePendingErr(int errCode);
    // Reports every pending error once more as processed, then forgets them (group reset).
    void acknowledgePendingErrs();
    void setLogLevel(unsigned char level);
    unsigned char getLogLevel();

    // ---- power and enable
    void TryEnableRobot(bool enable);
    static void power_thread(bool enable);
    // Set by the worker, read and cleared by the main cycle.
    static std::atomic<bool> power_enable_need_update;

    bool requireEnable;
    uint8_t stepMode;
    bool disableTrigged;
    const uint8_t defaultLoadId;
    const double percentageConvertFactor;
    const int MinVelocity;
    const int MinAcc;
    const int JogAxesVelocity;
    const int JogLinearVelocity;

private:
    srci::LoadData loads[MaxLoadsCount];
    srci::ToolData tools[MaxToolsCount];
    srci::FrameData frames[MaxFramesCount];
    INI ini;
    srci::ReferenceDynamic refDynamicOriginal;
    srci::ReferenceDynamic refDynamicStored_joint;
    srci::ReferenceDynamic refDynamicStored_linear;
    srci::DefaultDynamic defaultDynamicStored;
    srci::SyncSwitch syncSetting;
    std::vector<PendingErrInfo> pending_error_list;
    int levelStored;
};

// Constructed by static initialisation after motionManagerTemp (see globals.cpp).
extern EDK_Helper helper;
