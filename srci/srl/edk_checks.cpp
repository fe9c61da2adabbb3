// SPDX-License-Identifier: Apache-2.0
// Checks of motion-command fields that this robot supports in one form only, the decoding of
// jog bits and command ids, and the synchronisation switches. Checks throw the SRCI code.
#include <string>

#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"

double EDK_Helper::calTolerance(unsigned char blendingMode, double value) {
    switch (static_cast<srci::BlendingModeEnum>(blendingMode)) {
        case srci::BlendingModeEnum::ExactStop:
            return 0.0;
        case srci::BlendingModeEnum::MaxCornerDeviation:
            return value;
        default:
            throw static_cast<int>(srci::err_blendingMode);
    }
}

void EDK_Helper::checkMotionCmdTime(unsigned int time) {
    if (time != 0) throw static_cast<int>(srci::err_move_time);
}

// 65535 is the telegram's "not used"; deceleration and jerk cannot be configured here.
void EDK_Helper::checkMotionCmdDecJerk(unsigned int dec, unsigned int jerk) {
    if (dec != 65535) throw static_cast<int>(srci::err_dec);
    if (jerk != 65535) throw static_cast<int>(srci::err_jerk);
}

void EDK_Helper::checkMotionCmdTurnMode(unsigned char turnMode) {
    if (turnMode != static_cast<unsigned char>(srci::TurnModeEnum::FreeIt)) {
        SRCI_LOG(zlog::ZLogLvError, "not supported turnMode: " + std::to_string(turnMode));
        throw static_cast<int>(srci::err_turnMode);
    }
}

void EDK_Helper::checkMotionCmdOriMode(unsigned char oriMode) {
    if (oriMode != static_cast<unsigned char>(srci::OriModeEnum::Linear)) {
        SRCI_LOG(zlog::ZLogLvError, "not supported oriMode: " + std::to_string(oriMode));
        throw static_cast<int>(srci::err_oriMode);
    }
}

namespace {

constexpr uint8_t UseConfig = 0;
constexpr uint8_t NoChange = 1;

void checkEachConfig(const srci::SEWConfig& mode, bool (*accepted)(uint8_t)) {
    for (uint8_t m : {mode.s, mode.e, mode.w})
        if (!accepted(m)) throw static_cast<int>(srci::err_config_mode);
}

}  // namespace

// A linear move keeps the arm configuration; a direct move may also ask for one.
void EDK_Helper::checkMotionCmdConfigMode_moveLinear(srci::SEWConfig mode) {
    checkEachConfig(mode, [](uint8_t m) { return m == NoChange; });
}

void EDK_Helper::checkMotionCmdConfigMode_moveDirect(srci::SEWConfig mode) {
    checkEachConfig(mode, [](uint8_t m) { return m == UseConfig || m == NoChange; });
}

void EDK_Helper::checkManipuation(bool manipulation) {
    if (manipulation) throw static_cast<int>(srci::err_manipulation);
}

// Triggers are accepted and ignored.
void EDK_Helper::checkTrig(LRob_typeServerCmdTriggerSubheader) {}

void EDK_Helper::checkAbortingMode(unsigned int executionMode) {
    if (executionMode == 1 || executionMode == 8) {
        SRCI_LOG(zlog::ZLogLvInfo, "aborting mode...");
        motionManagerTemp.groupStop(true);
    }
}

unsigned char EDK_Helper::getCmdID(unsigned char* telegram) { return telegram[255]; }

// The first set bit wins, positive directions before negative ones; external axes are ignored.
int EDK_Helper::getJogDirection(LRob_typeServerRobotJogControl jog) {
    const bool bits[12] = {
        bool(jog.X_J1_Pos),  bool(jog.Y_J2_Pos),  bool(jog.Z_J3_Pos),  bool(jog.RX_J4_Pos),
        bool(jog.RY_J5_Pos), bool(jog.RZ_J6_Pos), bool(jog.X_J1_Neg),  bool(jog.Y_J2_Neg),
        bool(jog.Z_J3_Neg),  bool(jog.RX_J4_Neg), bool(jog.RY_J5_Neg), bool(jog.RZ_J6_Neg),
    };
    for (int i = 0; i < 12; ++i)
        if (bits[i]) return i < 6 ? i + 1 : -(i - 5);
    return 0;
}

bool EDK_Helper::isTranslation(int direction) { return direction < 4 && direction > -4; }

// Software limits are deliberately never synchronised from the PLC: SwLimits is not copied.
void EDK_Helper::setSyncParam(LRob_typeServerSyncEnable sync) {
    syncSetting.tool = sync.Tool;
    syncSetting.frame = sync.Frame;
    syncSetting.load = sync.Load;
    syncSetting.defaultRef = sync.DefaultDynamic;
    syncSetting.refDyn = sync.ReferenceDynamic;
    syncSetting.workArea = sync.WorkArea;
}

srci::SyncSwitch EDK_Helper::getSyncParam() { return syncSetting; }
