// SPDX-License-Identifier: Apache-2.0
// The controller adapter against a recording controller port linked in place of the simulated
// arm: which port calls each adapter call makes, in which order and with which values, and how
// it reads status the simulated arm never shows (moving while disabled, an enable that never comes).
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "itf_rc/rcitf.h"
#include "srciport/srciport.h"
#include "thrown_code.h"

namespace {

std::vector<std::string> calls;
SrciPortStat controller;  // what the next poll() reports
int sleeps = 0;

template <class... Args>
int record(const char* name, const Args&... args) {
    std::ostringstream os;
    os << name;
    ((os << ' ' << args), ...);
    calls.push_back(os.str());
    return 0;
}

}  // namespace

// ---- the recording port
SrciPortStat::SrciPortStat() = default;
int SrciPortStat::init() { return 0; }
int SrciPortStat::poll() {
    *this = controller;
    return 0;
}
SrciPortCmd::SrciPortCmd() = default;
int SrciPortCmd::init() { return 0; }
int SrciPortCmd::powerOnRobot() { return record("powerOn"); }
int SrciPortCmd::powerOffRobot() { return record("powerOff"); }
int SrciPortCmd::enableRobot() { return record("enable"); }
int SrciPortCmd::disableRobot() { return record("disable"); }
int SrciPortCmd::exitProtect(unsigned char type) { return record("exitProtect", int(type)); }
int SrciPortCmd::updateErrInfo(int&, int&) { return 0; }
int SrciPortCmd::movjAbs(const double j[6], double vel, double acc, uint32_t id, double tol) {
    return record("movj", j[0], j[5], vel, acc, id, tol);
}
int SrciPortCmd::movl(const double p[6], double vel, double acc, uint32_t id, double tol) {
    return record("movl", p[0], p[5], vel, acc, id, tol);
}
int SrciPortCmd::motionStop() { return record("stop"); }
int SrciPortCmd::motionPause() { return record("pause"); }
int SrciPortCmd::motionContinue() { return record("continue"); }
int SrciPortCmd::jogIncr(int mode, int dir, double speed, double dist) {
    return record("jogIncr", mode, dir, speed, dist);
}
int SrciPortCmd::jogCont(int mode, int dir, double speed, double dist) {
    return record("jogCont", mode, dir, speed, dist);
}
int SrciPortCmd::jogStop(int mode, int dir) { return record("jogStop", mode, dir); }
int SrciPortCmd::setToolOffset(const double p[6], int id, const char*) { return record("toolOffset", id, p[2]); }
int SrciPortCmd::setUsrFrame(const double p[6], int id, const char*) { return record("userFrame", id, p[0]); }
int SrciPortCmd::setToolId(int id) { return record("toolId", id); }
int SrciPortCmd::setFrameId(int id) { return record("frameId", id); }
int SrciPortCmd::setLoad(const double l[4]) { return record("load", l[0], l[1], l[2], l[3]); }
int SrciPortCmd::setMinLimit(int joint, double v) { return record("min", joint, v); }
int SrciPortCmd::setMaxLimit(int joint, double v) { return record("max", joint, v); }
int SrciPortCmd::setReferenceDynamic(double v, double a, double d, double j) { return record("refDyn", v, a, d, j); }
int SrciPortCmd::setSpeedRatio(double r) { return record("speedRatio", r); }
int SrciPortCmd::kineInit(const double[6][4], int) { return record("kineInit"); }
int SrciPortCmd::fkine(const double*, double*, unsigned char*, const double*, const double*) { return 0; }
int SrciPortCmd::ikine(const double*, double*, unsigned char, const double*, const double*) { return 0; }
int SrciPortCmd::calFrameWorldToUser(const double*, const double*, double*) { return 0; }
int SrciPortCmd::calFrameUserToWorld(const double*, const double*, double*) { return 0; }

