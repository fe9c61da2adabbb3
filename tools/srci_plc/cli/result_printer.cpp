// SPDX-License-Identifier: Apache-2.0
#include "result_printer.hpp"

#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "srci_plc/command_catalog.hpp"
#include "srci_plc/error_names.hpp"

namespace srci_plc::cli {

namespace {

std::string number(double v) {
    char buf[32];
    if (v == std::floor(v) && std::fabs(v) < 1e15) std::snprintf(buf, sizeof buf, "%.0f", v);
    else std::snprintf(buf, sizeof buf, "%.6g", v);
    return buf;
}

std::string text_value(const DecodedField& f) {
    if (const auto* s = std::get_if<std::string>(&f.value)) return *s;
    const double v = std::get<double>(f.value);
    char buf[40];
    switch (f.type) {
        case FieldType::F32:
            std::snprintf(buf, sizeof buf, "%.3f", v);
            return buf;
        case FieldType::Percent:
            if (v < 0) return "default";
            std::snprintf(buf, sizeof buf, "%.2f%%", v);
            return buf;
        default:
            return number(v);
    }
}

nlohmann::json json_value(const FieldValue& v) {
    if (const auto* s = std::get_if<std::string>(&v)) return *s;
    const double d = std::get<double>(v);
    if (!std::isfinite(d)) return nullptr;  // a robot may send NaN in a REAL field
    return d;
}

// Robot texts are not guaranteed to be UTF-8: invalid bytes become U+FFFD instead of an exception.
std::string dump(const nlohmann::json& j) { return j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace); }

std::string code_text(uint16_t code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "0x%04X", code);
    return buf;
}

// An instant command that ended in an error answers with its record zeroed: printed, those
// zeroes would read as the robot's values. A move's or enable's fields (progress, Enabled) still
// describe the robot when it fails, and stay.
bool shows_data(const Outcome& o) {
    if (!o.has_result) return false;
    if (o.result.header.state != cmd_state::kError) return true;
    const CommandDef* def = find_command(o.cmd_type);
    return def == nullptr || def->kind != CommandKind::Instant;
}

}  // namespace

std::string format_text(const Outcome& o) {
    std::string line;
    if (o.has_result) line += "#" + std::to_string(o.result.cmd_id) + " ";
    line += o.command;
    for (const auto& w : o.words) line += " " + w.second;
    for (const auto& [k, v] : o.sent) line += " " + k + "=" + number(v);
    if (o.has_result) {
        const ResponseHeader& h = o.result.header;
        if (!o.result.answered) {
            line += " -> no answer";
        } else {
            line += std::string(" -> ") + cmd_state_name(h.state);
            if (h.code != 0) {
                line += " " + code_text(h.code);
                if (const char* name = error_code_name(h.code)) line += std::string(" ") + name;
                line += std::string(" (") + severity_name(h.severity) + "): " + error_code_meaning(h.code);
                if (const std::string hint = error_code_hint(h.code); !hint.empty()) line += " -> " + hint;
            }
        }
        if (shows_data(o))
            for (const auto& f : o.result.data) line += " " + f.name + "=" + text_value(f);
    } else {
        line += o.ok ? " -> ok" : " -> failed";
    }
    for (const auto& f : o.info) line += " " + f.name + "=" + text_value(f);
    if (!o.note.empty()) line += " [" + o.note + "]";
    char took[32];
    std::snprintf(took, sizeof took, " (%.0f ms)", o.elapsed_ms);
    return line + took;
}

