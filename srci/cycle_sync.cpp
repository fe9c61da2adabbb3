// SPDX-License-Identifier: Apache-2.0
// Pushes the controller's live state into the interpreter before each interpreter call, picks
// up tools and frames changed on the controller side, and advances the motion manager.
#include <cstring>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "runtime.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_api.h"
#include "srl/veld_motion_manager.h"

using namespace srci;

namespace {

constexpr int kRaEnabled = 209;
constexpr int kRaNotEnabled = 217;
constexpr int kSyncItemTool = 0;
constexpr int kSyncItemFrame = 1;
constexpr int kToolCount = 16;
constexpr int kFrameCount = 16;

void logMismatch(const char* label, int id, const POSE& controller, const POSE& stored) {
    SRCI_LOG(zlog::ZLogLvDebug,
             handler::text(label, id, "\nvalue in controller: ", controller, "\nprevious stored in addon: ", stored));
}

// Announces that item `index` changed; the value fields stay zero on purpose.
template <class Record>
void announceChange(int itemType, int index, Record record) {
    record.dataChanged = 1;
    unsigned char buffer[sizeof(Record)] = {};
    srl_serialize(&record, buffer, static_cast<int>(sizeof(Record)));
    srl_set_sync_item_parameters(itemType, index, buffer);
}

}  // namespace

void on_update_robot_control_data() {
    on_update_cyclic_state();
    on_update_power_enable_state();
    on_update_position();
    on_sync();
    motionManagerTemp.update();
}

void on_update_cyclic_state() {
    static unsigned char data[6];
    const bool moving = RcItf::get(true)->isRcMoving();
    srl_get_cyclic_parameter(data);
    data[0] = static_cast<unsigned char>((data[0] & ~1u) | (moving ? 1u : 0u));
    srl_set_cyclic_parameter(data);
}

void on_update_power_enable_state() {
    static bool power_enable_last_state = false;
    RcItf* rc = RcItf::get(true);
    const bool state = rc->isRobotPower() && rc->isRobotEnable();
    if (EDK_Helper::power_enable_need_update || state != power_enable_last_state) {
        srl_set_ra_state(state ? kRaEnabled : kRaNotEnabled);
        SRCI_LOG(zlog::ZLogLvInfo, handler::text("power_enable: ", state ? 1 : 0));
        EDK_Helper::power_enable_need_update = false;
        power_enable_last_state = state;
    }
    // Retried every cycle while the PLC's wish and the controller differ.
    if (helper.requireEnable != state) helper.TryEnableRobot(helper.requireEnable);
}

void on_update_position() {
    static unsigned char _currentPos[104];
    RcItf* rc = RcItf::get(true);
    _currentPos[102] = rc->getCurrentTooldId();
    _currentPos[103] = rc->getCurrentUserFrameId();
    const POSE pose = rc->getCartesianPos();
    for (unsigned int i = 0; i < 6; ++i) {
        const float v = static_cast<float>(pose[i]);
        std::memcpy(_currentPos + 4 * i, &v, sizeof v);
    }
    const JOINTS joints = rc->getCurrentJPos();
    for (unsigned char j = 1; j <= 6; ++j) {
        const float v = static_cast<float>(joints[j]);
        std::memcpy(_currentPos + 54 + 4 * (j - 1), &v, sizeof v);
    }
    srl_set_current_pos(_currentPos, static_cast<float>(rc->GetSpeedRatio()));
}

// Reference dynamics before default dynamics, deliberately out of field order.
void on_sync() {
    const SyncSwitch sync = helper.getSyncParam();
    syncTool(sync.tool);
    syncFrame(sync.frame);
    syncLoad(sync.load);
    syncRefDyn(sync.refDyn);
    syncDefaultRef(sync.defaultRef);
    syncSoftLimit(sync.softLimit);
    syncWorkArea(sync.workArea);
}

void syncTool(bool enabled) {
    if (!enabled) return;
    for (int i = 0; i < kToolCount; ++i) {
        const POSE controller = RcItf::get(true)->getTool(i);
        const ToolData stored = helper.getStoredTool(i);
        if (controller.match(stored.pose)) continue;
        logMismatch("toolid: ", i, controller, stored.pose);
        helper.setStoredTool(i, controller);  // the controller wins
        LRob_typeRobotServerToolData record{};
        record.isAvailable = 1;
        announceChange(kSyncItemTool, i, record);
    }
}

void syncFrame(bool enabled) {
    if (!enabled) return;
    for (int i = 0; i < kFrameCount; ++i) {
        const FrameData stored = helper.getStoredFrame(i);
        const POSE raw = RcItf::get(true)->getUsrFrame(i);
        const POSE controller = helper.get_rcFrame_inUser(raw, stored.refIndex);
        if (controller.match(stored.pose)) continue;
        logMismatch("frameid: ", i, controller, stored.pose);
        helper.setStoredFrame(i, controller);
        LRob_typeRobotServerFrameData record{};
        record.isAvailable = 1;
        announceChange(kSyncItemFrame, i, record);
    }
}

// Loads, dynamics, soft limits and work areas are not compared with the controller.
void syncLoad(bool) {}
void syncDefaultRef(bool) {}
void syncRefDyn(bool) {}
void syncSoftLimit(bool) {}
void syncWorkArea(bool) {}
