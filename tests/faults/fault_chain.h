// SPDX-License-Identifier: Apache-2.0
// The chain an integrator runs (pnio-sim, srci_server with its simulated arm) plus an in-process
// PLC on the gateway, and a watch on the arm that times how it comes to a standstill.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "child_process.h"
#include "srci_plc/client.hpp"
#include "srci_plc/robot_commands.hpp"

namespace srci_test {

using Joints = std::array<double, 6>;

// Milliseconds from the reference time (the fault, or the PLC's last telegram).
struct StopTiming {
    double lifesignLostMs = -1;  // the robot's telegram first shows TelegramState 165
    double standstillMs = -1;    // the joints stop changing for good
    Joints heldAt{};
};

class FaultChain {
public:
    static constexpr int kLifeSignTimeoutMs = 1000;  // sent in ExchangeConfiguration

    FaultChain();
    ~FaultChain();

    void connectPlc();
    void dropPlc() {
        commands.reset();
        client.reset();
        transport.reset();
    }
    std::string arm(const std::string& request) const;
    bool armFlag(const std::string& flag) const { return arm("flags").find(flag) != std::string::npos; }
    Joints joints() const;
    // The robot's TelegramState as it stands in the process image (also without a PLC).
    int imageTelegramState() const;
    // Joint speed (deg/s, largest joint) over a short look while the PLC keeps cycling.
    double cruiseSpeed();
    // Watches the arm from `since` (steady-clock ms) until it stands still; the PLC keeps cycling
    // when it is connected and `plcCycles` is set. The arm's speed is not judged from outside:
    // on a loaded machine its ticks arrive in bursts.
    StopTiming watchStop(long long since, bool plcCycles);
    void cycleFor(int ms);

    TempDir dir;
    std::string port;
    std::unique_ptr<ChildProcess> pnio;
    std::unique_ptr<ChildProcess> server;
    std::unique_ptr<srci_plc::TcpTransport> transport;
    std::unique_ptr<srci_plc::Client> client;
    std::unique_ptr<srci_plc::RobotCommands> commands;
};

long long nowMs();

}  // namespace srci_test
