// SPDX-License-Identifier: Apache-2.0
// Jogs run one at a time as incremental controller jogs. The PLC repeats its jog telegram
// every cycle; only a change of mode, id or direction starts a new controller jog.
#include <string>

#include "edk_text.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"
#include "srl/srl_api.h"

namespace {

constexpr int WaitCountMax = 10;

bool isStopOrPause(srci::MotionFlagType flag) {
    return flag == srci::MotionFlagType::Pause || flag == srci::MotionFlagType::Stop;
}

}  // namespace

namespace motion_detail {

// A new jog first ends everything queued, silently: the PLC is not told about dropped commands.
void pushJog(MotionManager& manager, EDK_CMD cmd) {
    if (cmd.jogCmd.direction == 0) {
        srci::RcItf::get(true)->robotJogStop();
    } else if (manager.jogCmdIdList_.empty() || manager.shouldJog(cmd.jogCmd)) {
        manager.groupStop(true);
        manager.jogCmdIdList_.push_back(cmd);
    }
    manager.logBufferInfo();
}

}  // namespace motion_detail

bool MotionManager::shouldJog(srci::JogCmdParam jog) {
    if (jogCmdIdList_.empty()) return true;
    const srci::JogCmdParam& running = jogCmdIdList_.front().jogCmd;
    return running.mode != jog.mode || running.jogId != jog.jogId || running.direction != jog.direction;
}

void MotionManager::sendJogCmd() {
    if (jogCmdIdList_.empty()) return;
    EDK_CMD& front = jogCmdIdList_.front();
    if (front.sendToController || front.state == LRob_typeServerMotionStateStop) return;
    front.sendToController = true;
    try {
        srci::RcItf::get(true)->jog(front.jogCmd);
    } catch (int code) {
        SRCI_LOG(zlog::ZLogLvError, "jog refused, err: " + srci::text::hex(code));
        front.errorCode = code;
        front.setState(LRob_typeServerMotionStateError);
        return;
    } catch (const char* text) {
        SRCI_LOG(zlog::ZLogLvError, text);
        front.errorCode = motion_detail::kRefusedWithoutCode;
        front.setState(LRob_typeServerMotionStateError);
        return;
    }
    SRCI_LOG(zlog::ZLogLvInfo, (srci::LogText() << "jog cmd sent to controller, id: " << front.jogCmd.jogId).view());
    resetLastMotionControlFlag();
    logSpeedRelatedInfo();
}

// A jog's moving state is never reported, only its end; a finished jog ends as stopped.
void MotionManager::updateJogState() {
    static int waitCount = 0;
    if (jogCmdIdList_.empty()) return;

    srci::RcItf* rc = srci::RcItf::get(true);
    const bool isDone = rc->isRcInstDone();
    const bool isMoving = rc->isRcMoving();
    logControllerMotionFlag(isDone, isMoving, rc->getCurTrajId());

    EDK_CMD& front = jogCmdIdList_.front();
    if (newErrStored.errType != 0 && front.state != LRob_typeServerMotionStateError) {
        front.errorCode = newErrStored.errCode;
        front.setState(LRob_typeServerMotionStateError);
        newErrStored = srci::ErrorInfo{0, 0};
        return;
    }
    if (isMoving) {
        if (front.state != LRob_typeServerMotionStateMove) {
            SRCI_LOG(zlog::ZLogLvInfo, "jogging...");
            front.setState(LRob_typeServerMotionStateMove);
        }
        return;
    }
    const bool notStarted =
        front.state == LRob_typeServerMotionStateMin || front.state == LRob_typeServerMotionStateDone;
    if (notStarted && !isStopOrPause(lastMotionControlCmd)) {
        if (++waitCount <= WaitCountMax) {
            SRCI_LOG(zlog::ZLogLvError, "jog cmd not start, just wait");
            return;
        }
        SRCI_LOG(zlog::ZLogLvError, "jog cmd reached waitCountMax");
    }
    waitCount = 0;

    if (notStarted || front.state == LRob_typeServerMotionStateMove) {
        if (lastMotionControlCmd == srci::MotionFlagType::Pause) {
            SRCI_LOG(zlog::ZLogLvInfo, "jog meet pause");
            front.setState(LRob_typeServerMotionStatePause);
            lastMotionControlCmd = srci::MotionFlagType::Ready;
        } else {
            front.setState(LRob_typeServerMotionStateStop);
        }
    }
    if (!ableToUpdateEDKState()) return;

    srci::LogText text;
    text << "jog cmd id: " << front.jogCmd.jogId << ", done(state_stop), realState: ";
    front.putState(text);
    SRCI_LOG(zlog::ZLogLvInfo, text.view());
    motion_detail::reportState(front.jogCmd.jogId, front);
    if (front.jogCmd.direction != 0 && lastMotionControlCmd != srci::MotionFlagType::Stop) srl_set_jog_distance_togo(1);
    // A paused jog is removed too: jogs are never continued.
    if (front.state == LRob_typeServerMotionStatePause) {
        SRCI_LOG(zlog::ZLogLvInfo, "jog interrupt complete");
        srl_set_interrupt_completed();
    }
    jogCmdIdList_.clear();
    resetWaitDelayCount();
    logBufferInfo();
}
