// The PLC's view matches the robot under faults, driven through real SRCI telegrams from the
// PLC client library with the adapter's cycle and the simulated arm in this process. The cases
// run in order in one process and build on the enabled robot of the first one.
#include <gtest/gtest.h>

#include <cmath>
#include <variant>

#include "inprocess_adapter.h"
#include "srci_plc/command_catalog.hpp"

using namespace srci_test;
using srci_plc::CommandResult;
using srci_plc::ParamValues;
using srci_plc::WaitFor;
using srciport::SimArm;

namespace {

constexpr uint8_t kActive = 4, kInterrupted = 5, kDone = 10, kAborted = 14, kError = 15;

const srci_plc::CommandDef& command(const char* name) {
    const auto* def = srci_plc::find_command(name);
    if (!def) throw std::runtime_error(std::string("unknown command ") + name);
    return *def;
}

double field(const CommandResult& r, const std::string& name) {
    for (const auto& f : r.data)
        if (f.name == name && std::holds_alternative<double>(f.value)) return std::get<double>(f.value);
    ADD_FAILURE() << "no field " << name;
    return 0;
}

SrciPortStat arm() {
    SrciPortStat s;
    SimArm::instance().snapshot(s);
    return s;
}

ParamValues axes(double j1, double vel = 80) {
    return {{"j1", j1}, {"j2", -20}, {"j3", 80}, {"j4", 0}, {"j5", 60}, {"j6", 0}, {"vel", vel}, {"acc", 80}};
}

class SafetyWire : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        InProcessAdapter::startUp();
        transport = new InProcessAdapter();
        srci_plc::ClientOptions options;
        options.cycle_ms = 0;  // the simulated arm advances one cycle per telegram
        options.lifesign_timeout_ms = 5000;
        client = new srci_plc::Client(*transport, options);
        client->connect();
        const uint16_t id = client->submit(command("enable"), {{"enable", 1}});
        ASSERT_TRUE(client->wait(id, WaitFor::Enabled, 60000).enabled);
    }

    static CommandResult run(const char* name, const ParamValues& values = {}) {
        return client->execute(command(name), values, WaitFor::Final, 60000);
    }
    static int until(uint16_t id, uint8_t state) {
        return client
            ->wait_until(id, [&](const srci_plc::AcrEntry& e) {
                return e.last.state == state || srci_plc::cmd_state::is_final(e.last.state);
            }, 60000)
            .header.state;
    }
    static void cycles(int n) {
        for (int i = 0; i < n; ++i) client->cycle();
    }
    static void reset() { ASSERT_TRUE(run("reset").ok()); }

    static InProcessAdapter* transport;
    static srci_plc::Client* client;
};

InProcessAdapter* SafetyWire::transport = nullptr;
srci_plc::Client* SafetyWire::client = nullptr;

TEST_F(SafetyWire, AMoveThatFailsInTheControllerIsAnErrorThePlcCannotMiss) {
    ASSERT_EQ(run("move-axes", axes(0)).header.state, kDone);
    const uint16_t id = client->submit(command("move-axes"), axes(-40, 10));
    cycles(50);
    SimArm::instance().injectError(0xF0018);  // a path point out of reach
    const auto failed = client->wait(id, WaitFor::Final, 30000);
    EXPECT_EQ(failed.header.state, kError);
    EXPECT_EQ(failed.header.code, 0x6C03);
    EXPECT_EQ(failed.header.severity, 28);
    reset();
}

}  // namespace
