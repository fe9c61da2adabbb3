#include "result_printer.hpp"

#include <cmath>
#include <cstdio>

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
    case FieldType::F32: std::snprintf(buf, sizeof buf, "%.3f", v); return buf;
    case FieldType::Percent:
        if (v < 0) return "default";
        std::snprintf(buf, sizeof buf, "%.2f%%", v);
        return buf;
    default: return number(v);
    }
}

std::string json_value(const FieldValue& v) {
    if (const auto* s = std::get_if<std::string>(&v)) return "\"" + json_escape(*s) + "\"";
    const double d = std::get<double>(v);
    if (!std::isfinite(d)) return "null";  // a robot may send NaN in a REAL field
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.9g", d);
    return buf;
}

std::string code_text(uint16_t code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "0x%04X", code);
    return buf;
}

}  // namespace

std::string json_escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else {
            out += c;
        }
    }
    return out;
}

std::string format_text(const Outcome& o) {
    std::string line;
    if (o.has_result) line += "#" + std::to_string(o.result.cmd_id) + " ";
    line += o.command;
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
                line += std::string(" (") + severity_name(h.severity) + ")";
            }
        }
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
    std::string j = "{\"command\":\"" + json_escape(o.command) + "\"";
    if (o.cmd_type != 0) j += ",\"cmd_type\":" + std::to_string(o.cmd_type);
    j += ",\"params\":{";
    for (size_t i = 0; i < o.sent.size(); ++i)
        j += (i ? "," : "") + ("\"" + json_escape(o.sent[i].first) + "\":") + json_value(o.sent[i].second);
    j += "}";
    if (o.has_result) {
        const ResponseHeader& h = o.result.header;
        j += ",\"cmd_id\":" + std::to_string(o.result.cmd_id);
        j += ",\"answered\":" + std::string(o.result.answered ? "true" : "false");
        j += ",\"state\":" + std::to_string(h.state) + ",\"state_name\":\"" + cmd_state_name(h.state) + "\"";
        j += ",\"severity\":" + std::to_string(h.severity) + ",\"code\":" + std::to_string(h.code);
        const char* name = h.code != 0 ? error_code_name(h.code) : nullptr;
        j += ",\"code_hex\":\"" + code_text(h.code) + "\",\"code_name\":" +
             (name ? "\"" + std::string(name) + "\"" : std::string("null"));
    }
    j += ",\"data\":{";
    bool first = true;
    const auto add = [&](const DecodedField& f) {
        j += (first ? "" : ",") + ("\"" + json_escape(f.name) + "\":") + json_value(f.value);
        first = false;
    };
    if (o.has_result)
        for (const auto& f : o.result.data) add(f);
    for (const auto& f : o.info) add(f);
    j += "}";
    if (!o.note.empty()) j += ",\"note\":\"" + json_escape(o.note) + "\"";
    char took[48];
    std::snprintf(took, sizeof took, ",\"elapsed_ms\":%.1f", o.elapsed_ms);
    j += took;
    j += ",\"ok\":" + std::string(o.ok ? "true" : "false") + "}";
    return j;
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
