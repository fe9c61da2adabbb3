// SPDX-License-Identifier: Apache-2.0
// The motion manager against the simulated arm: moves sent ahead and blended, their states
// reported in order and paced, group stop/pause/continue, controller errors and jogs.
#include <algorithm>

#include "motion_fixture.h"

using namespace motion_test;

namespace {

std::vector<int> stateSequence(int id) {
    std::vector<int> out;
    for (const auto& c : srl_double::statesOf(id)) out.push_back(c.state);
    return out;
}

constexpr int Stop = LRob_typeServerMotionStateStop;
constexpr int Done = LRob_typeServerMotionStateDone;
constexpr int Pause = LRob_typeServerMotionStatePause;
constexpr int Move = LRob_typeServerMotionStateMove;
constexpr int Error = LRob_typeServerMotionStateError;

using MovesTest = MotionFixture;

// ---------------------------------------------------------------- moves

TEST_F(MovesTest, QueuedLinearMovesAreSentAheadBlendAndReportInOrder) {
    for (uint32_t id = 1; id <= 3; ++id) mm.pushCmd(linearMove(id, offset(home, 20.0 * id), 5.0));
    cycle();
    for (const EDK_CMD& c : mm.motionCmdList_) EXPECT_TRUE(c.sendToController) << c.moveCmd.generalParam.trajId;

    size_t maxSegments = 0;
    ASSERT_TRUE(runUntil([&] {
        maxSegments = std::max(maxSegments, sim().activeSegments());
        return idle();
    }));
    EXPECT_GE(maxSegments, 2u) << "consecutive moves should overlap in a blend";

    for (int id = 1; id <= 3; ++id) EXPECT_EQ(stateSequence(id), (std::vector<int>{Move, Done})) << "id " << id;
    const auto reports = srl_double::callsOf("motion_state");
    ASSERT_EQ(reports.size(), 6u);
    for (size_t i = 1; i < reports.size(); ++i) {
        EXPECT_GE(reports[i].cycle - reports[i - 1].cycle, 5) << "report " << i;
        EXPECT_LE(reports[i - 1].id, reports[i].id);
        EXPECT_EQ(reports[i].errorCode, 0);
    }
    const srci::POSE end = srci::RcItf::get(true)->getCartesianPos();
    EXPECT_NEAR(end[0], home[0] + 60.0, 1.0);
    EXPECT_TRUE(srl_double::callsOf("error_warning").empty());
}

TEST_F(MovesTest, GroupStopReportsTheFrontAsStoppedAndDropsTheRest) {
    for (uint32_t id = 1; id <= 3; ++id) mm.pushCmd(linearMove(id, offset(home, 30.0 * id)));
    ASSERT_TRUE(runUntil([&] { return !srl_double::statesOf(1).empty(); }));
    mm.groupStop(false);
    EXPECT_EQ(mm.motionCmdList_.size(), 1u);
    ASSERT_TRUE(runUntil([&] { return idle(); }));
    cycle(20);

    EXPECT_EQ(stateSequence(1), (std::vector<int>{Move, Stop}));
    EXPECT_TRUE(stateSequence(2).empty());
    EXPECT_TRUE(stateSequence(3).empty());
    EXPECT_EQ(srl_double::callsOf("stop_completed").size(), 1u);
    EXPECT_FALSE(srci::RcItf::get(true)->isRcMoving());
    EXPECT_LT(srci::RcItf::get(true)->getCartesianPos()[0], home[0] + 30.0);
}

TEST_F(MovesTest, PauseThenContinueSettlesAsPausedAndMovesAgain) {
    mm.pushCmd(linearMove(4, offset(home, 0.0, 80.0)));
    ASSERT_TRUE(runUntil([&] { return !srl_double::statesOf(4).empty(); }));
    mm.groupPause();
    ASSERT_TRUE(runUntil([&] { return stateSequence(4).size() == 2; }));
    EXPECT_EQ(stateSequence(4).back(), Pause);
    EXPECT_EQ(srl_double::callsOf("interrupt_completed").size(), 1u);
    EXPECT_EQ(Log::count("move interrupt complete"), 1u);
    ASSERT_EQ(mm.motionCmdList_.size(), 1u);
    cycle(50);  // a paused command stays queued and is not reported again
    EXPECT_EQ(stateSequence(4).size(), 2u);
    EXPECT_FALSE(srci::RcItf::get(true)->isRcMoving());

    mm.groupContinue();
    EXPECT_FALSE(mm.motionCmdList_.front().pausingMode);
    ASSERT_TRUE(runUntil([&] { return idle(); }));
    EXPECT_EQ(stateSequence(4), (std::vector<int>{Move, Pause, Move, Done}));
    EXPECT_NEAR(srci::RcItf::get(true)->getCartesianPos()[1], home[1] + 80.0, 1.0);
}

TEST_F(MovesTest, ControllerErrorEndsTheMoveInErrorAndRaisesOnePendingErrorWhenReporting) {
    const struct {
        unsigned char level;
        size_t pending;
    } cases[] = {{20, 1}, {0, 0}, {29, 0}};
    uint32_t id = 10;
    for (const auto& c : cases) {
        SCOPED_TRACE("log level " + std::to_string(c.level));
        setReportLevel(c.level);
        sim().injectError(0);
        helper.clearPendingErrList();
        srl_double::reset();
        Log::clear();
        cycle(2);

        mm.pushCmd(linearMove(++id, offset(home, 0.0, 0.0, 40.0)));
        ASSERT_TRUE(runUntil([&] { return mm.motionCmdList_.front().state == LRob_typeServerMotionStateMove; }));
        sim().injectError(0xF0018);
        ASSERT_TRUE(runUntil([&] { return idle(); }));
        cycle(40);  // the error persists; it must not be raised again

        ASSERT_FALSE(srl_double::statesOf(static_cast<int>(id)).empty());
        const auto last = srl_double::statesOf(static_cast<int>(id)).back();
        EXPECT_EQ(last.state, Error);
        EXPECT_EQ(last.errorCode, 27651);
        const auto raised = srl_double::callsOf("error_warning");
        EXPECT_EQ(raised.size(), c.pending);
        EXPECT_EQ(helper.getPendingErrList().size(), c.pending);
        if (!raised.empty()) {
            EXPECT_EQ(raised[0].code, 27651);
            EXPECT_FALSE(raised[0].processed);
            EXPECT_EQ(raised[0].severity, 28);
            EXPECT_EQ(raised[0].info, "this is a pending error: 27651");
        }
        EXPECT_EQ(Log::count("error(hex): 6c03"), 1u);
    }
}

TEST_F(MovesTest, UnreachableDirectMoveIsRefusedWithPositionNotReachable) {
    EDK_CMD cmd = linearMove(20, offset(home, 5000.0));
    cmd.moveCmd.type = srci::MotionCmdType2::Direct;
    cmd.moveCmd.sewConfigMode = {1, 1, 1};
    mm.pushCmd(cmd);
    mm.pushCmd(linearMove(21, offset(home, 10.0)));
    ASSERT_TRUE(runUntil([&] { return idle(); }));
    const auto failed = srl_double::statesOf(20);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].state, Error);
    EXPECT_EQ(failed[0].errorCode, 27651);
    EXPECT_EQ(Log::count("original: 44, converted: 6c03"), 1u);
    // The failed command does not hold back the one behind it.
    EXPECT_EQ(stateSequence(21).back(), Done);
}