namespace {

using namespace srci;

class RcItfPortCalls : public ::testing::Test {
protected:
    void SetUp() override {
        controller = SrciPortStat();
        controller.ra_power_stat = controller.ra_enable_stat = 1;
        setRcItfSleep([](int) { ++sleeps; });
        rc = RcItf::get(true);
        calls.clear();
        sleeps = 0;
    }
    void TearDown() override { setRcItfSleep(nullptr); }
    RcItf* rc = nullptr;
};

MoveCmdParam move(int tool, int frame) {
    MoveCmdParam p;
    p.toolId = tool;
    p.frameId = frame;
    p.pos = POSE(400, 0, 300, 0, 180, 30);
    p.jpos = JOINTS(10, 0, 0, 0, 0, 60);
    p.generalParam = MoveCmdGeneralParam{100, 200, 5, 9};
    return p;
}

TEST_F(RcItfPortCalls, EachAdapterCallMakesItsPortCallsInOrder) {
    double limits[12] = {-10, 10, -20, 20, -30, 30, -40, 40, -50, 50, -60, 60};
    LoadData load;
    load.mass = 3;
    load.x = 1;
    load.y = 2;
    load.z = 4;
    struct Row {
        const char* what;
        std::function<void()> act;
        std::vector<std::string> expected;
    } rows[] = {
        {"linear move", [&] { rc->robotMoveLine(move(2, 3)); }, {"toolId 2", "frameId 3", "movl 400 30 100 200 9 5"}},
        {"linear move, active systems", [&] { rc->robotMoveLine(move(-1, -1)); }, {"movl 400 30 100 200 9 5"}},
        {"joint move", [&] { rc->robotMoveJoint(move(4, 3)); }, {"toolId 4", "movj 10 60 100 200 9 5"}},
        {"disable",
         [&] {
             controller.ra_enable_stat = 0;
             rc->robotEnable(false);
         },
         {"stop", "disable"}},
        {"load", [&] { rc->setLoad(load); }, {"load 3 1 2 4"}},
        {"soft limits",
         [&] { rc->setSoftLimits(limits); },
         {"min 0 -10", "max 0 10", "min 1 -20", "max 1 20", "min 2 -30", "max 2 30", "min 3 -40", "max 3 40",
          "min 4 -50", "max 4 50", "min 5 -60", "max 5 60"}},
        {"stop", [&] { rc->robotMoveStop(); }, {"stop"}},
        {"pause", [&] { rc->robotMoveInterrupt(); }, {"pause"}},
        {"continue", [&] { rc->robotMoveContinue(); }, {"continue"}},
    };
    for (const Row& r : rows) {
        calls.clear();
        r.act();
        EXPECT_EQ(calls, r.expected) << r.what;
    }
}

// The store writes srci.ini inside the pause that follows a tool or frame change: only after the
// controller took the change, never instead of any of the pause, and a failed write still leaves
// the controller its whole pause.
TEST_F(RcItfPortCalls, WorkDuringTheChangePauseComesAfterTheChangeAndKeepsThePause) {
    const POSE pose(1, 2, 3, 4, 5, 6);
    struct Row {
        const char* what;
        std::function<void(const RcItf::DuringPause&)> change;
        const char* portCall;
        bool workFails;
    } rows[] = {
        {"tool", [&](const RcItf::DuringPause& w) { rc->setTool(2, pose, w); }, "toolOffset 2 3", false},
        {"frame", [&](const RcItf::DuringPause& w) { rc->setUsrFrame(3, pose, w); }, "userFrame 3 1", false},
        {"tool, failed write", [&](const RcItf::DuringPause& w) { rc->setTool(2, pose, w); }, "toolOffset 2 3", true},
    };
    for (const Row& r : rows) {
        calls.clear();
        sleeps = 0;
        const int code = srci_test::thrownCode([&] {
            r.change([&] {
                record("work", sleeps);
                if (r.workFails) throw 42;
            });
        });
        EXPECT_EQ(calls, (std::vector<std::string>{r.portCall, "work 0"})) << r.what;
        EXPECT_EQ(sleeps, 1) << r.what;
        EXPECT_EQ(code, r.workFails ? 42 : 0) << r.what;
    }

    // On the real clock, work that takes a third of the pause does not shorten what the
    // controller gets: from the change to the return is still the whole pause.
    setRcItfSleep(nullptr);
    const auto start = std::chrono::steady_clock::now();
    rc->setTool(2, pose, [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); });
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(15));
}

TEST_F(RcItfPortCalls, EnableAndPowerWaitTheirFullCountBeforeGivingUp) {
    struct Row {
        bool power;
        bool on;
        int code;
        int sleeps;
    } rows[] = {{false, true, err_enable, 6}, {false, false, err_disable, 6}, {true, true, err_power_on, 16}};
    for (const Row& r : rows) {
        controller.ra_enable_stat = !r.on;  // the controller never follows
        controller.ra_power_stat = !r.on;
        sleeps = 0;
        const int code = srci_test::thrownCode([&] { r.power ? rc->robotPower(r.on) : rc->robotEnable(r.on); });
        EXPECT_EQ(code, r.code) << r.power << r.on;
        EXPECT_EQ(sleeps, r.sleeps) << r.power << r.on;
    }
}

TEST_F(RcItfPortCalls, ADisabledArmNeitherMovesNorHasWorkLeft) {
    struct Row {
        uint8_t moving, instDone;
        int32_t enabled;
        bool isMoving, isDone;
    } rows[] = {{1, 0, 1, true, false}, {1, 0, 0, false, true}, {0, 1, 1, false, true}, {0, 0, 1, false, false}};
    for (const Row& r : rows) {
        controller.ra_is_moving = r.moving;
        controller.ra_is_inst_done = r.instDone;
        controller.ra_enable_stat = r.enabled;
        EXPECT_EQ(rc->isRcMoving(), r.isMoving) << int(r.moving) << int(r.enabled);
        EXPECT_EQ(rc->isRcInstDone(), r.isDone) << int(r.instDone) << int(r.enabled);
    }
}

}  // namespace
