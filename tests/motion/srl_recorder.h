// SPDX-License-Identifier: Apache-2.0
// Recording double of the interpreter's report functions: every call is kept with its
// arguments and the test cycle in which it was made.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace srl_double {

struct Call {
    std::string fn;
    int cycle = 0;
    int id = 0;
    int state = 0;
    int errorCode = 0;
    int8_t msgId = 0;
    bool processed = false;
    uint16_t code = 0;
    int8_t severity = 0;
    std::string info = {};
};

void reset();
void nextCycle();
// The calls of one report function in call order; every call for fn "".
std::vector<Call> callsOf(const std::string& fn);
// Motion state reports for one command id, in call order.
std::vector<Call> statesOf(int id);

}  // namespace srl_double
