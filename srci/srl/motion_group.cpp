// SPDX-License-Identifier: Apache-2.0
// The cycle's driver and the operations that act on all queued commands at once.
#include <string>

#include "edk_text.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"

namespace {

constexpr int32_t DisabledWhileMoving = 48;

template <typename Fn>
void forEachCmd(MotionManager& m, Fn fn) {
    for (EDK_CMD& cmd : m.motionCmdList_) fn(cmd);
    for (EDK_CMD& cmd : m.jogCmdIdList_) fn(cmd);
}

// Only the front command is told as stopped; the ones behind it vanish.
void keepFrontAsStopped(std::vector<EDK_CMD>& queue) {
    queue.erase(queue.begin() + 1, queue.end());
    queue.front().setState(LRob_typeServerMotionStateStop);
    queue.front().pausingMode = false;
}

}  // namespace

// While a jog is queued, moves are neither sent nor supervised.
void MotionManager::update() {
    try {
        if (disableStopRequested_.exchange(false)) disableStop();
        updateMotionError();
        if (jogCmdIdList_.empty()) {
            sendMoveCmd();
            updateMoveState();
            if (motionCmdList_.empty() && jogCmdIdList_.empty()) newErrStored = srci::ErrorInfo{0, 0};
        } else {
            sendJogCmd();
            updateJogState();
        }
    } catch (int code) {
        // The sends catch their own refusals; this only keeps a status failure from reaching
        // the cycle.
        SRCI_LOG(zlog::ZLogLvError, "motion update failed, err: " + srci::text::hex(code));
    } catch (const char* text) {
        SRCI_LOG(zlog::ZLogLvError, std::string("motion update failed: ") + text);
    }
}

void MotionManager::groupStop(bool innerStop) {
    lastMotionControlCmd = srci::MotionFlagType::Stop;
    srci::RcItf::get(true)->robotMoveStop();
    SRCI_LOG(zlog::ZLogLvInfo, "veld inner stop...no change edk motion state: " + srci::text::flag(innerStop));
    forEachCmd(*this, [](EDK_CMD& cmd) { cmd.abortingMode = true; });
    if (innerStop) {
        // The system's own stop before a new jog or an aborting command: the PLC is not told.
        motionCmdList_.clear();
        jogCmdIdList_.clear();
    } else if (!jogCmdIdList_.empty()) {
        keepFrontAsStopped(jogCmdIdList_);
    } else if (!motionCmdList_.empty()) {
        keepFrontAsStopped(motionCmdList_);
    }
    logBufferInfo();
}

void MotionManager::groupPause() {
    lastMotionControlCmd = srci::MotionFlagType::Pause;
    srci::RcItf* rc = srci::RcItf::get(true);
    rc->robotMoveInterrupt();
    rc->robotJogStop();
    forEachCmd(*this, [](EDK_CMD& cmd) { cmd.pausingMode = true; });
}

void MotionManager::groupContinue() {
    lastMotionControlCmd = srci::MotionFlagType::Ready;
    srci::RcItf::get(true)->robotMoveContinue();
    forEachCmd(*this, [](EDK_CMD& cmd) { cmd.pausingMode = false; });
}

// The error set here survives the stop that follows, since error absorbs every later state.
void MotionManager::requestDisableStop() { disableStopRequested_ = true; }

void MotionManager::disableStop() {
    if (!jogCmdIdList_.empty()) {
        SRCI_LOG(zlog::ZLogLvError, "raise error when jogging");
        jogCmdIdList_.front().setState(LRob_typeServerMotionStateError);
        jogCmdIdList_.front().errorCode = DisabledWhileMoving;
    } else if (!motionCmdList_.empty()) {
        SRCI_LOG(zlog::ZLogLvError, "raise error when moving");
        motionCmdList_.front().setState(LRob_typeServerMotionStateError);
        motionCmdList_.front().errorCode = DisabledWhileMoving;
    }
    groupStop(false);
}

namespace {

int32_t mapControllerError(int32_t code) {
    switch (code) {
        case 0xF0017:
        case 0xF0018:
        case 0xF0011:
        case 0xF0020:
            return srci::INFO_ERR_SIM_POSITION_NOT_REACHABLE;
        case 0x42:
        case 0x10042:
        case 0x20042:
        case 0x30042:
        case 0x40042:
        case 0x50042:
        case 0x35:
        case 0x10035:
        case 0x20035:
        case 0x30035:
        case 0x40035:
        case 0x50035:
        case 0x36:
        case 0x10036:
        case 0x20036:
        case 0x30036:
        case 0x40036:
        case 0x50036:
        case 0xF0008:
        case 0xF0009:
            return srci::INFO_ERR_SIM_SW_LIMIT_AXIS;
        default:
            return code;
    }
}

constexpr int32_t ProtectiveStopCode = 117;

}  // namespace

// The raw controller code is compared with the stored (mapped, maybe already attached and
// cleared) one, so a persisting error is stored again for each command that becomes current.
void MotionManager::updateMotionError() {
    static int32_t lastOne = 0;
    srci::RcItf* rc = srci::RcItf::get(true);
    const srci::ErrorInfo err = rc->getErrorInfo();
    if (err.errType == -1 && err.errCode != 0 && err.errCode != newErrStored.errCode) {
        newErrStored = err;
        newErrStored.errCode = mapControllerError(err.errCode);
    } else if (!rc->isPStopEStop()) {
        newErrStored = srci::ErrorInfo{0, 0};
        lastOne = 0;
    } else {
        newErrStored = srci::ErrorInfo{ProtectiveStopCode, -1};
    }
    if (newErrStored.errType != 0 && newErrStored.errCode != lastOne) {
        SRCI_LOG(zlog::ZLogLvError, "error(hex): " + srci::text::hex(newErrStored.errCode));
        lastOne = newErrStored.errCode;
    }
}