TEST_F(MovesTest, MoveAlreadyAtTargetIsDoneAndItsIdTravelsAsLowByte) {
    srci::RcItf* rc = srci::RcItf::get(true);
    EDK_CMD cmd = linearMove(300, home);
    cmd.moveCmd.toolId = rc->getCurrentTooldId();
    cmd.moveCmd.frameId = rc->getCurrentUserFrameId();
    mm.pushCmd(cmd);
    ASSERT_TRUE(runUntil([&] { return idle(); }));
    const auto reports = srl_double::callsOf("motion_state");
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].id, 44);
    EXPECT_EQ(reports[0].state, Done);
    EXPECT_GE(Log::count("move cmd already in pos"), 1u);
}

// ---------------------------------------------------------------- errors seen by the supervision

TEST_F(MovesTest, ControllerCodesAreMappedAndProtectiveStopBecomes117) {
    const struct {
        int32_t raw, stored;
    } rows[] = {{0xF0017, 27651}, {0xF0020, 27651}, {0x10042, 27652},
                {0x50036, 27652}, {0xF0009, 27652}, {0x1234, 0x1234}};
    for (const auto& r : rows) {
        sim().injectError(r.raw);
        mm.newErrStored = {0, 0};
        mm.updateMotionError();
        EXPECT_EQ(mm.newErrStored.errCode, r.stored) << std::hex << r.raw;
        EXPECT_EQ(mm.newErrStored.errType, -1);
    }
    sim().injectError(0);
    sim().setPStop(true);
    mm.updateMotionError();
    EXPECT_EQ(mm.newErrStored.errCode, 117);
    EXPECT_EQ(mm.newErrStored.errType, -1);
    sim().setPStop(false);
    EXPECT_EQ(sim().exitProtect(0), 0);
    mm.updateMotionError();
    EXPECT_EQ(mm.newErrStored.errCode, 0);
    EXPECT_EQ(mm.newErrStored.errType, 0);
}

// ---------------------------------------------------------------- jogs

using JogsTest = MotionFixture;

TEST_F(JogsTest, JogTelegramRepeatedEveryCycleStartsOneControllerJog) {
    const EDK_CMD jog = jogCmd(7, 1, 10.0);
    ASSERT_TRUE(runUntil(
        [&] {
            if (!srl_double::statesOf(7).empty()) return true;
            mm.pushCmd(jog);
            return false;
        },
        2000));
    EXPECT_EQ(Log::count("jog cmd sent to controller, id: 7"), 1u);
    const auto reports = srl_double::statesOf(7);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].state, Stop);  // a finished jog ends as stopped
    EXPECT_EQ(srl_double::callsOf("jog_distance_togo").size(), 1u);
    EXPECT_TRUE(mm.jogCmdIdList_.empty());
    EXPECT_NEAR(srci::RcItf::get(true)->getCartesianPos()[0], home[0] + 10.0, 0.5);
}

