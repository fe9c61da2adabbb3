// SPDX-License-Identifier: Apache-2.0
#include "cli_options.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "command_table.hpp"

namespace srci_plc::cli {

double parse_number(const std::string& text, const std::string& what) {
    if (text.empty()) throw UsageError(what + ": empty value");
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || errno == ERANGE || !std::isfinite(v))
        throw UsageError(what + ": '" + text + "' is not a number");
    return v;
}

namespace {

const char* kIntro =
    "srci-plc - PLC-side SRCI client for the robot adapter (talks to pnio-sim)\n\n"
    "Every invocation connects once: RESET/INITIALIZE until the robot reports TelegramState 255,\n"
    "then ReadMessages, ExchangeConfiguration and ReadRobotData. Each command prints one line:\n"
    "what was sent, the answer (final state, data, error code with name and meaning) and the\n"
    "time it took. Robot messages and progress of long waits (one line per second) go to stderr.";

const char* kFooter =
    "Commands take exactly their documented VALUES (see `srci-plc help COMMAND`); anything\n"
    "else is key=value. VALUES may also come by name, as each answer line prints them\n"
    "(write-tool tool=1 x=0 y=0 z=100 rx=0 ry=0 rz=0). Options may stand before or after the\n"
    "command.\n\n"
    "Exit status: 0 all commands succeeded, 1 a command ended in Error/Aborted or timed out,\n"
    "2 bad command line or script, 3 connection or start-up failure, 130 interrupted.\n\n"
    "Examples:\n"
    "  srci-plc status\n"
    "  srci-plc --json read-position\n"
    "  srci-plc move-axes 0 -30 90 0 60 0 vel=20\n"
    "  srci-plc jog joint j1+ rot=5\n"
    "  srci-plc run demo.srci --port 5001";

void add_global_options(CLI::App& app, GlobalOptions& o) {
    app.add_option("--host", o.host, "gateway address")->capture_default_str();
    app.add_option("--port", o.port, "gateway port")->check(CLI::Range(1, 65535))->capture_default_str();
    app.add_option("--timeout", o.timeout_ms,
                   "wait per command for its final answer [ms]; start-up steps wait at most 5000")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    app.add_option("--lifesign-timeout", o.lifesign_timeout_ms,
                   "LifeSignTimeOut sent in ExchangeConfiguration [ms] (PLCs use 50, which a non-realtime host "
                   "cannot keep reliably)")
        ->check(CLI::Range(10, 65535))
        ->capture_default_str();
    app.add_option("--cycle", o.cycle_ms, "telegram cycle [ms]")->check(CLI::Range(1, 100))->capture_default_str();
    app.add_flag("--answer-at-once", o.answer_at_once,
                 "read each answer as soon as it comes rather than at the next cycle (a cycle fresher, twice the "
                 "wake-ups)");
    app.add_flag("--json", o.json, "one JSON object per command (and per robot message) instead of text");
    app.add_flag("-v,--verbose", o.verbose, "hex dump of every telegram pair whose content changed");
    app.add_flag("--force", o.force, "send commands the robot does not announce as supported");
    app.add_flag("--no-cyclic", o.no_cyclic, "request no cyclic position data (TelegramNumber 0)");
    app.add_flag("--srci-1.3", o.version_1_3, "announce SRCI version 1.3 instead of 1.5");
}

// "-.5" is a number, not an option.
std::vector<std::string> normalised_args(int argc, const char* const* argv) {
    std::vector<std::string> args;
    for (int i = argc - 1; i >= 1; --i) {  // CLI11 takes them in reverse
        std::string a = argv[i];
        if (a.size() > 2 && a[0] == '-' && a[1] == '.') a.insert(1, "0");
        args.push_back(std::move(a));
    }
    return args;
}

}  // namespace

