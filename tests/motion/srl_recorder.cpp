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

void record(Call c) {
    std::lock_guard<std::mutex> lock(mu);
    c.cycle = currentCycle;
    recorded.push_back(std::move(c));
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

int cycle() {
    std::lock_guard<std::mutex> lock(mu);
    return currentCycle;
}

std::vector<Call> calls() {
    std::lock_guard<std::mutex> lock(mu);
    return recorded;
}

std::vector<Call> callsOf(const std::string& fn) {
    std::vector<Call> out;
    for (const Call& c : calls())
        if (c.fn == fn) out.push_back(c);
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
    srl_double::Call c;
    c.fn = "motion_state";
    c.id = id;
    c.state = state;
    c.errorCode = errorCode;
    srl_double::record(c);
}

namespace {
void recordPlain(const char* fn) {
    srl_double::Call c;
    c.fn = fn;
    srl_double::record(c);
}
}  // namespace

void srl_set_interrupt_completed() { recordPlain("interrupt_completed"); }
void srl_set_stop_completed() { recordPlain("stop_completed"); }

void srl_set_jog_distance_togo(int distanceReached) {
    srl_double::Call c;
    c.fn = "jog_distance_togo";
    c.state = distanceReached;
    srl_double::record(c);
}

// Like the interpreter, a new error gets a message id written back.
int srl_report_error_warning(int8_t& id, bool isProcessed, uint16_t code, int8_t severity, std::string info) {
    srl_double::Call c;
    c.fn = "error_warning";
    if (!isProcessed) {
        std::lock_guard<std::mutex> lock(srl_double::mu);
        id = srl_double::nextMsgId++;
    }
    c.msgId = id;
    c.processed = isProcessed;
    c.code = code;
    c.severity = severity;
    c.info = std::move(info);
    srl_double::record(c);
    return 0;
}
