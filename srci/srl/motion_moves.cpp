// SPDX-License-Identifier: Apache-2.0
// Accepting move commands and handing them to the controller. The controller's planner keeps
// its own buffer, so every sendable command is sent ahead and blends there.
#include <cmath>
#include <string>

#include "edk_text.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "motion_internal.h"
#include "srl/edk_helper.h"
#include "srl/srl_api.h"

namespace {

constexpr double LowDynamicsThreshold = 0.1;
constexpr double InPositionTolerance = 1.0;
constexpr int32_t PositionNotReachable = srci::INFO_ERR_SIM_POSITION_NOT_REACHABLE;

// Too low linear dynamics are only a warning; the move is sent anyway.
void warnIfLow(double stored, double commanded, const char* warning, const char* checkText) {
    if (stored > LowDynamicsThreshold && commanded > LowDynamicsThreshold) return;
    if (helper.getLogLevel() <= srci::Warning) {
        int8_t id = static_cast<int8_t>(0xFF);
        srl_report_error_warning(id, false, 0, static_cast<int8_t>(srci::ES_Warning), warning);
    }
    SRCI_LOG(zlog::ZLogLvError, checkText + srci::text::fixed6(stored));
}

// The controller's reference dynamics must match the kind of motion before it is sent.
void sendToController(const srci::MoveCmdParam& move) {
    srci::RcItf* rc = srci::RcItf::get(true);
    switch (move.type) {
        case srci::MotionCmdType2::Axes:
            helper.UseReferenceDynamicJoint();
            rc->robotMoveJoint(move);
            break;
        case srci::MotionCmdType2::Linear: {
            helper.UseReferenceDynamicLinear();
            const srci::ReferenceDynamic rd = helper.getStoredRefDyn_linear();
            warnIfLow(rd.vel, move.generalParam.vel, "vel too low!!!", "need to check vel: ");
            warnIfLow(rd.acc, move.generalParam.acc, "acc too low!!!", "need to check acc: ");
            rc->robotMoveLine(move);
            break;
        }
        case srci::MotionCmdType2::Direct:
            helper.UseReferenceDynamicJoint();
            rc->robotMoveDirect(move);
            break;
    }
}

void failSend(EDK_CMD& cmd, int32_t original, int32_t kept) {
    cmd.setState(LRob_typeServerMotionStateError);
    cmd.errorCode = kept;
    SRCI_LOG(zlog::ZLogLvError, "original: " + srci::text::hex(original) + ", converted: " + srci::text::hex(kept));
}

}  // namespace

void MotionManager::pushCmd(EDK_CMD cmd) {
    if (cmd.type == srci::MotionCmdType::Jog) {
        motion_detail::pushJog(*this, cmd);
        return;
    }
    if (!jogCmdIdList_.empty()) SRCI_LOG(zlog::ZLogLvWarn, "receive move cmd when jogging");
    motionCmdList_.push_back(cmd);
    logBufferInfo();
}

bool MotionManager::isToolFrameMatch(EDK_CMD cmd) {
    srci::RcItf* rc = srci::RcItf::get(true);
    const int toolId = rc->getCurrentTooldId();
    const int frameId = rc->getCurrentUserFrameId();
    if (cmd.moveCmd.toolId != -1 && cmd.moveCmd.toolId != toolId) return false;
    if (cmd.moveCmd.frameId != -1 && cmd.moveCmd.frameId != frameId) return false;
    if (!rc->getTool(-1).match(helper.getStoredTool(toolId).pose)) return false;
    return rc->getUsrFrame(-1).match(helper.getStoredFrame(frameId).pose);
}

bool MotionManager::checkIfAlreadyReached(srci::MoveCmdParam param) {
    srci::RcItf* rc = srci::RcItf::get(true);
    switch (param.type) {
        case srci::MotionCmdType2::Axes: {
            const srci::JOINTS current = rc->getCurrentJPos();
            for (unsigned char j = 1; j <= srci::RA_JOINT_NUM; ++j)
                if (std::fabs(current[j] - param.jpos[j]) > InPositionTolerance) return false;
            return true;
        }
        case srci::MotionCmdType2::Linear:
        case srci::MotionCmdType2::Direct: {
            // Here -1 does not stand for "the active one": the ids must be the controller's.
            if (param.toolId != rc->getCurrentTooldId() || param.frameId != rc->getCurrentUserFrameId()) return false;
            const srci::POSE current = rc->getCartesianPos();
            for (unsigned int i = 0; i < static_cast<unsigned int>(srci::RA_DEGREE_NUM); ++i)
                if (std::fabs(current[i] - param.pos[i]) > InPositionTolerance) return false;
            return true;
        }
    }
    return false;
}

// Nothing is sent past a paused, aborted, failed or stopped command, and a command that needs
// another tool or frame waits until everything before it has finished.
void MotionManager::sendMoveCmd() {
    for (size_t i = 0; i < motionCmdList_.size(); ++i) {
        EDK_CMD& cmd = motionCmdList_[i];
        if (cmd.state == LRob_typeServerMotionStateError || cmd.state == LRob_typeServerMotionStateStop ||
            cmd.pausingMode || cmd.abortingMode)
            break;
        if (cmd.sendToController) continue;
        try {
            if (i > 0 && !isToolFrameMatch(cmd)) break;
            sendToController(cmd.moveCmd);
        } catch (int e) {
            failSend(cmd, e, (e == 68 || e == 69) ? PositionNotReachable : e);
            continue;
        } catch (const char* text) {
            SRCI_LOG(zlog::ZLogLvError, text);
            failSend(cmd, motion_detail::kRefusedWithoutCode, motion_detail::kRefusedWithoutCode);
            continue;
        }
        resetLastMotionControlFlag();
        cmd.sendToController = true;
        SRCI_LOG(zlog::ZLogLvInfo,
                 (srci::LogText() << "move cmd sent to controller, id: " << cmd.moveCmd.generalParam.trajId).view());
        logSpeedRelatedInfo();
    }
}
