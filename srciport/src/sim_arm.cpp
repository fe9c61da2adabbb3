// SPDX-License-Identifier: Apache-2.0
#include "srciport/sim_arm.h"

#include "sim_arm_impl.h"

#include <pthread.h>
#include <time.h>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace srciport {

namespace {

constexpr Joints kHome = {0, 0, 0, 0, 90, 0};
constexpr double kSoftMargin = 5.0;  // default soft limits sit this far inside the hard ones

}  // namespace

void SimArm::Impl::resetLocked() {
    kin = Kinematics();
    hard = defaultHardLimits();
    kin.setLimits(hard);
    for (int j = 0; j < 6; ++j) {
        soft[j] = {hard[j][0] + kSoftMargin, hard[j][1] - kSoftMargin};
        heldMin[j] = heldMax[j] = HeldBound{};
    }
    safety = Safety();
    motion.reset(kHome);
    now = 0;
    ratio = 1;
    std::memset(tools, 0, sizeof tools);
    std::memset(frames, 0, sizeof frames);
    toolId = frameId = 0;
    payload = {};
    const double ref[4] = {1000.0, 5000.0, 5000.0, 50000.0};  // mm/s, mm/s^2, mm/s^2, mm/s^3
    const double def[4] = {250.0, 1000.0, 1000.0, 10000.0};
    std::memcpy(refDyn, ref, sizeof ref);
    std::memcpy(defDyn, def, sizeof def);
    app = false;
    profinet = SRCIPORT_PROFINET_RUNNING;

    status = SrciPortStat();
    status.rc_serial_num = 4711203;
    status.ra_serial_num = 4711857;
    std::snprintf(status.rc_order_id, sizeof status.rc_order_id, "SRC6-1100-A");
    std::snprintf(status.rc_version, sizeof status.rc_version, "2.4.1");
    status.ra_operation_mode = 0;
    status.task_mode = 0;
    publishLocked();
}

void SimArm::Impl::tickLocked(double dt) {
    now += dt;
    safety.tick(now);
    if (!safety.enabled() && !motion.idle()) motion.halt();
    if (int e = motion.tick(dt, ratio, context())) safety.raise(e);
    publishLocked();
}

void SimArm::Impl::publishLocked() {
    wakeLocked();
    SrciPortStat& s = status;
    s.cur_tool_id = toolId;
    s.cur_usrframe_id = frameId;
    std::memcpy(s.usr_tools, tools, sizeof tools);
    std::memcpy(s.usr_frames, frames, sizeof frames);
    s.usr_payload = payload;
    s.profinet_state = profinet;
    s.errCode = safety.errCode();
    s.errType = safety.errType();
    s.isEStop = safety.estop();
    s.isPStop = safety.pstop();
    s.isAppConnected = app;
    s.reference_vel = refDyn[0];
    s.reference_acc = refDyn[1];
    s.reference_dec = refDyn[2];
    s.reference_jerk = refDyn[3];
    s.default_vel = defDyn[0];
    s.default_acc = defDyn[1];
    s.default_dec = defDyn[2];
    s.default_jerk = defDyn[3];
    s.speed_ratio = ratio;
    s.ra_is_moving = motion.moving();
    s.ra_power_stat = safety.powered();
    s.ra_enable_stat = safety.enabled();
    const Joints& q = motion.joints();
    const Joints target = motion.plannedEnd();
    for (int j = 0; j < 6; ++j) {
        s.act_jpos[j] = q[j];
        s.target_jpos[j] = target[j];
        const DhRow& r = kin.table()[j];
        s.ra_dh_param[j][0] = r.alpha;
        s.ra_dh_param[j][1] = r.a;
        s.ra_dh_param[j][2] = r.d;
        s.ra_dh_param[j][3] = r.offset;
        s.soft_limits[2 * j] = soft[j][0];
        s.soft_limits[2 * j + 1] = soft[j][1];
        s.hard_limits[2 * j] = hard[j][0];
        s.hard_limits[2 * j + 1] = hard[j][1];
    }
    const Transform tcp = inverse(poseToTransform(frames[frameId])) * kin.forward(q) * poseToTransform(tools[toolId]);
    transformToPose(tcp, s.act_cartpos);
    std::memcpy(s.act_tcs_in_ucs, s.act_cartpos, sizeof s.act_cartpos);
    s.cur_trajId = motion.trajId();
    s.ra_is_inst_done = motion.idle() && !motion.moving();
    s.is_inst_paused = motion.paused();
    s.is_inst_queue_full = motion.full();
    s.isTCPConnected = 0;
}

