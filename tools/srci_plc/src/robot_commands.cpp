// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/robot_commands.hpp"

namespace srci_plc {

namespace {

ParamValues with_axes(const Axes6& values, ParamValues options, bool joints) {
    for (size_t i = 0; i < values.size(); ++i)
        options[joints ? "j" + std::to_string(i + 1) : std::string(kPoseFieldNames[i])] = values[i];
    return options;
}

bool distance_reached(const AcrEntry& e) {
    return cmd_state::is_final(e.last.state) || (e.last_payload.size() > 4 && (e.last_payload[4] & 0x02) != 0);
}

}  // namespace

RobotCommands::RobotCommands(Client& client, int timeout_ms, bool force, Client::Progress progress)
    : client_(client), timeout_ms_(timeout_ms), force_(force), progress_(std::move(progress)) {}

ParamValues RobotCommands::joints_to_values(const Axes6& joints, ParamValues options) {
    return with_axes(joints, std::move(options), true);
}

ParamValues RobotCommands::pose_to_values(const Axes6& pose, ParamValues options) {
    return with_axes(pose, std::move(options), false);
}

std::string RobotCommands::jog_direction(const std::string& axis) {
    if (axis.size() < 2) return {};
    const char sign = axis.back();
    if (sign != '+' && sign != '-') return {};
    const std::string name = axis.substr(0, axis.size() - 1);
    for (const char* p : kPoseFieldNames)
        if (name == p) return axis;
    // Joints share the X..RZ bits; external axes have their own.
    if (name.size() == 2 && name[1] >= '1' && name[1] <= '6') {
        if (name[0] == 'j') return std::string(kPoseFieldNames[name[1] - '1']) + sign;
        if (name[0] == 'e') return axis;
    }
    return {};
}

const CommandDef& RobotCommands::lookup(const std::string& name) const {
    const CommandDef* def = find_command(name);
    if (def == nullptr) throw ClientError("unknown command " + name);
    if (!force_ && !client_.supports(*def))
        throw NotSupportedError(name + " is not announced in the robot's RCSupportedFunctions");
    return *def;
}

CommandResult RobotCommands::run(const std::string& name, const ParamValues& values, bool wait) {
    const CommandDef& def = lookup(name);
    WaitFor what = WaitFor::Final;
    if (def.kind == CommandKind::EnableType) what = WaitFor::Enabled;
    if (def.kind == CommandKind::Motion && !wait) what = WaitFor::Answer;
    return client_.execute(def, values, what, timeout_ms_, progress_);
}

CommandResult RobotCommands::enable(const ParamValues& options) {
    const CommandDef& def = lookup("enable");
    ParamValues v = options;
    v["enable"] = 1;
    // Re-enabling a running EnableRobot is a parameter update, not a second instance.
    if (enable_id_ != 0) client_.update(enable_id_, v);
    else enable_id_ = client_.submit(def, v);
    // A robot that cannot enable (emergency stop, power fault) says so once, in its answer
    // or in a message; waiting on after that only repeats "Active".
    const size_t messages_before = client_.messages().size();
    const auto refused = [&](const AcrEntry& e) {
        if (cmd_state::is_final(e.last.state) || Client::enabled_flag(e)) return true;
        if (e.last.code != 0 && e.last.severity >= kSeverityError) return true;
        const auto& m = client_.messages();
        for (size_t i = messages_before; i < m.size(); ++i)
            if (m[i].severity >= kSeverityError) return true;
        return false;
    };
    const CommandResult r = client_.wait_until(enable_id_, refused, timeout_ms_, progress_);
    if (r.answered && cmd_state::is_final(r.header.state)) enable_id_ = 0;
    return r;
}

CommandResult RobotCommands::disable() {
    const CommandDef& def = lookup("enable");
    if (enable_id_ == 0) {
        // No EnableRobot of this session runs (e.g. a fresh invocation): send one with Enable = 0.
        return client_.execute(def, {{"enable", 0}}, WaitFor::Answer, timeout_ms_, progress_);
    }
    client_.update(enable_id_, {{"enable", 0}});
    const CommandResult r = client_.wait(enable_id_, WaitFor::Answer, timeout_ms_, progress_);
    if (r.answered && cmd_state::is_final(r.header.state)) enable_id_ = 0;
    return r;
}

CommandResult RobotCommands::move_axes(const Axes6& joints, ParamValues options, bool wait) {
    return run("move-axes", joints_to_values(joints, std::move(options)), wait);
}

CommandResult RobotCommands::move_linear(const Axes6& pose, ParamValues options, bool wait) {
    return run("move-linear", pose_to_values(pose, std::move(options)), wait);
}

CommandResult RobotCommands::move_direct(const Axes6& pose, ParamValues options, bool wait) {
    return run("move-direct", pose_to_values(pose, std::move(options)), wait);
}

CommandResult RobotCommands::jog(JogMode mode, const std::string& axis, ParamValues options, int duration_ms) {
    const CommandDef& def = lookup("jog");
    const std::string bit = jog_direction(axis);
    if (bit.empty()) throw ClientError("jog axis must look like x+, rz-, j3+ or e1-, not '" + axis + "'");
    options["mode"] = static_cast<double>(mode);
    options[bit] = 1;
    const uint16_t id = client_.submit(def, options);
    CommandResult r = client_.wait(id, WaitFor::Enabled, timeout_ms_, progress_);
    if (r.timed_out || cmd_state::is_final(r.header.state)) return r;

    const auto positive = [&](const char* key) { return options.count(key) && options[key] > 0; };
    if (positive("inc") || positive("rot")) {
        r = client_.wait_until(id, distance_reached, timeout_ms_, progress_);
        if (r.timed_out || cmd_state::is_final(r.header.state)) return r;
    } else {
        client_.run_for(duration_ms);
    }
    const CommandResult moved = r;
    // Releasing the jog: direction bit cleared and Enable = 0 in one update.
    client_.update(id, {{"enable", 0}, {bit, 0}});
    r = client_.wait(id, WaitFor::Answer, timeout_ms_, progress_);
    // Report what the jog achieved (DistanceReached ...) before its release.
    if (!moved.data.empty()) r.data = moved.data;
    return r;
}

CommandResult RobotCommands::read_position(int tool, int frame) {
    return run("read-position", {{"tool", tool}, {"frame", frame}});
}

CommandResult RobotCommands::write_tool(int tool, const Axes6& tcp, ParamValues options) {
    options["tool"] = tool;
    return run("write-tool", pose_to_values(tcp, std::move(options)));
}

CommandResult RobotCommands::write_frame(int frame, const Axes6& pose, ParamValues options) {
    options["frame"] = frame;
    return run("write-frame", pose_to_values(pose, std::move(options)));
}

CommandResult RobotCommands::write_load(int load, double mass, ParamValues options) {
    options["load"] = load;
    options["mass"] = mass;
    return run("write-load", options);
}

CommandResult RobotCommands::write_workarea(int area, ParamValues values) {
    values["area"] = area;
    return run("write-workarea", values);
}

CommandResult RobotCommands::forward_kinematics(const Axes6& joints, ParamValues options) {
    return run("fk", joints_to_values(joints, std::move(options)));
}

CommandResult RobotCommands::inverse_kinematics(const Axes6& pose, ParamValues options) {
    return run("ik", pose_to_values(pose, std::move(options)));
}

CommandResult RobotCommands::exchange_config(const ParamValues& values) {
    const uint16_t id = client_.exchange_config_id();
    client_.update(id, values);
    return client_.wait(id, WaitFor::Answer, timeout_ms_, progress_);
}

bool RobotCommands::wait_done(std::vector<CommandResult>& finished) {
    const bool idle = client_.wait_motion_idle(timeout_ms_, progress_);
    for (CommandResult& r : client_.take_completed())
        if (r.def != nullptr && r.def->kind == CommandKind::Motion) finished.push_back(std::move(r));
    return idle;
}

}  // namespace srci_plc
