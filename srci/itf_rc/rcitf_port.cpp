// SPDX-License-Identifier: Apache-2.0
// Port objects, the singleton, power/enable and the settings that go to the controller.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <exception>

#include "itf_rc/rcitf_internal.h"

namespace srci {
namespace {

std::shared_ptr<SrciPortCmd> __cmd;
JogCmdParam lastJogCmd_;

void realSleep(int ms) { usleep(static_cast<useconds_t>(ms) * 1000u); }
SleepFn sleepFn = realSleep;

// Power and enable are followed by a wait in one-second steps until the controller reports
// the wanted state, or `checks` steps have passed.
bool waitForState(bool wanted, int counter, bool (RcItf::*query)()) {
    RcItf* rc = RcItf::get(false);
    while ((rc->*query)() != wanted && counter >= 0) {
        rcitf_detail::sleepMs(1000);
        --counter;
    }
    return (rc->*query)() == wanted;
}

std::atomic<uint64_t> controllerTouches{0};

// Per thread: whether reads may share a poll, and the touch count the shared poll was taken at.
struct PollSharing {
    bool active = false;
    bool taken = false;
    uint64_t touches = 0;
};
thread_local PollSharing sharing;

}  // namespace

namespace rcitf_detail {

void sleepMs(int ms) {
    sleepFn(ms);
    noteControllerTouched();
}

// Only the real clock can be shortened by the time the work took: a test's sleep stands for
// time the work does not spend, so it always gets the whole pause.
void pauseAfterChange(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    std::exception_ptr failed;
    try {
        if (work) work();
    } catch (...) {
        failed = std::current_exception();
    }
    if (sleepFn == realSleep) {
        const auto spent = std::chrono::steady_clock::now() - start;
        const auto left = std::chrono::milliseconds(ControllerSequenceWaitTime_ms) - spent;
        if (left > std::chrono::microseconds(0))
            usleep(static_cast<useconds_t>(std::chrono::duration_cast<std::chrono::microseconds>(left).count()));
        noteControllerTouched();
    } else {
        sleepMs(ControllerSequenceWaitTime_ms);
    }
    if (failed) std::rethrow_exception(failed);
}

JogCmdParam& lastJogCmd() { return lastJogCmd_; }

void noteControllerTouched() { controllerTouches.fetch_add(1, std::memory_order_acq_rel); }

SrciPortStat& stat() {
    thread_local SrciPortStat* const mine = getStat().get();
    return *mine;
}

SrciPortStat& polledStat() {
    SrciPortStat& s = stat();
    if (sharing.active) {
        // The count is read before the poll: a command that lands during the poll moves it
        // again, and the next read polls once more.
        const uint64_t touches = controllerTouches.load(std::memory_order_acquire);
        if (sharing.taken && sharing.touches == touches) return s;
        sharing.touches = touches;
        sharing.taken = true;
    }
    s.poll();
    return s;
}

}  // namespace rcitf_detail

SharedStatusPoll::SharedStatusPoll() { sharing = PollSharing{true, false, 0}; }
SharedStatusPoll::~SharedStatusPoll() { sharing = PollSharing{}; }

const JogCmdParam& lastJogCommand() { return lastJogCmd_; }
void setRcItfSleep(SleepFn fn) { sleepFn = fn ? fn : realSleep; }

// One snapshot per calling thread: the power worker polls while the main cycle reads, and a
// shared snapshot would be rewritten under the reader's feet.
std::shared_ptr<SrciPortStat> getStat() {
    thread_local std::shared_ptr<SrciPortStat> mine;
    if (!mine) [[unlikely]] {
        mine = std::make_shared<SrciPortStat>();
        mine->init();
        mine->poll();
    }
    return mine;
}

std::shared_ptr<SrciPortCmd> getCmd() {
    if (!__cmd) {
        __cmd = std::make_shared<SrciPortCmd>();
        __cmd->init();
    }
    return __cmd;
}

RcItf* RcItf::get(bool poll) {
    static RcItf* instance = new RcItf();
    if (poll) rcitf_detail::polledStat();
    return instance;
}

void RcItf::setOperationMode(OperationMode m) {
    if (m != OperationMode::External_Automatic) throw static_cast<int>(err_operation_mode);
}

int RcItf::operationMode_toVeld(OperationMode) { return 0; }

OperationMode RcItf::operationMode_fromVeld(unsigned char) { return OperationMode::External_Automatic; }

void RcItf::robotPower(bool on) {
    const int result = on ? rcitf_detail::cmd()->powerOnRobot() : rcitf_detail::cmd()->powerOffRobot();
    const int failure = on ? err_power_on : err_power_off;
    if (result != 0) throw failure;
    if (!waitForState(on, 15, &RcItf::isRobotPower)) throw failure;
}

void RcItf::robotEnable(bool on) {
    if (on) {
        if (rcitf_detail::cmd()->enableRobot() != 0) throw static_cast<int>(err_enable);
    } else {
        rcitf_detail::cmd()->motionStop();
        if (rcitf_detail::cmd()->disableRobot() != 0) throw static_cast<int>(err_disable);
    }
    if (!waitForState(on, 5, &RcItf::isRobotEnable)) throw static_cast<int>(on ? err_enable : err_disable);
}

void RcItf::exit_protect(unsigned char type) { rcitf_detail::cmd()->exitProtect(type); }

void RcItf::robotKineInit() {
    if (rcitf_detail::cmd()->kineInit(rcitf_detail::stat().ra_dh_param, 0) != 0) throw static_cast<int>(err_kine_init);
}

void RcItf::setTool(unsigned char id, POSE pose, const DuringPause& work) {
    if (id < 1 || id > 15) throw static_cast<int>(err_tools_index);
    double p[6];
    pose.toArray(p);
    if (rcitf_detail::cmd()->setToolOffset(p, id, "") != 0) throw static_cast<int>(err_tools_setting);
    rcitf_detail::pauseAfterChange(work);
}

void RcItf::setUsrFrame(unsigned char id, POSE pose, const DuringPause& work) {
    if (id < 1 || id > 15) throw static_cast<int>(err_frames_index);
    double p[6];
    pose.toArray(p);
    if (rcitf_detail::cmd()->setUsrFrame(p, id, "") != 0) throw static_cast<int>(err_frames_setting);
    rcitf_detail::pauseAfterChange(work);
}

// Selecting the tool or frame the controller already has active changes nothing, so it sends no
// command and takes no pause; a move that names its unchanged tool and frame never stalls the cycle.
void RcItf::setToolId(int id) {
    if (id == -1) return;
    if (id < 0 || id > 15) throw static_cast<int>(err_tools_index);
    if (rcitf_detail::polledStat().cur_tool_id == static_cast<uint32_t>(id)) return;
    if (rcitf_detail::cmd()->setToolId(id) != 0) throw static_cast<int>(err_tools_index);
    rcitf_detail::pauseAfterChange();
}

void RcItf::setUsrFrameId(int id) {
    if (id == -1) return;
    if (id < 0 || id > 15) throw static_cast<int>(err_frames_index);
    if (rcitf_detail::polledStat().cur_usrframe_id == static_cast<uint32_t>(id)) return;
    if (rcitf_detail::cmd()->setFrameId(id) != 0) throw static_cast<int>(err_frames_index);
    rcitf_detail::pauseAfterChange();
}

void RcItf::setLoad(LoadData load) {
    const double values[4] = {load.mass, load.x, load.y, load.z};
    if (rcitf_detail::cmd()->setLoad(values) != 0) throw static_cast<int>(err_load_index);
}

int RcItf::setSoftLimits(double* lim) {
    for (int i = 0; i < RA_JOINT_NUM; ++i) {
        rcitf_detail::cmd()->setMinLimit(i, lim[2 * i]);
        rcitf_detail::cmd()->setMaxLimit(i, lim[2 * i + 1]);
    }
    return 0;
}

void RcItf::setReferenceDynamic(ReferenceDynamic d) {
    rcitf_detail::cmd()->setReferenceDynamic(d.vel, d.acc, d.dec, d.jerk);
}

void RcItf::SetSpeedRatio(double r) { rcitf_detail::cmd()->setSpeedRatio(r); }

void RcItf::getWorkArea() {}
void RcItf::setWorkArea() {}

}  // namespace srci
