// SPDX-License-Identifier: Apache-2.0
#include "trace_command.hpp"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>

#include <nlohmann/json.hpp>

#include "result_printer.hpp"
#include "srci_plc/adapter_codes.hpp"
#include "srci_plc/cmd_type_names.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/trace_events.hpp"
#include "srci_plc/wire_constants.hpp"

namespace srci_plc::cli {

namespace {

// Robot texts may hold any bytes; invalid UTF-8 is replaced so the line stays valid JSON.
std::string json_escape(const std::string& s) {
    const std::string quoted = nlohmann::json(s).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

const char* kUsage =
    "usage: srci-plc trace FILE [--json] [--tool-frame-always]\n"
    "  prints a pnio-sim --trace file as one line per event: connection changes, interface state,\n"
    "  each command sent with its parameters (text leaves zero values out), each state change of a\n"
    "  command with its result, robot messages and damaged telegrams.\n"
    "  --tool-frame-always  the PLC sent ToolNo/FrameNo (bytes 18-19) without requesting the\n"
    "                       cyclic Cartesian position\n";

std::string command_name(uint16_t cmd_type) {
    if (cmd_type == 0) return "(command not in this trace)";
    const char* name = cmd_type_name(cmd_type);
    return name ? name : "CmdType " + std::to_string(cmd_type);
}

const char* code_name(uint32_t code) {
    const char* name = code <= 0xFFFF ? error_code_name(static_cast<uint16_t>(code)) : nullptr;
    return name ? name : adapter_code_name(code);
}

std::string code_text(uint32_t code) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%04X", code);
    if (const char* name = code_name(code)) return std::string(buf) + " " + name;
    return buf;
}

std::string number_text(const DecodedField& f) {
    if (const auto* s = std::get_if<std::string>(&f.value)) return *s;
    const double v = std::get<double>(f.value);
    char buf[40];
    if (f.type == FieldType::Date) {
        const std::time_t t = static_cast<std::time_t>(631152000 + v * 86400);  // days since 1990-01-01
        std::tm tm{};
        gmtime_r(&t, &tm);
        std::strftime(buf, sizeof buf, "%Y-%m-%d", &tm);
    } else if (f.type == FieldType::TimeOfDay) {
        const auto ms = static_cast<long long>(v);
        std::snprintf(buf, sizeof buf, "%02lld:%02lld:%02lld.%03lld", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60,
                      ms % 1000);
    } else if (f.type == FieldType::Percent) {
        if (v < 0) return "default";
        std::snprintf(buf, sizeof buf, "%.2f%%", v);
    } else if (f.type == FieldType::F32) {
        std::snprintf(buf, sizeof buf, "%.3f", v);
    } else {
        std::snprintf(buf, sizeof buf, "%.0f", v);
    }
    return buf;
}

bool is_zero(const DecodedField& f) {
    if (const auto* s = std::get_if<std::string>(&f.value))
        return s->empty() || s->find_first_not_of("0 ") == std::string::npos;
    return std::get<double>(f.value) == 0;
}

std::string json_value(const DecodedField& f) {
    if (const auto* s = std::get_if<std::string>(&f.value)) return "\"" + json_escape(*s) + "\"";
    const double d = std::get<double>(f.value);
    if (!std::isfinite(d)) return "null";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.9g", d);
    return buf;
}

// Seconds since the first packet. A capture's clock may step back (the host's time was set, or
// the file was spliced): such an event is printed before the start, not 584 942 years after it.
double seconds_since(uint64_t time_us, uint64_t start_us) {
    return time_us >= start_us ? static_cast<double>(time_us - start_us) / 1e6
                               : -static_cast<double>(start_us - time_us) / 1e6;
}

std::string text_line(const TraceEvent& e, uint64_t start_us) {
    char head[48];
    std::snprintf(head, sizeof head, "%11.6f  %-10s ", seconds_since(e.time_us, start_us),
                  trace_event_kind_name(e.kind));
    std::string line = head;
    switch (e.kind) {
        case TraceEventKind::Command:
        case TraceEventKind::Update:
            line += "#" + std::to_string(e.cmd_id) + " " + command_name(e.cmd_type);
            for (const auto& f : e.fields)
                if (!is_zero(f)) line += " " + f.name + "=" + number_text(f);
            break;
        case TraceEventKind::Answer:
            line += "#" + std::to_string(e.cmd_id) + " " + command_name(e.cmd_type) + " " + cmd_state_name(e.state);
            if (e.code != 0 || e.severity != 0)
                line += " " + code_text(e.code) + " severity " + std::to_string(e.severity) + " " +
                        severity_name(e.severity);
            for (const auto& f : e.fields)
                if (!is_zero(f)) line += " " + f.name + "=" + number_text(f);
            break;
        case TraceEventKind::Message:
            line += std::string(severity_name(e.severity)) + " " + code_text(e.code) + ": " + e.text;
            break;
        case TraceEventKind::Malformed:
            line += e.text;
            if (e.count > 1) line += " (" + std::to_string(e.count) + " telegrams in a row)";
            break;
        default:
            line += e.text;
    }
    return line;
}

std::string json_line(const TraceEvent& e, uint64_t start_us) {
    char head[120];
    std::snprintf(head, sizeof head, "{\"t\":%.6f,\"time_us\":%llu,\"event\":\"%s\"",
                  seconds_since(e.time_us, start_us), static_cast<unsigned long long>(e.time_us),
                  trace_event_kind_name(e.kind));
    std::string line = head;
    const bool about_command =
        e.kind == TraceEventKind::Command || e.kind == TraceEventKind::Update || e.kind == TraceEventKind::Answer;
    if (about_command) {
        line += ",\"cmd_id\":" + std::to_string(e.cmd_id) + ",\"cmd_type\":" + std::to_string(e.cmd_type) +
                ",\"command\":\"" + json_escape(command_name(e.cmd_type)) + "\"";
    }
    if (e.kind == TraceEventKind::Answer) line += ",\"state\":\"" + std::string(cmd_state_name(e.state)) + "\"";
    if (e.kind == TraceEventKind::Link && e.text.rfind("TelegramState", 0) == 0)
        line += ",\"telegram_state\":" + std::to_string(e.state);
    if (e.kind == TraceEventKind::Answer || e.kind == TraceEventKind::Message) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%04X", e.code);
        const char* name = code_name(e.code);
        line += ",\"severity\":" + std::to_string(e.severity) + ",\"code\":\"" + code + "\"";
        if (name) line += ",\"code_name\":\"" + std::string(name) + "\"";
    }
    if (e.kind == TraceEventKind::Malformed) line += ",\"count\":" + std::to_string(e.count);
    if (!e.text.empty()) line += ",\"text\":\"" + json_escape(e.text) + "\"";
    if (!e.fields.empty()) {
        line += std::string(",\"") + (e.kind == TraceEventKind::Answer ? "data" : "params") + "\":{";
        for (size_t i = 0; i < e.fields.size(); ++i)
            line += (i ? ",\"" : "\"") + json_escape(e.fields[i].name) + "\":" + json_value(e.fields[i]);
        line += "}";
    }
    return line + "}";
}

}  // namespace