GlobalOptions parse_global_options(int argc, const char* const* argv) {
    GlobalOptions o;
    CLI::App app{kIntro, "srci-plc"};
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("srci-plc ") + SRCI_VERSION);
    add_global_options(app, o);
    app.require_subcommand(0, 1);

    std::vector<std::string> values;
    bool no_wait = false;
    bool tool_frame_always = false;
    for (const CliCommand& c : cli_commands()) {
        CLI::App* sub = app.add_subcommand(c.name, c.summary);
        sub->fallthrough();
        if (!c.details.empty()) sub->footer(c.details);
        if (c.name == "run") sub->add_option("FILE", values, "script file")->required();
        else if (c.name == "trace") {
            sub->add_option("FILE", values, "pcapng file written by pnio-sim --trace")->required();
            sub->add_flag("--tool-frame-always", tool_frame_always, "ToolNo/FrameNo always sent by the PLC");
        } else sub->add_option("values", values, c.values.empty() ? "key=value ..." : c.values + " [key=value ...]");
        if (c.motion) sub->add_flag("--no-wait", no_wait, "return after the first answer");
    }
    std::string help_topic;
    CLI::App* help = app.add_subcommand("help", "help on one command: srci-plc help COMMAND");
    help->add_option("COMMAND", help_topic, "command name");

    try {
        app.parse(normalised_args(argc, argv));
    } catch (const CLI::CallForHelp&) {
        o.help = true;
        o.help_text = app.help();
        return o;
    } catch (const CLI::CallForVersion& e) {
        o.help = true;
        o.help_text = std::string(e.what()) + "\n";
        return o;
    } catch (const CLI::ExtrasError& e) {
        if (app.get_subcommands().empty())
            throw UsageError("unknown command or option: " + std::string(e.what()) + " (see --help)");
        throw UsageError(app.get_subcommands().front()->get_name() + ": " + e.what() + " (see srci-plc help " +
                         app.get_subcommands().front()->get_name() + ")");
    } catch (const CLI::ParseError& e) {
        throw UsageError(e.what());
    }

    if (help->parsed()) {
        o.help = true;
        if (help_topic.empty()) {
            o.help_text = app.help();
        } else {
            const CLI::App* topic = nullptr;
            try {
                topic = app.get_subcommand(help_topic);
            } catch (const CLI::OptionNotFound&) {
                throw UsageError("no command '" + help_topic + "' (see --help)");
            }
            o.help_text = topic->help("srci-plc");
        }
        return o;
    }
    const auto subs = app.get_subcommands();
    if (subs.empty()) throw UsageError("no command given (see --help)");
    o.command.push_back(subs.front()->get_name());
    o.command.insert(o.command.end(), values.begin(), values.end());
    if (no_wait) o.command.emplace_back("--no-wait");
    if (tool_frame_always) o.command.emplace_back("--tool-frame-always");
    return o;
}

namespace {

bool is_control(char ch) {
    const auto byte = static_cast<unsigned char>(ch);
    return byte < 0x20 || byte == 0x7F;
}

// A word as it can be shown in a message: control characters as \xNN.
std::string shown(const std::string& word) {
    std::string out;
    for (const char ch : word) {
        if (!is_control(ch)) {
            out += ch;
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned char>(ch));
        out += escaped;
    }
    return out;
}

}  // namespace

CommandLine parse_command_words(const std::vector<std::string>& words) {
    if (words.empty()) throw UsageError("empty command");
    // A control character (a NUL from a damaged script, say) would make the messages below
    // unreadable, or empty.
    for (const std::string& w : words)
        if (std::any_of(w.begin(), w.end(), is_control))
            throw UsageError("'" + shown(w) + "': control character in the command");
    CommandLine c;
    c.name = words[0];
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w == "--no-wait") {
            c.no_wait = true;
            continue;
        }
        const auto eq = w.find('=');
        if (eq == std::string::npos) {
            c.positional.push_back(w);
            continue;
        }
        const std::string key = w.substr(0, eq);
        if (key.empty()) throw UsageError("'" + w + "': missing parameter name");
        if (c.values.count(key)) throw UsageError("parameter '" + key + "' given twice");
        c.values[key] = parse_number(w.substr(eq + 1), key);
    }
    return c;
}

std::vector<std::string> split_script_line(const std::string& line) {
    std::string text = line.substr(0, line.find('#'));
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string w; in >> w;) words.push_back(w);
    return words;
}

}  // namespace srci_plc::cli
