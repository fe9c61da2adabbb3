// SPDX-License-Identifier: Apache-2.0
#include "srl_recorder.h"

#include <mutex>

#include "srl/srl_api.h"

namespace srl_double {
namespace {

std::mutex mu;
std::vector<Call> recorded;
int currentCycle = 0;
int8_t nextMsgId = 1;

// Returns the message id: like the interpreter, a new error gets one.
int8_t record(Call c) {
    std::lock_guard<std::mutex> lock(mu);
    c.cycle = currentCycle;
    if (c.fn == "error_warning" && !c.processed) c.msgId = nextMsgId++;
    recorded.push_back(c);
    return c.msgId;
}

}  // namespace

void reset() {
    std::lock_guard<std::mutex> lock(mu);
    recorded.clear();
    currentCycle = 0;
}

void nextCycle() {
    std::lock_guard<std::mutex> lock(mu);
    ++currentCycle;
}

std::vector<Call> callsOf(const std::string& fn) {
    std::lock_guard<std::mutex> lock(mu);
    std::vector<Call> out;
    for (const Call& c : recorded)
        if (fn.empty() || c.fn == fn) out.push_back(c);
    return out;
}

std::vector<Call> statesOf(int id) {
    std::vector<Call> out;
    for (const Call& c : callsOf("motion_state"))
        if (c.id == id) out.push_back(c);
    return out;
}

}  // namespace srl_double

void srl_set_robot_motion_state_1(int id, int state, int errorCode, int) {
    srl_double::record({.fn = "motion_state", .id = id, .state = state, .errorCode = errorCode});
}
void srl_set_interrupt_completed() { srl_double::record({.fn = "interrupt_completed"}); }
void srl_set_stop_completed() { srl_double::record({.fn = "stop_completed"}); }
void srl_set_jog_distance_togo(int distanceReached) {
    srl_double::record({.fn = "jog_distance_togo", .state = distanceReached});
}

int srl_report_error_warning(int8_t& id, bool isProcessed, uint16_t code, int8_t severity, std::string info) {
    id = srl_double::record({.fn = "error_warning",
                             .msgId = id,
                             .processed = isProcessed,
                             .code = code,
                             .severity = severity,
                             .info = std::move(info)});
    return 0;
}
