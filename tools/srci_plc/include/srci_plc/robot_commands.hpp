// SPDX-License-Identifier: Apache-2.0
#pragma once
// One function per robot command on top of a connected Client, with the waits
// a PLC program would do: motion waits for Done, enable waits for Enabled,
// disable and jog release their enable-type command by a parameter update.
#include <array>
#include <string>
#include <vector>

#include "srci_plc/client.hpp"

namespace srci_plc {

// The robot did not announce the command in RCSupportedFunctions.
class NotSupportedError : public ClientError {
public:
    using ClientError::ClientError;
};

enum class JogMode : uint8_t { Frame = 0, Tool = 1, Joint = 2 };

using Axes6 = std::array<double, 6>;  // J1..J6 [deg] or X Y Z [mm] RX RY RZ [deg]

class RobotCommands {
public:
    // force: send commands the robot does not announce as supported.
    RobotCommands(Client& client, int timeout_ms, bool force = false, Client::Progress progress = {});

    // Any catalog command by its name; wait = false returns after the first answer.
    CommandResult run(const std::string& name, const ParamValues& values, bool wait = true);

    CommandResult reset() { return run("reset", {}); }
    CommandResult enable(const ParamValues& options = {});
    CommandResult disable();
    CommandResult stop() { return run("stop", {}); }
    CommandResult pause() { return run("pause", {}); }
    CommandResult resume() { return run("continue", {}); }
    CommandResult override_speed(double percent) { return run("override", {{"override", percent}}); }

    CommandResult move_axes(const Axes6& joints, ParamValues options = {}, bool wait = true);
    CommandResult move_linear(const Axes6& pose, ParamValues options = {}, bool wait = true);
    CommandResult move_direct(const Axes6& pose, ParamValues options = {}, bool wait = true);
    // axis: "x+", "rz-", "j3+", "e1-" ...; an increment (options inc / rot > 0)
    // moves once and waits for DistanceReached, otherwise jogs for duration_ms.
    CommandResult jog(JogMode mode, const std::string& axis, ParamValues options = {}, int duration_ms = 1000);

    CommandResult read_position(int tool = 255, int frame = 255);
    CommandResult read_tool(int tool) { return run("read-tool", {{"tool", tool}}); }
    CommandResult write_tool(int tool, const Axes6& tcp, ParamValues options = {});
    CommandResult read_frame(int frame) { return run("read-frame", {{"frame", frame}}); }
    CommandResult write_frame(int frame, const Axes6& pose, ParamValues options = {});
    CommandResult read_load(int load) { return run("read-load", {{"load", load}}); }
    CommandResult write_load(int load, double mass, ParamValues options = {});
    CommandResult read_dynamics() { return run("read-dynamics", {}); }
    CommandResult write_dynamics(const ParamValues& values) { return run("write-dynamics", values); }
    CommandResult read_default_dynamics() { return run("read-default-dynamics", {}); }
    CommandResult write_default_dynamics(const ParamValues& values) { return run("write-default-dynamics", values); }
    CommandResult read_limits() { return run("read-limits", {}); }
    CommandResult write_limits(const ParamValues& values) { return run("write-limits", values); }
    CommandResult read_workarea(int area) { return run("read-workarea", {{"area", area}}); }
    CommandResult write_workarea(int area, ParamValues values);
    CommandResult forward_kinematics(const Axes6& joints, ParamValues options = {});
    CommandResult inverse_kinematics(const Axes6& pose, ParamValues options = {});
    // Parameter update of the session's ExchangeConfiguration.
    CommandResult exchange_config(const ParamValues& values);

    // Waits until no motion command is left; finished receives their final answers.
    bool wait_done(std::vector<CommandResult>& finished);

    static ParamValues joints_to_values(const Axes6& joints, ParamValues options);
    static ParamValues pose_to_values(const Axes6& pose, ParamValues options);
    // Jog direction word to the GroupJog bit name; empty if unknown.
    static std::string jog_direction(const std::string& axis);

private:
    const CommandDef& lookup(const std::string& name) const;

    Client& client_;
    int timeout_ms_;
    bool force_;
    Client::Progress progress_;
    uint16_t enable_id_ = 0;
};

}  // namespace srci_plc
