// SPDX-License-Identifier: Apache-2.0
// Once per cycle: derive each queued move's state from the controller's flags and its current
// trajectory id, and report the front command. Only the front is ever reported and removed.
#include <string>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"
#include "srl/edk_helper.h"
#include "srl/srl_api.h"

namespace {

constexpr int WaitCountMax = 10;
constexpr double StandingSpeedRatio = 0.001;
constexpr double ReferenceDynamicThreshold = 1.0;

bool isOpen(const EDK_CMD& cmd) {
    return cmd.state == LRob_typeServerMotionStateMin || cmd.state == LRob_typeServerMotionStateMove ||
           cmd.state == LRob_typeServerMotionStatePause;
}

// A command the controller has passed on from is finished, unless it was to end otherwise.
void settlePassed(EDK_CMD& cmd) {
    if (cmd.abortingMode) cmd.setState(LRob_typeServerMotionStateStop);
    else if (cmd.pausingMode) cmd.setState(LRob_typeServerMotionStatePause);
    else cmd.setState(LRob_typeServerMotionStateDone);
}

void logMoveState(const EDK_CMD& cmd) {
    srci::LogText text;
    text << "move cmd id: " << cmd.moveCmd.generalParam.trajId << ", ";
    cmd.putState(text);
    SRCI_LOG(zlog::ZLogLvInfo, text.view());
}

}  // namespace

void MotionManager::updateMoveState() {
    static int waitCount = 0;
    if (motionCmdList_.empty()) return;

    srci::RcItf* rc = srci::RcItf::get(true);
    const bool isDone = rc->isRcInstDone();
    const bool isMoving = rc->isRcMoving();
    const int curTraj = rc->getCurTrajId();
    logControllerMotionFlag(isDone, isMoving, curTraj);

    size_t current = motionCmdList_.size();
    for (size_t i = 0; i < motionCmdList_.size(); ++i) {
        if (static_cast<int64_t>(motionCmdList_[i].moveCmd.generalParam.trajId) == curTraj) {
            current = i;
            break;
        }
    }

    EDK_CMD& front = motionCmdList_.front();
    if (current == motionCmdList_.size()) {
        if (front.state == LRob_typeServerMotionStateMin || front.state == LRob_typeServerMotionStateMove) {
            if (newErrStored.errType != 0) {
                front.errorCode = newErrStored.errCode;
                front.setState(LRob_typeServerMotionStateError);
                newErrStored = srci::ErrorInfo{0, 0};
            } else if (checkIfAlreadyReached(front.moveCmd)) {
                SRCI_LOG(zlog::ZLogLvInfo, "move cmd already in pos");
                front.setState(LRob_typeServerMotionStateDone);
            } else if (front.abortingMode) {
                front.setState(LRob_typeServerMotionStateStop);
            } else if (front.pausingMode) {
                front.setState(LRob_typeServerMotionStatePause);
            } else {
                SRCI_LOG(zlog::ZLogLvError, "still not moving???");
            }
        }
    } else {
        for (size_t i = 0; i < current; ++i)
            if (isOpen(motionCmdList_[i])) settlePassed(motionCmdList_[i]);
        EDK_CMD& cur = motionCmdList_[current];
        if (newErrStored.errType != 0 && cur.state != LRob_typeServerMotionStateError) {
            cur.errorCode = newErrStored.errCode;
            cur.setState(LRob_typeServerMotionStateError);
            newErrStored = srci::ErrorInfo{0, 0};
        } else if (isMoving) {
            cur.setState(LRob_typeServerMotionStateMove);
        } else if (cur.pausingMode) {
            cur.setState(LRob_typeServerMotionStatePause);
        } else if (isDone || lastMotionControlCmd == srci::MotionFlagType::Stop) {
            if (lastMotionControlCmd == srci::MotionFlagType::Stop) {
                cur.setState(LRob_typeServerMotionStateStop);
                lastMotionControlCmd = srci::MotionFlagType::Ready;
            } else {
                cur.setState(cur.abortingMode ? LRob_typeServerMotionStateStop : LRob_typeServerMotionStateDone);
            }
        } else if (lastMotionControlCmd == srci::MotionFlagType::Pause) {
            cur.setState(LRob_typeServerMotionStatePause);
        } else if (rc->GetSpeedRatio() > StandingSpeedRatio) {
            logSpeedRelatedInfo();
            SRCI_LOG(
                zlog::ZLogLvInfo,
                (srci::LogText() << "done? " << (isDone ? "1" : "0") << ", moving? " << (isMoving ? "1" : "0")).view());
        }
    }

    if (front.reported) return;

    // Start wait: a front command that has not started is given up after a while, as done,
    // unless the override or the reference dynamics keep the robot standing on purpose.
    if (front.state == LRob_typeServerMotionStateMin && rc->GetSpeedRatio() > StandingSpeedRatio) {
        const srci::ReferenceDynamic rd = rc->getReferenceDynamic();
        if (rd.vel > ReferenceDynamicThreshold && rd.acc > ReferenceDynamicThreshold) {
            if (++waitCount <= WaitCountMax) {
                SRCI_LOG(zlog::ZLogLvInfo, "move cmd not start, just wait");
                return;
            }
            SRCI_LOG(zlog::ZLogLvInfo,
                     checkIfAlreadyReached(front.moveCmd) ? "move cmd already in pos" : "move cmd not in pos!!!");
            front.setState(LRob_typeServerMotionStateDone);
            SRCI_LOG(zlog::ZLogLvInfo, "move cmd reached waitCountMax");
        }
    }
    waitCount = 0;

    switch (front.state) {
        case LRob_typeServerMotionStateMove:
        case LRob_typeServerMotionStatePause:
            if (!ableToUpdateEDKState()) return;
            motion_detail::reportState(front.moveCmd.generalParam.trajId, front);
            if (front.state == LRob_typeServerMotionStatePause) {
                SRCI_LOG(zlog::ZLogLvInfo, "move interrupt complete");
                srl_set_interrupt_completed();
            }
            resetWaitDelayCount();
            front.reported = true;
            logMoveState(front);
            logBufferInfo();
            break;
        case LRob_typeServerMotionStateDone:
        case LRob_typeServerMotionStateStop:
        case LRob_typeServerMotionStateError:
            if (!ableToUpdateEDKState()) return;
            motion_detail::reportState(front.moveCmd.generalParam.trajId, front);
            if (front.state == LRob_typeServerMotionStateError && helper.getLogLevel() < srci::Fatal)
                helper.raisePendingErr(front.errorCode);
            if (front.state == LRob_typeServerMotionStateStop) {
                SRCI_LOG(zlog::ZLogLvInfo, "move stop complete");
                srl_set_stop_completed();
            }
            resetWaitDelayCount();
            front.reported = true;
            logMoveState(front);
            motionCmdList_.erase(motionCmdList_.begin());
            logBufferInfo();
            break;
        default:
            break;
    }
}
