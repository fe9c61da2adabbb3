// SPDX-License-Identifier: Apache-2.0
#include "command_runner.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "command_table.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/status_word.hpp"

namespace srci_plc::cli {

namespace {

JogMode jog_mode(const std::string& word) {
    if (word == "frame") return JogMode::Frame;
    if (word == "tool") return JogMode::Tool;
    if (word == "joint") return JogMode::Joint;
    throw UsageError("jog mode must be frame, tool or joint, not '" + word + "'");
}

const CommandDef& lookup(const std::string& name) {
    const CommandDef* def = find_command(name);
    if (def == nullptr) throw UsageError("unknown command '" + name + "' (see --help)");
    return *def;
}

// Positional words become the command's named parameters, in table order. The values after the
// last positional word may also come by name, as each answer line prints them (`write-tool tool=1
// x=0 ...`), so a printed command can be pasted back.
ParamValues positional_values(const CommandDef& def, const CommandLine& line) {
    size_t given = line.positional.size();
    while (given < def.positional.size() && line.values.count(def.positional[given]) != 0) ++given;
    if (const CliCommand* c = find_cli_command(line.name)) check_value_count(*c, given);
    if (line.positional.size() > def.positional.size())
        throw UsageError(line.name + ": too many values (expected at most " + std::to_string(def.positional.size()) +
                         ")");
    ParamValues v = line.values;
    for (size_t i = 0; i < line.positional.size(); ++i) {
        const std::string& key = def.positional[i];
        if (v.count(key)) throw UsageError(line.name + ": " + key + " given twice");
        v[key] = parse_number(line.positional[i], key);
    }
    return v;
}

// Values the wire could carry but the robot refuses are caught here, before anything moves.
void check_range(const std::string& command, const ParamValues& v, const std::string& key, double lo, double hi,
                 const char* why) {
    const auto it = v.find(key);
    if (it != v.end() && (it->second < lo || it->second > hi))
        throw UsageError(command + ": " + key + " must be " + why);
}

struct JogRequest {
    JogMode mode;
    std::string axis;
    ParamValues values;
    int duration_ms = 1000;
};

JogRequest jog_request(const CommandLine& line) {
    check_value_count(*find_cli_command("jog"), line.positional.size());
    JogRequest j{jog_mode(line.positional[0]), line.positional[1], line.values};
    if (auto it = j.values.find("duration"); it != j.values.end()) {
        if (it->second < 0 || it->second > 600000) throw UsageError("duration must be 0..600000 ms");
        j.duration_ms = static_cast<int>(it->second);
        j.values.erase(it);
    }
    // A negative increment would silently become a continuous jog.
    check_range("jog", j.values, "inc", 0, 1e6, "0 (continuous) or a positive distance [mm]");
    check_range("jog", j.values, "rot", 0, 360, "0 (continuous) or a positive angle 0..360 [deg]");
    check_range("jog", j.values, "override", 0, 100, "0..100 percent");
    const std::string bit = RobotCommands::jog_direction(j.axis);
    if (bit.empty()) throw UsageError("jog axis must look like x+, rz-, j3+ or e1-, not '" + j.axis + "'");
    return j;
}

void check_encodable(const CommandDef& def, const ParamValues& v) {
    try {
        encode_command(def, v, 1, Timestamp{});
    } catch (const std::invalid_argument& e) {
        throw UsageError(def.name + ": " + e.what());
    }
}

// MS given as a value or, as the answer line prints it, as ms=.
double sleep_ms(const CommandLine& line) {
    const bool named = line.positional.empty() && line.values.size() == 1 && line.values.count("ms") != 0;
    if (!named && !line.values.empty()) throw UsageError("sleep takes MS only");
    check_value_count(*find_cli_command("sleep"), named ? 1 : line.positional.size());
    const double ms = named ? line.values.at("ms") : parse_number(line.positional[0], "sleep");
    if (ms < 0 || ms > 3600000) throw UsageError("sleep must be 0..3600000 ms");
    return ms;
}

// Commands with a verb of their own or that the session runs itself.
bool without_values(const std::string& n) { return n == "status" || n == "wait-done" || n == "disable"; }

double elapsed_since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

}  // namespace

void validate_command(const CommandLine& line) {
    const std::string& n = line.name;
    if (without_values(n)) {
        if (!line.positional.empty() || !line.values.empty()) throw UsageError(n + " takes no values");
        return;
    }
    if (n == "sleep") {
        (void)sleep_ms(line);
        return;
    }
    if (n == "run") throw UsageError("run cannot be nested in a script");
    if (n == "read-messages") throw UsageError(n + " is run by the session itself");
    if (n == "jog") {
        JogRequest j = jog_request(line);
        j.values["mode"] = static_cast<double>(j.mode);
        j.values[RobotCommands::jog_direction(j.axis)] = 1;
        check_encodable(lookup("jog"), j.values);
        return;
    }
    const CommandDef& def = lookup(n);
    const ParamValues v = positional_values(def, line);
    if (n == "override") check_range(n, v, "override", 0, 100, "0..100 percent");
    check_encodable(def, v);
}

CommandRunner::CommandRunner(Client& client, int timeout_ms, bool force, Client::Progress progress)
    : client_(client), commands_(client, timeout_ms, force, std::move(progress)), timeout_ms_(timeout_ms) {}

Outcome CommandRunner::run(const CommandLine& line) {
    validate_command(line);
    const std::string& n = line.name;
    if (n == "status") return run_status();
    if (n == "wait-done") return run_wait_done();
    if (n == "sleep") return run_sleep(line);
    try {
        if (n == "jog") return run_jog(line);
        return execute(line);
    } catch (const NotSupportedError& e) {
        Outcome o;
        o.command = n;
        o.ok = false;
        o.note = std::string(e.what()) + " (use --force to send it anyway)";
        return o;
    }
}

Outcome CommandRunner::finish(Outcome o, const CommandResult& r) {
    o.has_result = true;
    o.result = r;
    o.elapsed_ms = r.elapsed_ms;
    o.ok = r.ok();
    if (r.timed_out) o.note = "no final answer within " + std::to_string(timeout_ms_) + " ms";
    return o;
}

Outcome CommandRunner::execute(const CommandLine& line) {
    const std::string& n = line.name;
    Outcome o;
    o.command = n;
    if (n == "disable") {
        o.cmd_type = cmd_type::kEnableRobot;  // Enable=0 on the wire; "disable" says it
        return finish(std::move(o), commands_.disable());
    }
    const CommandDef& def = lookup(n);
    const ParamValues v = positional_values(def, line);
    o.cmd_type = def.cmd_type;
    // The command's own values first, in their order, whether given by position or by name.
    const auto isPositional = [&](const std::string& key) {
        return std::find(def.positional.begin(), def.positional.end(), key) != def.positional.end();
    };
    for (const std::string& key : def.positional)
        if (const auto it = v.find(key); it != v.end()) o.sent.emplace_back(key, it->second);
    for (const auto& [k, x] : line.values)
        if (!isPositional(k)) o.sent.emplace_back(k, x);

    if (n == "enable") {
        o = finish(std::move(o), commands_.enable(v));
        if (o.ok && !o.result.enabled) {
            o.ok = false;
            if (o.note.empty()) o.note = enable_refusal();
        } else if (o.result.timed_out && !o.result.enabled) {
            o.note += "; " + enable_refusal();
        }
        return o;
    }
    if (n == "exchange-config") return finish(std::move(o), commands_.exchange_config(v));
    return finish(std::move(o), commands_.run(n, v, !line.no_wait));
}

Outcome CommandRunner::stop_after_interrupt() {
    Outcome o;
    o.command = "stop";
    if (!client_.motion_pending()) {
        o.note = "interrupted; nothing was moving";
        return o;
    }
    const CommandDef& def = lookup("stop");
    o.cmd_type = def.cmd_type;
    o = finish(std::move(o), client_.execute(def, {}, WaitFor::Final, kStopWaitMs));
    o.note = o.ok ? "interrupted: robot stopped (GroupStop Done)"
                  : "interrupted: GroupStop sent, no confirmation within " + std::to_string(kStopWaitMs) + " ms";
    return o;
}

std::string CommandRunner::enable_refusal() const {
    const auto& m = client_.messages();
    for (auto it = m.rbegin(); it != m.rend(); ++it)
        if (it->severity >= kSeverityError)
            return "robot refused to enable: " + describe_error_code(it->error_code) +
                   (it->text.empty() ? "" : " [" + it->text + "]");
    // Its message may have gone to an earlier connection; the status word still shows the error.
    if (decode_status_word(client_.last_telegram().status).error_pending)
        return "robot did not report Enabled while an error is pending: release any emergency or protective "
               "stop, then `srci-plc reset`";
    return "robot did not report Enabled";
}

Outcome CommandRunner::run_jog(const CommandLine& line) {
    const JogRequest j = jog_request(line);
    Outcome o;
    o.command = line.name;
    o.cmd_type = cmd_type::kGroupJog;
    o.words = {{"mode", line.positional[0]}, {"axis", j.axis}};
    for (const auto& [k, x] : j.values) o.sent.emplace_back(k, x);
    if (j.duration_ms != 1000) o.sent.emplace_back("duration", j.duration_ms);
    const auto t0 = std::chrono::steady_clock::now();
    o = finish(std::move(o), commands_.jog(j.mode, j.axis, j.values, j.duration_ms));
    o.elapsed_ms = elapsed_since(t0);
    return o;
}

Outcome CommandRunner::run_status() {
    Outcome o;
    o.command = "status";
    client_.cycle();
    const RobotTelegram& t = client_.last_telegram();
    const auto add = [&](const std::string& k, FieldValue v, FieldType type = FieldType::F32) {
        o.info.push_back(DecodedField{k, type, std::move(v)});
    };
    add("telegram_state", std::string(telegram_state_name(t.telegram_state)), FieldType::Chars);
    add("status", describe_status_word(decode_status_word(t.status)), FieldType::Chars);
    add("override", t.override_raw / 100.0, FieldType::Percent);
    if (t.cartesian) {
        for (int i = 0; i < 6; ++i)
            add(kPoseFieldNames[i], static_cast<double>(t.cartesian->pose[static_cast<size_t>(i)]));
        add("config", static_cast<double>(t.cartesian->config), FieldType::U8);
        add("tool", static_cast<double>(t.cartesian->used_tool_no), FieldType::U8);
        add("frame", static_cast<double>(t.cartesian->used_frame_no), FieldType::U8);
    }
    if (t.joints)
        for (int i = 0; i < 6; ++i)
            add("j" + std::to_string(i + 1), static_cast<double>(t.joints->joints[static_cast<size_t>(i)]));
    for (const auto& f : client_.robot_data())
        if (f.name == "manufacturer" || f.name == "robot_id" || f.name == "firmware") o.info.push_back(f);
    add("length_acr", static_cast<double>(client_.length_acr()), FieldType::U16);
    return o;
}

Outcome CommandRunner::run_wait_done() {
    Outcome o;
    o.command = "wait-done";
    const auto t0 = std::chrono::steady_clock::now();
    std::vector<CommandResult> finished;
    const bool idle = commands_.wait_done(finished);
    o.elapsed_ms = elapsed_since(t0);
    for (const CommandResult& r : finished) {
        std::string text = cmd_state_name(r.header.state);
        if (r.header.code != 0) {
            char code[8];
            std::snprintf(code, sizeof code, "0x%04X", r.header.code);
            text += std::string(" ") + code;
            if (const char* name = error_code_name(r.header.code)) text += std::string(" ") + name;
        }
        o.info.push_back(DecodedField{r.def->name + "#" + std::to_string(r.cmd_id), FieldType::Chars, text});
        if (!r.ok()) o.ok = false;
    }
    if (!idle) {
        o.ok = false;
        o.note = "motion still running after " + std::to_string(timeout_ms_) + " ms";
    }
    return o;
}

Outcome CommandRunner::run_sleep(const CommandLine& line) {
    Outcome o;
    o.command = "sleep";
    const double ms = sleep_ms(line);
    o.sent.emplace_back("ms", ms);
    const auto t0 = std::chrono::steady_clock::now();
    client_.run_for(static_cast<int>(ms));
    o.elapsed_ms = elapsed_since(t0);
    return o;
}

}  // namespace srci_plc::cli
