#include "cli_options.hpp"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>

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

long parse_integer(const std::string& text, const std::string& what, long lo, long hi) {
    const double v = parse_number(text, what);
    if (v != std::floor(v) || v < static_cast<double>(lo) || v > static_cast<double>(hi))
        throw UsageError(what + " must be an integer " + std::to_string(lo) + ".." + std::to_string(hi));
    return static_cast<long>(v);
}

}  // namespace

GlobalOptions parse_global_options(int argc, const char* const* argv) {
    GlobalOptions o;
    int i = 1;
    const auto value = [&](const std::string& opt) -> std::string {
        if (i + 1 >= argc) throw UsageError(opt + " needs a value");
        return argv[++i];
    };
    for (; i < argc; ++i) {
        const std::string a = argv[i];
        if (a.empty() || a[0] != '-' || a == "-" || (a.size() > 1 && (std::isdigit(static_cast<unsigned char>(a[1])) || a[1] == '.')))
            break;  // the sub-command starts here
        if (a == "--help" || a == "-h") o.help = true;
        else if (a == "--host") o.host = value(a);
        else if (a == "--port") o.port = static_cast<uint16_t>(parse_integer(value(a), a, 1, 65535));
        else if (a == "--timeout") o.timeout_ms = static_cast<int>(parse_integer(value(a), a, 1, 3600000));
        else if (a == "--lifesign-timeout")
            o.lifesign_timeout_ms = static_cast<uint16_t>(parse_integer(value(a), a, 10, 65535));
        else if (a == "--cycle") o.cycle_ms = static_cast<int>(parse_integer(value(a), a, 1, 100));
        else if (a == "--json") o.json = true;
        else if (a == "--verbose" || a == "-v") o.verbose = true;
        else if (a == "--force") o.force = true;
        else if (a == "--no-cyclic") o.no_cyclic = true;
        else if (a == "--srci-1.3") o.version_1_3 = true;
        else throw UsageError("unknown option " + a + " (see --help)");
    }
    for (; i < argc; ++i) o.command.emplace_back(argv[i]);
    if (o.command.empty() && !o.help) throw UsageError("no command given (see --help)");
    return o;
}

CommandLine parse_command_words(const std::vector<std::string>& words) {
    if (words.empty()) throw UsageError("empty command");
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