int run_trace_command(const std::vector<std::string>& args, bool json, std::ostream& out, std::ostream& err) {
    std::string file;
    bool tool_frame_always = false;
    for (const std::string& a : args) {
        if (a == "--json") json = true;
        else if (a == "--tool-frame-always") tool_frame_always = true;
        else if (a == "--help" || a == "-h") {
            out << kUsage;
            return 0;
        } else if (!a.empty() && a[0] == '-') {
            err << "srci-plc trace: unknown option " << a << "\n" << kUsage;
            return 2;
        } else if (file.empty()) file = a;
        else {
            err << "srci-plc trace: one FILE only\n" << kUsage;
            return 2;
        }
    }
    if (file.empty()) {
        err << "srci-plc trace: no FILE given\n" << kUsage;
        return 2;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        err << "srci-plc trace: cannot open " << file << "\n";
        return 2;
    }
    TraceDecoder decoder(tool_frame_always);
    std::vector<TraceEvent> events;
    uint64_t start = 0;
    bool started = false;
    const auto print = [&] {
        for (const TraceEvent& e : events) out << (json ? json_line(e, start) : text_line(e, start)) << "\n";
        events.clear();
    };
    int status = 0;
    try {
        read_pcapng(in, [&](const CapturedPacket& p) {
            if (!started) start = p.time_us, started = true;
            decoder.feed(p, events);
            print();
        });
    } catch (const TraceFileError& e) {
        decoder.finish(events);
        print();
        err << "srci-plc trace: " << file << ": " << e.what() << "\n";
        status = 1;
    }
    decoder.finish(events);
    print();
    out.flush();
    if (!json)
        err << "srci-plc trace: " << decoder.telegrams() << " telegrams"
            << (decoder.foreign_packets() ? ", " + std::to_string(decoder.foreign_packets()) + " other packets skipped"
                                          : "")
            << "\n";
    return status;
}

}  // namespace srci_plc::cli