std::string format_json(const Outcome& o) {
    nlohmann::json j;
    j["command"] = o.command;
    if (o.cmd_type != 0) j["cmd_type"] = o.cmd_type;
    j["params"] = nlohmann::json::object();
    for (const auto& [k, w] : o.words) j["params"][k] = w;
    for (const auto& [k, v] : o.sent) j["params"][k] = v;
    if (o.has_result) {
        const ResponseHeader& h = o.result.header;
        j["cmd_id"] = o.result.cmd_id;
        j["answered"] = o.result.answered;
        j["state"] = h.state;
        j["state_name"] = cmd_state_name(h.state);
        j["severity"] = h.severity;
        j["code"] = h.code;
        j["code_hex"] = code_text(h.code);
        const char* name = h.code != 0 ? error_code_name(h.code) : nullptr;
        j["code_name"] = name ? nlohmann::json(name) : nlohmann::json(nullptr);
        if (h.code != 0) {
            j["code_meaning"] = error_code_meaning(h.code);
            if (const std::string hint = error_code_hint(h.code); !hint.empty()) j["hint"] = hint;
        }
    }
    nlohmann::json& data = j["data"] = nlohmann::json::object();
    if (shows_data(o))
        for (const auto& f : o.result.data) data[f.name] = json_value(f.value);
    for (const auto& f : o.info) data[f.name] = json_value(f.value);
    if (!o.note.empty()) j["note"] = o.note;
    j["elapsed_ms"] = std::round(o.elapsed_ms * 10) / 10;
    j["ok"] = o.ok;
    return dump(j);
}

std::string format_message_json(const RobotMessage& m) {
    nlohmann::json j;
    j["message"] = m.msg_id;
    j["type"] = m.type;
    j["severity"] = m.severity;
    j["severity_name"] = severity_name(m.severity);
    j["code"] = m.error_code;
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%04X", m.error_code);
    j["code_hex"] = hex;
    const char* name = error_code_name(m.error_code);
    j["code_name"] = name ? nlohmann::json(name) : nlohmann::json(nullptr);
    j["code_meaning"] = error_code_meaning(m.error_code);
    j["text"] = m.text;
    return dump(j);
}

namespace {

bool waiting_for_enable(const AcrEntry& e) {
    return e.def->kind == CommandKind::EnableType && e.responses && !Client::enabled_flag(e);
}

}  // namespace

bool progress_line_due(const AcrEntry& e, double elapsed_ms) {
    if (!waiting_for_enable(e) || elapsed_ms < 1500) return true;
    return static_cast<long long>(elapsed_ms / 1000) % 5 == 0;  // a refusing robot: every 5 s
}

std::string format_progress(const AcrEntry& e, double elapsed_ms) {
    std::string line = "  ... " + e.def->name + ": ";
    line += e.responses ? cmd_state_name(e.last.state) : "waiting for the first answer";
    char buf[64];
    for (const auto& f : decode_fields(e.def->response, e.last_payload)) {
        const double* v = std::get_if<double>(&f.value);
        if (v == nullptr) continue;
        if (f.name == "progress") {
            std::snprintf(buf, sizeof buf, " %.1f%%", *v);
            line += buf;
        } else if (f.name == "remaining" && std::isfinite(*v)) {
            std::snprintf(buf, sizeof buf, ", %.1f mm to go", *v);
            line += buf;
        }
    }
    if (waiting_for_enable(e)) {
        line += ", not enabled yet";
        // The robot may never say why; the first line names the usual causes once.
        if (elapsed_ms < 1500)
            line += " (if it stays so: emergency or protective stop on? error pending: `srci-plc reset`)";
    }
    std::snprintf(buf, sizeof buf, " (%.0f s)", elapsed_ms / 1000.0);
    return line + buf;
}

std::string format_message_text(const RobotMessage& m) {
    return "robot message #" + std::to_string(m.msg_id) + " " + severity_name(m.severity) + " " +
           describe_error_code(m.error_code) + ": " + m.text;
}

std::string hex_dump(const char* title, const std::vector<uint8_t>& bytes) {
    std::string out;
    char buf[48];
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i % 32 == 0) {
            std::snprintf(buf, sizeof buf, "%s%s %03zu:", i ? "\n" : "", title, i);
            out += buf;
        }
        std::snprintf(buf, sizeof buf, " %02X", bytes[i]);
        out += buf;
    }
    return out;
}

}  // namespace srci_plc::cli
