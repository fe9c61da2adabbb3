// SPDX-License-Identifier: Apache-2.0
// Rate scaling, parameter checks, jog bits, sync switches, log level and pending errors of the
// process-wide store (built from an empty working directory, so with the file's fallbacks).
#include <gtest/gtest.h>

#include <cstring>

#include "motion_test_support.h"
#include "srl/edk_helper.h"
#include "srl/veld_motion_manager.h"
#include "srl_recorder.h"
#include "zlog/zlog_client.h"

using namespace motion_test;

namespace {

class RulesTest : public ::testing::Test {
protected:
    void SetUp() override {
        Log::clear();
        srl_double::reset();
        helper.setStoredDefaultDyn({1.0, 0.5, -1.0, -1.0});
    }
    void TearDown() override {
        helper.setLogLevel(0);
        zlog::ZLogClient::get()->set_lv_filter(zlog::ZLogLvInfo);
        helper.clearPendingErrList();
    }
};

// ---------------------------------------------------------------- rate scaling

TEST_F(RulesTest, RatesScaleTheReferenceWithoutUpperCap) {
    EXPECT_DOUBLE_EQ(helper.calLinearVel(5000), 150.0);
    EXPECT_DOUBLE_EQ(helper.calLinearVel(10000), 300.0);
    EXPECT_NEAR(helper.calLinearVel(32768), 3.2768 * 300.0, 1e-9);  // 327.68 %
    EXPECT_NEAR(helper.calAxesVel(32768), 3.2768 * 100.0, 1e-9);
}

TEST_F(RulesTest, RatesAbove32768SelectTheStoredDefaultRate) {
    EXPECT_DOUBLE_EQ(helper.calLinearVel(32769), 300.0 * 1.0);
    EXPECT_DOUBLE_EQ(helper.calLinearAcc(65535), 300.0 * 0.5);
    EXPECT_DOUBLE_EQ(helper.calAxesAcc(32769), 300.0 * 0.5);
    EXPECT_DOUBLE_EQ(helper.calAxesVel(65535), 100.0);
}

TEST_F(RulesTest, RateZeroMeansOnePercentAndTheBoundIsLogged) {
    EXPECT_DOUBLE_EQ(helper.calLinearAcc(0), 3.0);
    EXPECT_EQ(Log::count("use Min"), 0u);
    EXPECT_DOUBLE_EQ(helper.calAxesVel(0), 2.0);  // 1 % of 100 is below MinVelocity
    EXPECT_EQ(Log::count("use MinVelocity: 2\n"), 1u);
    EXPECT_DOUBLE_EQ(helper.calLinearVel(1), 2.0);  // 0.03 raised to the bound
    EXPECT_EQ(Log::count("use MinVelocity: 2\n"), 2u);
    EXPECT_DOUBLE_EQ(helper.calAxesAcc(1), 2.0);
    EXPECT_EQ(Log::count("use MinAcc: 2\n"), 1u);
}

// ---------------------------------------------------------------- checks

TEST_F(RulesTest, BlendingToleranceByMode) {
    EXPECT_DOUBLE_EQ(helper.calTolerance(0, 5.0), 0.0);
    EXPECT_DOUBLE_EQ(helper.calTolerance(4, 5.0), 5.0);
    for (unsigned char mode : {2, 3, 10, 11, 12, 255})
        EXPECT_EQ(thrownCode([&] { helper.calTolerance(mode, 5.0); }), srci::err_blendingMode) << int(mode);
}

TEST_F(RulesTest, EachCheckThrowsItsCodeInOrder) {
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdTime(0); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdTime(1); }), srci::err_move_time);

    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdDecJerk(65535, 65535); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdDecJerk(65535, 0); }), srci::err_jerk);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdDecJerk(0, 0); }), srci::err_dec);

    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdTurnMode(2); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdTurnMode(0); }), srci::err_turnMode);
    EXPECT_EQ(Log::count("not supported turnMode: 0"), 1u);

    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdOriMode(1); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdOriMode(3); }), srci::err_oriMode);
    EXPECT_EQ(Log::count("not supported oriMode: 3"), 1u);

    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdConfigMode_moveLinear({1, 1, 1}); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdConfigMode_moveLinear({0, 1, 1}); }), srci::err_config_mode);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdConfigMode_moveLinear({1, 1, 2}); }), srci::err_config_mode);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdConfigMode_moveDirect({0, 1, 0}); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkMotionCmdConfigMode_moveDirect({0, 2, 0}); }), srci::err_config_mode);

    EXPECT_EQ(thrownCode([] { helper.checkManipuation(false); }), 0);
    EXPECT_EQ(thrownCode([] { helper.checkManipuation(true); }), srci::err_manipulation);
    EXPECT_EQ(thrownCode([] { helper.checkTrig(LRob_typeServerCmdTriggerSubheader{{1, 2, 3, 4}, 5, 0}); }), 0);
}

// The command id (last telegram byte) is checked where the handlers use it (tests/handlers).

TEST_F(RulesTest, JogDirectionFirstSetBitWinsPositiveBeforeNegative) {
    // Each single bit in table order, then the external-axis bits that are ignored.
    const int expected[12] = {1, 2, 3, 4, 5, 6, -1, -2, -3, -4, -5, -6};
    for (int bit = 0; bit < 24; ++bit) {
        uint8_t raw[3] = {};
        raw[bit / 8] = static_cast<uint8_t>(1u << (bit % 8));
        LRob_typeServerRobotJogControl jog;
        std::memcpy(&jog, raw, sizeof jog);
        EXPECT_EQ(EDK_Helper::getJogDirection(jog), bit < 12 ? expected[bit] : 0) << "bit " << bit;
    }
    LRob_typeServerRobotJogControl both{};
    both.Y_J2_Neg = 1;
    both.Z_J3_Pos = 1;
    EXPECT_EQ(EDK_Helper::getJogDirection(both), 3);
    LRob_typeServerRobotJogControl sameAxis{};
    sameAxis.X_J1_Pos = 1;
    sameAxis.X_J1_Neg = 1;
    EXPECT_EQ(EDK_Helper::getJogDirection(sameAxis), 1);

    for (int d : {-3, -1, 0, 2, 3}) EXPECT_TRUE(EDK_Helper::isTranslation(d)) << d;
    for (int d : {-6, -4, 4, 6}) EXPECT_FALSE(EDK_Helper::isTranslation(d)) << d;
}

