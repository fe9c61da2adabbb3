// SPDX-License-Identifier: Apache-2.0
// The queue of SRCI motion commands, their motion states, their execution and supervision on
// the controller, group stop/pause/continue and controller error propagation.
//
// One instance, the process-wide `motionManagerTemp`. update() runs once per cycle on the main
// thread; handlers push commands from inside the same cycle, so the queues need no lock. The
// power worker never touches the queues: it asks for a disable stop, and the main thread makes
// it at the start of its next update().
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "itf_rc/srci_log.h"
#include "itf_rc/srci_records.h"
#include "srl/srl_types.h"

std::string getStateEnumStr(LRob_typeServerMotionStateEnum state);

struct EDK_CMD {
    srci::MotionCmdType type = srci::MotionCmdType::Move;
    srci::MoveCmdParam moveCmd;
    srci::JogCmdParam jogCmd;
    LRob_typeServerMotionStateEnum state = LRob_typeServerMotionStateMin;
    bool reported = false;
    int32_t errorCode = 0;
    bool sendToController = false;
    bool abortingMode = false;
    bool pausingMode = false;

    std::string getStateStr() const;
    void putState(srci::LogText& text) const;  // the same text, without a string of its own
    // The only way to change state: error absorbs everything, a finished move never changes.
    void setState(LRob_typeServerMotionStateEnum newState);
};

class MotionManager {
public:
    MotionManager();

    // ---- commands from the handlers
    void pushCmd(EDK_CMD cmd);
    bool isToolFrameMatch(EDK_CMD cmd);
    bool checkIfAlreadyReached(srci::MoveCmdParam param);
    bool shouldJog(srci::JogCmdParam jog);

    // ---- once per cycle
    void update();
    void updateMotionError();
    void sendMoveCmd();
    void updateMoveState();
    void sendJogCmd();
    void updateJogState();

    // ---- group operations
    void groupStop(bool innerStop);
    void groupPause();
    void groupContinue();
    void disableStop();
    // From the power worker's thread: disableStop() on the main thread at its next update().
    void requestDisableStop();

    // ---- report pacing and flags
    bool ableToUpdateEDKState();
    void resetWaitDelayCount();
    void resetLastMotionControlFlag();

    // ---- diagnostics
    void logBufferInfo();
    void logSpeedRelatedInfo();
    void logControllerMotionFlag(bool isDone, bool isMoving, int trajId);

    std::vector<EDK_CMD> motionCmdList_;
    std::vector<EDK_CMD> jogCmdIdList_;
    srci::MotionFlagType lastMotionControlCmd;
    int32_t waitDelayCount_;
    const int32_t MaxDelayCount;
    srci::ErrorInfo newErrStored;

private:
    std::atomic<bool> disableStopRequested_{false};
};

// Constructed by static initialisation before `helper` (see globals.cpp).
extern MotionManager motionManagerTemp;
