// Selecting the tool or frame that is already active is no change: no port command, no pause.
// Every real change keeps both. The arm is stepped, so each pause shows up as a recorded sleep.
#include <gtest/gtest.h>

#include <vector>

#include "itf_rc/rcitf.h"
#include "srciport/sim_arm.h"

using namespace srci;
using srciport::SimArm;

namespace {

std::vector<int> sleeps;

void steppedSleep(int ms) {
    sleeps.push_back(ms);
    SimArm::instance().step(ms / 1000.0);
}

class ToolFrameSkip : public ::testing::Test {
protected:
    void SetUp() override {
        SimArm::instance().setManual(true);
        SimArm::instance().reset();
        setRcItfSleep(steppedSleep);
        rc = RcItf::get(true);
        rc->robotPower(true);
        rc->robotEnable(true);
        sleeps.clear();
    }
    void TearDown() override { setRcItfSleep(nullptr); }
    RcItf* rc = nullptr;
};

TEST_F(ToolFrameSkip, OnlyARealChangeSendsAndPauses) {
    struct Case {
        const char* what;
        int tool, frame;
        std::vector<int> pauses;
    };
    // The arm starts with tool 0 and frame 0 active; each row starts where the previous ended.
    const Case cases[] = {
        {"both already active", 0, 0, {}},
        {"new tool only", 3, 0, {15}},
        {"new frame only", 3, 5, {15}},
        {"same again", 3, 5, {}},
        {"both change", 1, 2, {15, 15}},
        {"keep both (-1)", -1, -1, {}},
    };
    for (const Case& c : cases) {
        sleeps.clear();
        rc->setToolId(c.tool);
        rc->setUsrFrameId(c.frame);
        EXPECT_EQ(sleeps, c.pauses) << c.what;
        if (c.tool >= 0) {
            EXPECT_EQ(rc->getCurrentTooldId(), c.tool) << c.what;
        }
        if (c.frame >= 0) {
            EXPECT_EQ(rc->getCurrentUserFrameId(), c.frame) << c.what;
        }
    }
}

// The controller's active id decides, not what the adapter selected last: a change made behind
// the adapter's back (the arm reset to tool 0) is undone by a real command with its pause.
TEST_F(ToolFrameSkip, ComparesWithTheControllersActiveId) {
    rc->setToolId(4);
    SimArm::instance().setToolId(0);
    sleeps.clear();
    rc->setToolId(4);
    EXPECT_EQ(sleeps, (std::vector<int>{15}));
    EXPECT_EQ(rc->getCurrentTooldId(), 4);
}

TEST_F(ToolFrameSkip, MoveInTheActiveToolAndFrameDoesNotPause) {
    rc->setToolId(2);
    rc->setUsrFrameId(1);
    sleeps.clear();
    MoveCmdParam p;
    p.toolId = 2;
    p.frameId = 1;
    p.pos = rc->getCartesianPos();
    p.generalParam.vel = 10;
    p.generalParam.acc = 10;
    rc->robotMoveLine(p);
    EXPECT_TRUE(sleeps.empty());

    p.toolId = 0;
    rc->robotMoveLine(p);
    EXPECT_EQ(sleeps, (std::vector<int>{15}));
}

}  // namespace