TEST_F(RulesTest, SyncSwitchesNeverEnableSoftLimits) {
    LRob_typeServerSyncEnable all;
    std::memset(&all, 0xFF, sizeof all);
    helper.setSyncParam(all);
    srci::SyncSwitch s = helper.getSyncParam();
    EXPECT_TRUE(s.tool && s.frame && s.load && s.defaultRef && s.refDyn && s.workArea);
    EXPECT_FALSE(s.softLimit);
    LRob_typeServerSyncEnable onlyFrame{};
    onlyFrame.Frame = 1;
    helper.setSyncParam(onlyFrame);
    s = helper.getSyncParam();
    EXPECT_TRUE(s.frame);
    EXPECT_FALSE(s.tool || s.load || s.defaultRef || s.refDyn || s.workArea || s.softLimit);
}

// ---------------------------------------------------------------- log level and error logging

TEST_F(RulesTest, LogLevelSelectsTheFilterByTable) {
    zlog::ZLogClient* log = zlog::ZLogClient::get();
    EXPECT_EQ(helper.getLogLevel(), 99);  // never set
    const struct {
        unsigned char level;
        int filter;
    } rows[] = {{200, zlog::ZLogLvError}, {29, zlog::ZLogLvError}, {28, zlog::ZLogLvError}, {27, zlog::ZLogLvWarn},
                {20, zlog::ZLogLvWarn},   {19, zlog::ZLogLvInfo},  {5, zlog::ZLogLvInfo},   {4, zlog::ZLogLvDebug}};
    for (const auto& row : rows) {
        helper.setLogLevel(row.level);
        EXPECT_EQ(log->lv_filter(), row.filter) << int(row.level);
        EXPECT_EQ(helper.getLogLevel(), row.level);
    }
    // Below Debug the level is stored but the filter stays.
    helper.setLogLevel(2);
    EXPECT_EQ(log->lv_filter(), zlog::ZLogLvDebug);
    EXPECT_EQ(helper.getLogLevel(), 2);
    helper.setLogLevel(0);
    EXPECT_EQ(helper.getLogLevel(), 99);
}

TEST_F(RulesTest, SameLogLevelTwiceLogsOnce) {
    helper.setLogLevel(28);
    helper.setLogLevel(28);
    EXPECT_EQ(Log::count("change loglevel to: 28"), 1u);
}

TEST_F(RulesTest, ErrorCodesAreLoggedInHex) {
    EDK_Helper::logErr(-1);
    EDK_Helper::logErr(0x3a);
    EXPECT_EQ(Log::count("\nffffffff\n"), 1u);
    EXPECT_EQ(Log::count("\n3a\n"), 1u);
    srci::MoveCmdParam p;
    p.generalParam.trajId = 12;
    EDK_Helper::logMotionErr(p, 27651);
    EXPECT_EQ(Log::count(p.str() + ", err: 6c03"), 1u);
}

// ---------------------------------------------------------------- pending errors

TEST_F(RulesTest, PendingErrorsAreReportedThenAcknowledgedInOrder) {
    helper.acknowledgePendingErrs();
    EXPECT_TRUE(srl_double::callsOf("").empty());

    helper.raisePendingErr(27651);
    helper.raisePendingErr(48);
    ASSERT_EQ(helper.getPendingErrList().size(), 2u);
    helper.acknowledgePendingErrs();
    EXPECT_TRUE(helper.getPendingErrList().empty());

    const auto calls = srl_double::callsOf("error_warning");
    ASSERT_EQ(calls.size(), 4u);
    const int codes[4] = {27651, 48, 27651, 48};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(calls[i].code, codes[i]);
        EXPECT_EQ(calls[i].processed, i >= 2);
        EXPECT_EQ(calls[i].severity, 28);
        EXPECT_EQ(calls[i].info, "this is a pending error: " + std::to_string(codes[i]));
    }
    // The id the interpreter gave each new error is the one acknowledged.
    EXPECT_EQ(calls[2].msgId, calls[0].msgId);
    EXPECT_EQ(calls[3].msgId, calls[1].msgId);
    EXPECT_NE(calls[0].msgId, calls[1].msgId);
}

TEST_F(RulesTest, AbortingExecutionModesDropQueuedCommandsSilently) {
    for (unsigned int mode : {0u, 2u, 7u, 9u}) {
        motionManagerTemp.motionCmdList_.assign(2, EDK_CMD{});
        helper.checkAbortingMode(mode);
        EXPECT_EQ(motionManagerTemp.motionCmdList_.size(), 2u) << mode;
    }
    for (unsigned int mode : {1u, 8u}) {
        motionManagerTemp.motionCmdList_.assign(2, EDK_CMD{});
        helper.checkAbortingMode(mode);
        EXPECT_TRUE(motionManagerTemp.motionCmdList_.empty()) << mode;
    }
    EXPECT_EQ(Log::count("aborting mode..."), 2u);
    EXPECT_TRUE(srl_double::callsOf("").empty());
    motionManagerTemp.lastMotionControlCmd = srci::MotionFlagType::Ready;
}

}  // namespace