TEST_F(JogsTest, NewJogEndsQueuedMovesWithoutReports) {
    mm.pushCmd(linearMove(1, offset(home, 50.0)));
    mm.pushCmd(linearMove(2, offset(home, 100.0)));
    ASSERT_TRUE(runUntil([&] { return mm.motionCmdList_.front().state == LRob_typeServerMotionStateMove; }));
    const size_t before = srl_double::callsOf("motion_state").size();

    mm.pushCmd(jogCmd(9, -3, 5.0));
    EXPECT_TRUE(mm.motionCmdList_.empty());
    ASSERT_EQ(mm.jogCmdIdList_.size(), 1u);
    ASSERT_TRUE(runUntil([&] { return idle(); }));
    cycle(20);

    const auto reports = srl_double::callsOf("motion_state");
    ASSERT_EQ(reports.size(), before + 1);
    EXPECT_EQ(reports.back().id, 9);
    EXPECT_TRUE(srl_double::callsOf("stop_completed").empty());
    EXPECT_LT(srci::RcItf::get(true)->getCartesianPos()[0], home[0] + 50.0);
}

TEST_F(JogsTest, JogWithoutDirectionStopsAndQueuesNothing) {
    mm.pushCmd(jogCmd(3, 0, 0.0));
    EXPECT_TRUE(mm.jogCmdIdList_.empty());
    cycle(20);
    EXPECT_TRUE(srl_double::callsOf("").empty());
}

// ---------------------------------------------------------------- record and pacing

TEST(MotionRecord, SetStateRules) {
    Log::clear();
    EDK_CMD move;
    move.moveCmd.generalParam.trajId = 5;
    move.setState(LRob_typeServerMotionStateMove);
    EXPECT_EQ(Log::count("movecmd, id: 5, stateChanged: initial_state->moving_state"), 1u);
    move.reported = true;
    move.setState(LRob_typeServerMotionStateMove);  // same state: nothing, reported kept
    EXPECT_TRUE(move.reported);
    move.setState(LRob_typeServerMotionStateDone);
    EXPECT_FALSE(move.reported);
    move.reported = true;
    move.setState(LRob_typeServerMotionStateError);  // a finished move stays finished
    EXPECT_EQ(move.state, LRob_typeServerMotionStateDone);
    EXPECT_TRUE(move.reported);
    EXPECT_EQ(Log::count("final state shouldn't change...done_state->error_state"), 1u);

    EDK_CMD failed;
    failed.setState(LRob_typeServerMotionStateError);
    failed.errorCode = 27651;
    failed.reported = true;
    Log::clear();
    for (auto s : {LRob_typeServerMotionStateStop, LRob_typeServerMotionStateDone, LRob_typeServerMotionStateMove})
        failed.setState(s);
    EXPECT_EQ(failed.state, LRob_typeServerMotionStateError);
    EXPECT_TRUE(failed.reported);
    EXPECT_EQ(Log::count("stateChanged"), 0u);
    EXPECT_EQ(failed.getStateStr(), "error_state: 6c03");

    EDK_CMD jog;
    jog.type = srci::MotionCmdType::Jog;
    jog.jogCmd.jogId = 6;
    jog.setState(LRob_typeServerMotionStateStop);
    jog.setState(LRob_typeServerMotionStateMove);  // jogs may leave stop and done
    EXPECT_EQ(jog.state, LRob_typeServerMotionStateMove);
    EXPECT_EQ(Log::count("jogcmd, id: 6, stateChanged: stopped_state->moving_state"), 1u);
    jog.setState(LRob_typeServerMotionStateDone);
    jog.setState(LRob_typeServerMotionStatePause);
    EXPECT_EQ(jog.state, LRob_typeServerMotionStatePause);
    jog.setState(LRob_typeServerMotionStateError);
    jog.setState(LRob_typeServerMotionStateStop);
    EXPECT_EQ(jog.state, LRob_typeServerMotionStateError);

    EXPECT_EQ(getStateEnumStr(LRob_typeServerMotionStateMax), "");
    EXPECT_EQ(getStateEnumStr(static_cast<LRob_typeServerMotionStateEnum>(9)), "");
}

TEST(MotionRecord, ReportPacingAnswersOnTheFifthCall) {
    MotionManager m;
    for (int i = 1; i <= 4; ++i) EXPECT_FALSE(m.ableToUpdateEDKState()) << i;
    EXPECT_TRUE(m.ableToUpdateEDKState());
    EXPECT_TRUE(m.ableToUpdateEDKState());
    EXPECT_EQ(m.waitDelayCount_, 5);
    m.resetWaitDelayCount();
    EXPECT_FALSE(m.ableToUpdateEDKState());
}

}  // namespace
