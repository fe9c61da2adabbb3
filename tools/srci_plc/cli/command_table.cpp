// SPDX-License-Identifier: Apache-2.0
#include "command_table.hpp"

#include <algorithm>
#include <sstream>

#include "cli_options.hpp"

namespace srci_plc::cli {

namespace {

const char* kMotionKeys =
    "Keys: vel acc (percent, default 10) dec jerk (percent, -1 = robot default) tool frame\n"
    "blending blend0 blend1 config turn_mode ori_mode config_s config_e config_w move_time e1..e6.\n"
    "Waits for Done unless --no-wait is given; Ctrl-C stops the robot (GroupStop).";
const char* kCommon = "\nAny command also takes exec_mode=N and priority=N.";

std::vector<CliCommand> build() {
    const std::string joints = "J1 J2 J3 J4 J5 J6";
    const std::string pose = "X Y Z RX RY RZ";
    std::vector<CliCommand> c = {
        {"status", "", "telegram state, status word and position", "", {0}},
        {"reset", "", "GroupReset: acknowledge pending errors", "", {0}},
        {"enable",
         "",
         "EnableRobot: power the arm and wait for Enabled",
         "Keys: step_mode=N hold_to_run=0|1 manual_step=0|1.\n"
         "Stops waiting at the first error the robot reports and says why.",
         {0}},
        {"disable", "", "EnableRobot update with Enable=0", "", {0}},
        {"move-axes", joints, "MoveAxesAbsolute to joint angles [deg]", kMotionKeys, {6}, true},
        {"move-linear", pose, "MoveLinearAbsolute to a pose [mm, deg]", kMotionKeys, {6}, true},
        {"move-direct", pose, "MoveDirectAbsolute to a pose [mm, deg]", kMotionKeys, {6}, true},
        {"jog",
         "MODE AXIS",
         "GroupJog: MODE frame|tool|joint, AXIS x+ y- z+ rx- ry+ rz- j1+..j6- e1+..e6-",
         "Keys: inc=MM rot=DEG (>= 0; > 0 moves one increment and waits for DistanceReached,\n"
         "0 or absent jogs continuously for duration=MS, default 1000) override=PCT (0..100,\n"
         "default 5) tool=N frame=N.",
         {2}},
        {"stop", "", "GroupStop: stop and drop all motion", "", {0}},
        {"pause", "", "GroupInterrupt: pause motion", "", {0}},
        {"continue", "", "GroupContinue: resume paused motion", "", {0}},
        {"override", "PCT", "ChangeSpeedOverride: 0..100 percent", "", {1}},
        {"read-position", "", "ReadActualPosition", "Keys: tool=N frame=N (255 = current, the default).", {0}},
        {"read-tool", "TOOL", "ReadToolData", "", {1}},
        {"write-tool",
         "TOOL " + pose,
         "WriteToolData: TCP relative to the flange",
         "Keys: id=N load=N external=0|1.",
         {7}},
        {"read-frame", "FRAME", "ReadFrameData", "", {1}},
        {"write-frame", "FRAME " + pose, "WriteFrameData: user frame", "Keys: reference=N.", {7}},
        {"read-load", "LOAD", "ReadLoadData", "", {1}},
        {"write-load",
         "LOAD MASS [X Y Z]",
         "WriteLoadData: mass [kg] and centre of mass [mm]",
         "Keys: rx= ry= rz= ix= iy= iz=.",
         {2, 5}},
        {"read-dynamics", "", "ReadRobotReferenceDynamics", "", {0}},
        {"write-dynamics", "VEL ACC [DEC JERK]", "WriteRobotReferenceDynamics", "", {2, 4}},
        {"read-default-dynamics", "", "ReadRobotDefaultDynamics", "", {0}},
        {"write-default-dynamics", "VEL% ACC% [DEC% JERK%]", "WriteRobotDefaultDynamics", "", {2, 4}},
        {"read-limits", "", "ReadRobotSWLimits", "", {0}},
        {"write-limits",
         "",
         "WriteRobotSWLimits",
         "Keys: min_j1= .. min_j6= max_j1= .. max_j6= [min_e1= max_e1= ...].",
         {0}},
        {"read-workarea", "AREA", "ReadWorkArea", "", {1}},
        {"write-workarea",
         "AREA",
         "WriteWorkArea",
         "Keys: type= x1= x2= y1= y2= z1= z2= radius= frame= reaction= ...",
         {1}},
        {"fk", joints, "CalculateForwardKinematic", "Keys: tool=N frame=N.", {6}},
        {"ik", pose, "CalculateInverseKinematic", "Keys: config=BITS tool=N frame=N.", {6}},
        {"read-robot-data", "", "ReadRobotData", "", {0}},
        {"exchange-config",
         "",
         "update of the running ExchangeConfiguration",
         "Keys: log_level wait_at_blending allow_sec_seq allow_dynamic_blending delay_time\n"
         "wait_for_cmds lifesign_timeout sync_delay sync_reaction data_in_sync data_enable_sync.",
         {0}},
        {"sleep", "MS", "keep cycling for MS milliseconds", "", {1}},
        {"wait-done", "", "wait until no motion command is left", "", {0}},
        {"run",
         "FILE",
         "execute FILE, one command per line",
         "'#' starts a comment, blank lines are ignored. The whole file is checked before\n"
         "connecting; execution stops at the first failing line.",
         {1}},
        {"trace",
         "FILE",
         "print a pnio-sim --trace file, one line per event (no robot needed)",
         "Connection changes, interface state, each command sent with its parameters, each state\n"
         "change of a command with its result, robot messages and damaged telegrams. With --json one\n"
         "object per event. --tool-frame-always: the PLC sent ToolNo/FrameNo (bytes 18-19) without\n"
         "requesting the cyclic Cartesian position.",
         {1}},
    };
    for (CliCommand& cmd : c)
        if (cmd.name != "run" && cmd.name != "trace" && cmd.name != "sleep" && cmd.name != "status" &&
            cmd.name != "wait-done")
            cmd.details += kCommon;
    return c;
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) {
        w.erase(std::remove(w.begin(), w.end(), '['), w.end());
        w.erase(std::remove(w.begin(), w.end(), ']'), w.end());
        out.push_back(w);
    }
    return out;
}

std::string join(const std::vector<std::string>& v, size_t from, size_t to) {
    std::string out;
    for (size_t i = from; i < to && i < v.size(); ++i) out += (out.empty() ? "" : " ") + v[i];
    return out;
}

}  // namespace

const std::vector<CliCommand>& cli_commands() {
    static const std::vector<CliCommand> table = build();
    return table;
}

const CliCommand* find_cli_command(const std::string& name) {
    for (const CliCommand& c : cli_commands())
        if (c.name == name) return &c;
    return nullptr;
}

void check_value_count(const CliCommand& cmd, size_t given) {
    if (std::find(cmd.counts.begin(), cmd.counts.end(), given) != cmd.counts.end()) return;
    const size_t most = *std::max_element(cmd.counts.begin(), cmd.counts.end());
    if (most == 0) throw UsageError(cmd.name + " takes no values (key=value only)");
    const std::string usage = cmd.name + " " + cmd.values;
    if (given > most)
        throw UsageError(usage + ": " + std::to_string(given) + " values given, at most " + std::to_string(most));
    // The smallest accepted count above `given` says what is missing.
    size_t next = most;
    for (size_t n : cmd.counts)
        if (n > given && n < next) next = n;
    throw UsageError(usage + ": missing " + join(words(cmd.values), given, next));
}

}  // namespace srci_plc::cli
