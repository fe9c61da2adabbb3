// The motion command record, its state texts and the one gate every state change passes.
#include <string>

#include "edk_text.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"
#include "srl/srl_api.h"

std::string getStateEnumStr(LRob_typeServerMotionStateEnum state) {
    switch (state) {
        case LRob_typeServerMotionStateMin: return "initial_state";
        case LRob_typeServerMotionStateStop: return "stopped_state";
        case LRob_typeServerMotionStateDone: return "done_state";
        case LRob_typeServerMotionStatePause: return "paused_state";
        case LRob_typeServerMotionStateMove: return "moving_state";
        case LRob_typeServerMotionStateError: return "error_state";
        default: return "";
    }
}

std::string EDK_CMD::getStateStr() const {
    std::string text = getStateEnumStr(state);
    if (state == LRob_typeServerMotionStateError) text += ": " + srci::text::hex(errorCode);
    return text;
}

// Error absorbs everything. A finished move never changes again, while a jog may leave done
// or stopped (the same jog telegram can start it once more).
void EDK_CMD::setState(LRob_typeServerMotionStateEnum newState) {
    if (state == LRob_typeServerMotionStateError || state == newState) return;
    const std::string change = getStateEnumStr(state) + "->" + getStateEnumStr(newState);
    if (type == srci::MotionCmdType::Jog) {
        SRCI_LOG(zlog::ZLogLvInfo, "jogcmd, id: " + std::to_string(jogCmd.jogId) + ", stateChanged: " + change);
    } else if (state == LRob_typeServerMotionStateStop || state == LRob_typeServerMotionStateDone) {
        SRCI_LOG(zlog::ZLogLvError, "final state shouldn't change..." + change);
        return;
    } else {
        SRCI_LOG(zlog::ZLogLvInfo,
                 "movecmd, id: " + std::to_string(moveCmd.generalParam.trajId) + ", stateChanged: " + change);
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
