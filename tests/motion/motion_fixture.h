// SPDX-License-Identifier: Apache-2.0
// A powered arm, an empty process-wide motion manager and a cycle that steps the arm by one
// interpreter cycle before the manager's update.
#pragma once

#include <gtest/gtest.h>

#include "itf_rc/rcitf.h"
#include "motion_test_support.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"
#include "srl_recorder.h"
#include "zlog/zlog_client.h"

namespace motion_test {

inline constexpr double kCycle = 0.004;

inline EDK_CMD linearMove(uint32_t id, const srci::POSE& target, double tol = 0.0) {
    EDK_CMD cmd;
    cmd.type = srci::MotionCmdType::Move;
    cmd.moveCmd.type = srci::MotionCmdType2::Linear;
    cmd.moveCmd.generalParam = {100.0, 500.0, tol, id};
    cmd.moveCmd.pos = target;
    cmd.moveCmd.turnMode = 2;
    cmd.moveCmd.sewConfigMode = {1, 1, 1};
    return cmd;
}

inline EDK_CMD jogCmd(uint32_t id, int direction, double distance) {
    EDK_CMD cmd;
    cmd.type = srci::MotionCmdType::Jog;
    cmd.jogCmd.mode = srci::JogMode::Frame;
    cmd.jogCmd.direction = direction;
    cmd.jogCmd.speed = 50.0;
    cmd.jogCmd.distance = distance;
    cmd.jogCmd.jogId = id;
    return cmd;
}

inline srci::POSE offset(const srci::POSE& p, double dx, double dy = 0.0, double dz = 0.0) {
    return srci::POSE(p[0] + dx, p[1] + dy, p[2] + dz, p[3], p[4], p[5]);
}

class MotionFixture : public ::testing::Test {
protected:
    MotionManager& mm = motionManagerTemp;

    void SetUp() override {
        resetArmPoweredAndEnabled();
        mm.motionCmdList_.clear();
        mm.jogCmdIdList_.clear();
        mm.lastMotionControlCmd = srci::MotionFlagType::Ready;
        mm.resetWaitDelayCount();
        mm.newErrStored = {0, 0};
        setReportLevel(20);
        helper.clearPendingErrList();
        cycle(2);
        srl_double::reset();
        Log::clear();
        home = srci::RcItf::get(true)->getCartesianPos();
    }

    void TearDown() override {
        setReportLevel(0);
        sim().injectError(0);
    }

    // The SRCI level decides about pending errors; the log keeps showing info lines.
    static void setReportLevel(unsigned char level) {
        helper.setLogLevel(level);
        zlog::ZLogClient::get()->set_lv_filter(zlog::ZLogLvInfo);
    }

    void cycle(int n = 1) {
        for (int i = 0; i < n; ++i) {
            sim().step(kCycle);
            mm.update();
            srl_double::nextCycle();
        }
    }

    template <typename Pred>
    bool runUntil(Pred done, int maxCycles = 3000) {
        for (int i = 0; i < maxCycles; ++i) {
            if (done()) return true;
            cycle();
        }
        return done();
    }

    bool idle() const { return mm.motionCmdList_.empty() && mm.jogCmdIdList_.empty(); }

    srci::POSE home;
};

}  // namespace motion_test
