// SPDX-License-Identifier: Apache-2.0
// State of the simulated arm shared by its lifecycle/status part (sim_arm.cpp) and its
// command part (sim_commands.cpp). Everything here is guarded by `mu`.
#pragma once

#include "control_channel.h"
#include "motion_queue.h"
#include "safety.h"
#include "srciport/euler.h"
#include "srciport/sim_arm.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace srciport {

struct SimArm::Impl {
    mutable std::mutex mu;
    Kinematics kin;
    Safety safety;
    MotionQueue motion;
    double now = 0;
    double ratio = 1;
    double tools[SRCIPORT_TOOL_NUM][6] = {};
    double frames[SRCIPORT_FRAME_NUM][6] = {};
    uint32_t toolId = 0, frameId = 0;
    SrciPortPayload payload = {};
    LimitTable hard{}, soft{};
    // A soft bound that would cross the other bound of its joint is held until that other bound
    // is written: the pair then takes effect together, or is refused together.
    struct HeldBound {
        bool held = false;
        double value = 0;
    };
    HeldBound heldMin[6], heldMax[6];
    int setSoftBound(int joint, int side, double value);
    double refDyn[4] = {}, defDyn[4] = {};
    bool app = false;
    int32_t profinet = SRCIPORT_PROFINET_RUNNING;
    SrciPortStat status;

    bool manual = false;
    std::mutex startMu;  // serialises start-up of the thread and the channel
    std::thread thread;
    std::atomic<bool> running{false};
    // While the arm stands with nothing queued or due, the tick thread waits here instead of
    // ticking; any state change (publishLocked) or power/enable request wakes it at once.
    bool parked = false;
    std::condition_variable wake;
    ControlChannel channel;

    void resetLocked();
    void tickLocked(double dt);
    void publishLocked();
    void wakeLocked() {
        if (!parked) return;
        parked = false;
        wake.notify_one();
    }
    bool quietLocked() const { return motion.idle() && !motion.moving() && !safety.pending(); }
    MotionContext context() const {
        return {&kin, soft, poseToTransform(tools[toolId]), poseToTransform(frames[frameId])};
    }
    void threadMain();
};

}  // namespace srciport
