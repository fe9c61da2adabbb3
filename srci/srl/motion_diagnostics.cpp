// Log lines that let a developer follow the queues and the controller's flags afterwards.
#include <string>

#include "edk_text.h"
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"

void MotionManager::logBufferInfo() {
    std::string text = "motionList: ";
    for (const EDK_CMD& cmd : motionCmdList_)
        text += std::to_string(cmd.moveCmd.generalParam.trajId) + ", " + cmd.getStateStr() + ", ";
    text += "jogList: ";
    for (const EDK_CMD& cmd : jogCmdIdList_) text += std::to_string(cmd.jogCmd.jogId) + ", " + cmd.getStateStr() + ", ";
    SRCI_LOG(zlog::ZLogLvInfo, text);
}

void MotionManager::logSpeedRelatedInfo() {
    SRCI_LOG(zlog::ZLogLvInfo, "speedoverride: " + std::to_string(srci::RcItf::get(true)->GetSpeedRatio()) +
                                   ", refDyn.vel: " + std::to_string(helper.getStoredRefDyn_linear().vel) +
                                   ", defaultDyn.vel_rate: " + std::to_string(helper.getStoredDefaultDyn().vel_rate));
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
    SRCI_LOG(zlog::ZLogLvInfo, "isDone: " + srci::text::flag(isDone) + ", isMoving: " + srci::text::flag(isMoving) +
                                   ", trajid: " + std::to_string(trajId));
}
