// SPDX-License-Identifier: Apache-2.0
// A PLC client connected to the in-process adapter. Suites derive from PlcSession; their cases
// share one client.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "inprocess_adapter.h"
#include "plc_command.h"
#include "srci_plc/client.hpp"
#include "srciport/sim_arm.h"

namespace srci_test {

using srci_plc::CommandResult;
using srci_plc::ParamValues;
using srci_plc::WaitFor;

constexpr uint8_t kActive = 4, kInterrupted = 5, kDone = 10, kAborted = 14, kError = 15;

inline double field(const srci_plc::CommandResult& r, const std::string& name) {
    for (const auto& f : r.data)
        if (f.name == name && std::holds_alternative<double>(f.value)) return std::get<double>(f.value);
    ADD_FAILURE() << "no field " << name;
    return 0;
}

// A joint move of J1 from the pose the suites work in.
inline ParamValues axes(double j1, double vel = 80, double acc = 80) {
    return {{"j1", j1}, {"j2", -20}, {"j3", 80}, {"j4", 0}, {"j5", 60}, {"j6", 0}, {"vel", vel}, {"acc", acc}};
}

inline SrciPortStat arm() {
    SrciPortStat s;
    SimArm::instance().snapshot(s);
    return s;
}

class PlcSession : public ::testing::Test {
protected:
    // The adapter's start-up, then a connected client whose every cycle advances the arm by one.
    static void SetUpTestSuite() {
        InProcessAdapter::startUp();
        transport = new InProcessAdapter();
        srci_plc::ClientOptions options;
        options.cycle_ms = 0;
        options.lifesign_timeout_ms = 5000;
        client = new srci_plc::Client(*transport, options);
        client->connect();
    }

    static CommandResult run(const char* name, const ParamValues& values = {}) {
        collect();
        return client->execute(command(name), values, WaitFor::Final, 60000);
    }
    // Final answers that arrived while the test waited for something else, by CmdID.
    static void collect() {
        for (auto& r : client->take_completed()) finished[r.cmd_id] = r;
    }
    static CommandResult finalOf(uint16_t id) {
        collect();
        const auto it = finished.find(id);
        if (it == finished.end()) return client->wait(id, WaitFor::Final, 60000);
        const CommandResult r = it->second;
        finished.erase(it);
        return r;
    }

    // Runs cycles until the command shows `state` (or ends); returns the state it stopped at.
    static int until(uint16_t id, uint8_t state) {
        return client
            ->wait_until(
                id,
                [&](const srci_plc::AcrEntry& e) {
                    return e.last.state == state || srci_plc::cmd_state::is_final(e.last.state);
                },
                60000)
            .header.state;
    }

    static void cycles(int n) {
        for (int i = 0; i < n; ++i) client->cycle();
    }

    static inline InProcessAdapter* transport = nullptr;
    static inline srci_plc::Client* client = nullptr;
    static inline std::map<uint16_t, CommandResult> finished;
};

}  // namespace srci_test