void SimArm::Impl::threadMain() {
    pthread_setname_np(pthread_self(), "simarm");
    timespec next;
    clock_gettime(CLOCK_MONOTONIC, &next);
    const long tickNs = static_cast<long>(kTick * 1e9);
    while (running.load(std::memory_order_relaxed)) {
        next.tv_nsec += tickNs;
        while (next.tv_nsec >= 1000000000L) {
            next.tv_nsec -= 1000000000L;
            ++next.tv_sec;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
        {
            std::unique_lock<std::mutex> lock(mu);
            tickLocked(kTick);
            // A standing arm with nothing to do costs nothing: the thread sleeps until a command
            // changes the state, then ticks at once as if the command had come just before a tick.
            if (quietLocked() && running.load(std::memory_order_relaxed)) {
                parked = true;
                wake.wait(lock, [this] { return !parked; });
                clock_gettime(CLOCK_MONOTONIC, &next);
                next.tv_nsec -= tickNs;
                if (next.tv_nsec < 0) {
                    next.tv_nsec += 1000000000L;
                    --next.tv_sec;
                }
                continue;
            }
        }
        // After a long stall (debugger, overloaded host) continue from now instead of racing.
        timespec cur;
        clock_gettime(CLOCK_MONOTONIC, &cur);
        const double lag =
            static_cast<double>(cur.tv_sec - next.tv_sec) + static_cast<double>(cur.tv_nsec - next.tv_nsec) * 1e-9;
        if (lag > 10 * kTick) next = cur;
    }
}

SimArm& SimArm::instance() {
    static SimArm arm;
    return arm;
}

SimArm::SimArm() : impl_(std::make_unique<Impl>()) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->resetLocked();
}

SimArm::~SimArm() {
    stopControlChannel();
    stopThread();
}

void SimArm::ensureStarted() {
    std::lock_guard<std::mutex> start(impl_->startMu);
    {
        std::lock_guard<std::mutex> lock(impl_->mu);
        if (impl_->manual) return;
    }
    // Whatever a test or an earlier stop left idle is brought back; running parts stay.
    startThread();
    if (!impl_->channel.running() &&
        !impl_->channel.start("srciport.sock", [this](std::string_view line) { return request(line); }))
        std::fprintf(stderr, "srciport: control channel srciport.sock unavailable, running without it\n");
}

void SimArm::setManual(bool manual) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->manual = manual;
}

void SimArm::startThread() {
    if (impl_->running.exchange(true)) return;
    impl_->thread = std::thread([this] { impl_->threadMain(); });
}

void SimArm::stopThread() {
    if (!impl_->running.exchange(false)) return;
    {
        std::lock_guard<std::mutex> lock(impl_->mu);
        impl_->wakeLocked();
    }
    if (impl_->thread.joinable()) impl_->thread.join();
}

bool SimArm::threadRunning() const { return impl_->running.load(); }

bool SimArm::startControlChannel(const std::string& path) {
    std::lock_guard<std::mutex> start(impl_->startMu);
    return impl_->channel.start(path, [this](std::string_view line) { return request(line); });
}

void SimArm::stopControlChannel() {
    std::lock_guard<std::mutex> start(impl_->startMu);
    impl_->channel.stop();
}

void SimArm::step(double seconds) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!(seconds > 0) || !std::isfinite(seconds)) return;
    while (seconds > 1e-12) {
        const double dt = seconds >= kTick - 1e-12 ? kTick : seconds;
        impl_->tickLocked(dt);
        seconds -= dt;
    }
}

double SimArm::time() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->now;
}

void SimArm::reset() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->resetLocked();
}

void SimArm::snapshot(SrciPortStat& out) const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    out = impl_->status;
}

size_t SimArm::queuedMoves() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->motion.pendingCount();
}

size_t SimArm::activeSegments() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->motion.activeCount();
}

// ---- fault injection -----------------------------------------------------------------

void SimArm::setEStop(bool on) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (impl_->safety.setEStop(on)) impl_->motion.halt();
    impl_->publishLocked();
}

void SimArm::setPStop(bool on) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (impl_->safety.setPStop(on)) impl_->motion.halt();
    impl_->publishLocked();
}

void SimArm::injectError(int32_t code) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (code == 0) {
        impl_->safety.clearError();
    } else {
        impl_->motion.halt();
        impl_->safety.raise(code);
    }
    impl_->publishLocked();
}

void SimArm::setAppConnected(bool on) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->app = on;
    impl_->publishLocked();
}

void SimArm::setProfinetState(int32_t state) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->profinet = state;
    impl_->publishLocked();
}

void SimArm::setPowerDelay(double s) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (s >= 0 && std::isfinite(s)) impl_->safety.powerDelay = s;
}

void SimArm::setEnableDelay(double s) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (s >= 0 && std::isfinite(s)) impl_->safety.enableDelay = s;
}

void SimArm::setPowerRefuse(bool on) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->safety.powerRefuse = on;
}

void SimArm::setPowerHang(bool on) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->safety.powerHang = on;
}

}  // namespace srciport
