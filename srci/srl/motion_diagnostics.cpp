// SPDX-License-Identifier: Apache-2.0
// Log lines that let a developer follow the queues and the controller's flags afterwards.
#include <string>

#include "edk_text.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"

void MotionManager::logBufferInfo() {
    srci::LogText text;
    text << "motionList: ";
    for (const EDK_CMD& cmd : motionCmdList_) {
        text << cmd.moveCmd.generalParam.trajId << ", ";
        cmd.putState(text);
        text << ", ";
    }
    text << "jogList: ";
    for (const EDK_CMD& cmd : jogCmdIdList_) {
        text << cmd.jogCmd.jogId << ", ";
        cmd.putState(text);
        text << ", ";
    }
    SRCI_LOG(zlog::ZLogLvInfo, text.view());
}

void MotionManager::logSpeedRelatedInfo() {
    srci::LogText text;
    text << "speedoverride: ";
    text.fixed(srci::RcItf::get(true)->GetSpeedRatio()) << ", refDyn.vel: ";
    text.fixed(helper.getStoredRefDyn_linear().vel) << ", defaultDyn.vel_rate: ";
    text.fixed(helper.getStoredDefaultDyn().vel_rate);
    SRCI_LOG(zlog::ZLogLvInfo, text.view());
}

// Logged only on change, so a standing robot does not fill the log.
void MotionManager::logControllerMotionFlag(bool isDone, bool isMoving, int trajId) {
    static bool last_isDone = false;
    static bool last_isMoving = false;
    static int last_trajid = 0;
    if (isDone == last_isDone && isMoving == last_isMoving && trajId == last_trajid) return;
    last_isDone = isDone;
    last_isMoving = isMoving;
    last_trajid = trajId;
    SRCI_LOG(zlog::ZLogLvInfo, (srci::LogText() << "isDone: " << srci::text::flag(isDone) << ", isMoving: "
                                                << srci::text::flag(isMoving) << ", trajid: " << trajId)
                                   .view());
}
