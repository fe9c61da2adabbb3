// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/web_state_json.hpp"

#include <cstdio>

#include "pnio_sim/web_arm_model.hpp"
#include "srci_plc/cmd_type_names.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/status_word.hpp"
#include "srci_plc/wire_constants.hpp"

namespace pnio_sim::web {

namespace {

using nlohmann::json;

std::string hex(uint32_t v, int digits) {
    char b[16];
    std::snprintf(b, sizeof b, "0x%0*X", digits, v);
    return b;
}

json code_json(uint32_t code) {
    const char* name = code <= 0xFFFF ? srci_plc::error_code_name(static_cast<uint16_t>(code)) : nullptr;
    return {{"value", code}, {"hex", hex(code, 4)}, {"name", name ? json(name) : json(nullptr)}};
}

json severity_json(int severity) { return {{"value", severity}, {"name", srci_plc::severity_name(severity)}}; }

const char* control_name(uint8_t c) {
    static const char* names[] = {"NONE", "INITIALIZE", "RESUME", "RESET", "ACK_ERROR", "CLIENT_ERROR"};
    return c < 6 ? names[c] : "UNKNOWN";
}

const char* message_type_name(uint8_t t) {
    static const char* names[] = {"?", "RI", "RC", "RA", "CMD"};
    return t < 5 ? names[t] : "?";
}

std::string version_text(uint8_t v) { return std::to_string(v >> 5) + "." + std::to_string(v & 0x1F); }

json lifesign_json(uint8_t value, Millis changed, bool connected, Millis now) {
    return {{"value", value}, {"alive", connected && changed != 0 && now - changed <= kLifesignAliveMs}};
}

template <size_t N, class T>
json numbers(const std::array<T, N>& a) {
    json j = json::array();
    for (const T& v : a) j.push_back(static_cast<double>(v));
    return j;
}

json command_json(const CommandRecord& c) {
    const char* name = srci_plc::cmd_type_name(c.cmd_type);
    json history = json::array();
    for (const StateStep& s : c.history)
        history.push_back({{"state", srci_plc::cmd_state_name(s.state)}, {"at", s.at}});
    return {{"cmdId", c.cmd_id},
            {"type", c.cmd_type},
            {"name", name ? name : "CmdType " + std::to_string(c.cmd_type)},
            {"execMode", c.exec_mode},
            {"parSeq", c.par_seq},
            {"updates", c.updates},
            {"state", c.history.empty() ? "Sent" : srci_plc::cmd_state_name(c.history.back().state)},
            {"history", history},
            {"severity", severity_json(c.severity)},
            {"code", code_json(c.code)},
            {"sent", c.sent},
            {"finished", c.finished},
            {"note", c.note}};
}

}  // namespace

json link_json(const LinkState& l, Millis now) {
    const srci_plc::StatusWord s = srci_plc::decode_status_word(l.status);
    static const char* seq[] = {"idle", "executing", "interrupted", "invalid"};
    return {
        {"connected", l.connected},
        {"connection", l.connection_note},
        {"exchanges", l.exchanges},
        {"lastExchange", l.last_exchange},
        {"telegramState", {{"value", l.telegram_state}, {"name", srci_plc::telegram_state_name(l.telegram_state)}}},
        {"control", control_name(l.control)},
        {"version", {{"plc", version_text(l.plc_version)}, {"robot", version_text(l.robot_version)}}},
        {"lifesign",
         {{"plc", lifesign_json(l.plc_lifesign, l.plc_lifesign_changed, l.connected, now)},
          {"robot", lifesign_json(l.robot_lifesign, l.robot_lifesign_changed, l.connected, now)}}},
        {"telegramNumber", {{"plcToRobot", hex(l.tn_plc_to_rob, 4)}, {"robotToPlc", hex(l.tn_rob_to_plc, 4)}}},
        {"status",
         {{"raw", hex(l.status, 8)},
          {"enabled", s.enabled},
          {"moving", s.is_moving},
          {"errorPending", s.error_pending},
          {"paused", s.primary_paused},
          {"blending", s.is_blending},
          {"secondaryActive", s.secondary_active},
          {"restartInProgress", s.restart_in_progress},
          {"collision", s.collision_detected},
          {"sequence", seq[s.sequence_state & 3]},
          {"operationMode", srci_plc::operation_mode_name(s.operation_mode)}}},
        {"override", l.override_raw / 100.0},
        {"decodeErrors", l.decode_errors},
        {"lastDecodeError", l.last_decode_error},
    };
}

json robot_json(const CyclicRobot& cyclic, const ArmSample& arm, const SlowState* slow, Millis now) {
    const bool arm_fresh = !arm.path.empty() && arm.at != 0 && now - arm.at <= kArmSampleMaxAgeMs;
    const std::string arm_source = "arm control channel " + arm.path;
    json j;
    std::optional<JointValues> q;
    if (cyclic.joints) {
        q = JointValues{};
        for (size_t i = 0; i < 6; ++i) (*q)[i] = (*cyclic.joints)[i];
        j["jointSource"] = "cyclic JointPosition block";
    } else if (arm_fresh && arm.joints) {
        q = *arm.joints;
        j["jointSource"] = arm_source;
    } else {
        j["jointSource"] = nullptr;
        j["jointMissing"] = arm.path.empty()
                                ? "the PLC did not request the cyclic joint block; start pnio-sim with --arm-socket"
                                : "no answer from the " + arm_source + (arm.error.empty() ? "" : ": " + arm.error);
    }
    j["joints"] = q ? numbers(*q) : json(nullptr);
    if (q) {
        json chain = json::array();
        for (const Point3& p : link_chain(*q)) chain.push_back(numbers(p));
        j["chain"] = chain;
    } else {
        j["chain"] = nullptr;
    }
    if (cyclic.pose) {
        j["tcp"] = numbers(*cyclic.pose);
        j["tcpSource"] = "cyclic CartesianPosition block";
        j["tool"] = cyclic.used_tool;
        j["frame"] = cyclic.used_frame;
    } else if (arm_fresh && arm.pose) {
        j["tcp"] = numbers(*arm.pose);
        j["tcpSource"] = arm_source;
        j["tool"] = arm.tool;
        j["frame"] = arm.frame;
    } else {
        j["tcp"] = j["tcpSource"] = j["tool"] = j["frame"] = nullptr;
    }
    json limits = json::array();
    const auto hard = hard_limits();
    const auto soft = slow && slow->limits ? slow->limits->soft : default_soft_limits();
    for (size_t i = 0; i < 6; ++i) limits.push_back({{"hard", numbers(hard[i])}, {"soft", numbers(soft[i])}});
    j["limits"] = limits;
    j["limitSource"] = slow && slow->limits ? slow->limits->source : "simulated arm defaults";
    return j;
}

json slow_json(const SlowState& slow) {
    json in_flight = json::array();
    for (const CommandRecord& c : slow.in_flight) in_flight.push_back(command_json(c));
    json finished = json::array();
    for (const CommandRecord& c : slow.finished) finished.push_back(command_json(c));
    json messages = json::array();
    for (const RobotMessage& m : slow.messages)
        messages.push_back({{"msgId", m.msg_id},
                            {"type", message_type_name(m.type)},
                            {"severity", severity_json(m.severity)},
                            {"code", code_json(m.code)},
                            {"text", m.text},
                            {"at", m.received}});
    return {{"inFlight", in_flight}, {"finished", finished}, {"messages", messages}};
}

}  // namespace pnio_sim::web
