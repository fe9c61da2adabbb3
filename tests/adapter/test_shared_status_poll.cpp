// SPDX-License-Identifier: Apache-2.0
// A cycle's status readers share one poll, but never past a command or a wait of the adapter,
// from whichever thread; a repeated forward solution is answered from the last one only while
// joints, tool, frame and the arm's kinematic table are all unchanged.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "itf_rc/rcitf.h"
#include "srciport/sim_arm.h"

using namespace srci;
using srciport::SimArm;

namespace {

class SharedStatusPollTest : public ::testing::Test {
protected:
    void SetUp() override {
        SimArm::instance().setManual(true);
        SimArm::instance().reset();
        setRcItfSleep([](int ms) { SimArm::instance().step(ms / 1000.0); });
        rc = RcItf::get(true);
        rc->robotPower(true);
        rc->robotEnable(true);
    }
    void TearDown() override { setRcItfSleep(nullptr); }
    RcItf* rc = nullptr;
};

TEST_F(SharedStatusPollTest, ReadsShareOnePollUntilTheAdapterTouchesTheController) {
    struct Row {
        const char* what;
        std::function<void(RcItf*)> touch;
        bool seen;  // whether the arm's tool change shows in the next read
    } rows[] = {
        {"nothing: the shared poll stands", [](RcItf*) {}, false},
        {"a command on this thread", [](RcItf* rc) { rc->SetSpeedRatio(0.5); }, true},
        {"a frame selection, command and pause", [](RcItf* rc) { rc->setUsrFrameId(2); }, true},
        {"a command on another thread", [](RcItf* rc) { std::thread([rc] { rc->SetSpeedRatio(0.25); }).join(); }, true},
    };
    for (const Row& r : rows) {
        SimArm::instance().setToolId(0);
        const SharedStatusPoll shared;
        ASSERT_EQ(rc->getCurrentTooldId(), 0) << r.what;
        SimArm::instance().setToolId(4);  // behind the adapter's back
        r.touch(rc);
        EXPECT_EQ(rc->getCurrentTooldId(), r.seen ? 4 : 0) << r.what;
    }
    SimArm::instance().setToolId(7);
    EXPECT_EQ(rc->getCurrentTooldId(), 7) << "without a shared poll every read polls";
}

TEST_F(SharedStatusPollTest, RepeatedForwardSolutionFollowsEveryInputAndANewKinematicTable) {
    const POSE tool(0, 0, 100, 0, 0, 0), frame(100, 0, 0, 0, 0, 30);
    auto solve = [&](const JOINTS& j, const POSE& t) {
        POSE p;
        SEW sew;
        rc->get(true)->fkine(j, p, sew, t, frame);
        return p;
    };
    const JOINTS joints(10, -20, 30, 40, 50, 60);
    const POSE first = solve(joints, tool);
    EXPECT_TRUE(solve(joints, tool).match(first));
    EXPECT_FALSE(solve(JOINTS(11, -20, 30, 40, 50, 60), tool).match(first)) << "joints";
    EXPECT_FALSE(solve(joints, POSE(0, 0, 120, 0, 0, 0)).match(first)) << "tool";
    double dh[6][4] = {{-90, 100, 400, 0}, {0, 450, 0, -90}, {-90, 50, 0, 0},
                       {90, 0, 450, 0},    {-90, 0, 0, 0},   {0, 0, 120, 0}};  // a longer flange
    EXPECT_TRUE(solve(joints, tool).match(first));
    ASSERT_EQ(SimArm::instance().kineInit(dh), 0);
    EXPECT_FALSE(solve(joints, tool).match(first)) << "the arm's kinematic table";
}

}  // namespace
