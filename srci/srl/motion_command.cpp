// SPDX-License-Identifier: Apache-2.0
// The motion command record, its state texts and the one gate every state change passes.
#include <string>

#include "edk_text.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"
#include "srl/srl_api.h"

std::string getStateEnumStr(LRob_typeServerMotionStateEnum state) {
    switch (state) {
        case LRob_typeServerMotionStateMin:
            return "initial_state";
        case LRob_typeServerMotionStateStop:
            return "stopped_state";
        case LRob_typeServerMotionStateDone:
            return "done_state";
        case LRob_typeServerMotionStatePause:
            return "paused_state";
        case LRob_typeServerMotionStateMove:
            return "moving_state";
        case LRob_typeServerMotionStateError:
            return "error_state";
        default:
            return "";
    }
}

std::string EDK_CMD::getStateStr() const {
    srci::LogText text;
    putState(text);
    return std::string(text.view());
}

void EDK_CMD::putState(srci::LogText& text) const {
    text << getStateEnumStr(state);
    if (state == LRob_typeServerMotionStateError) text << ": " << srci::text::hex(errorCode);
}

// Error absorbs everything. A finished move never changes again, while a jog may leave done
// or stopped (the same jog telegram can start it once more).
void EDK_CMD::setState(LRob_typeServerMotionStateEnum newState) {
    if (state == LRob_typeServerMotionStateError || state == newState) return;
    const std::string from = getStateEnumStr(state), to = getStateEnumStr(newState);
    srci::LogText text;
    if (type == srci::MotionCmdType::Jog) {
        text << "jogcmd, id: " << jogCmd.jogId << ", stateChanged: " << from << "->" << to;
        SRCI_LOG(zlog::ZLogLvInfo, text.view());
    } else if (state == LRob_typeServerMotionStateStop || state == LRob_typeServerMotionStateDone) {
        text << "final state shouldn't change..." << from << "->" << to;
        SRCI_LOG(zlog::ZLogLvError, text.view());
        return;
    } else {
        text << "movecmd, id: " << moveCmd.generalParam.trajId << ", stateChanged: " << from << "->" << to;
        SRCI_LOG(zlog::ZLogLvInfo, text.view());
    }
    state = newState;
    reported = false;
}

MotionManager::MotionManager()
    : lastMotionControlCmd(srci::MotionFlagType::Ready), waitDelayCount_(0), MaxDelayCount(5), newErrStored{0, 0} {}

// Reports are paced: at least MaxDelayCount cycles between two of them, shared by moves and jogs.
bool MotionManager::ableToUpdateEDKState() {
    if (++waitDelayCount_ >= MaxDelayCount) {
        waitDelayCount_ = MaxDelayCount;
        return true;
    }
    return false;
}

void MotionManager::resetWaitDelayCount() { waitDelayCount_ = 0; }

void MotionManager::resetLastMotionControlFlag() { lastMotionControlCmd = srci::MotionFlagType::Ready; }

namespace motion_detail {

void reportState(uint32_t id, const EDK_CMD& cmd) {
    srl_set_robot_motion_state_1(static_cast<int>(id & 0xFF), cmd.state, cmd.errorCode, 0);
}

}  // namespace motion_detail
