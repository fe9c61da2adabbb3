// SPDX-License-Identifier: Apache-2.0
#pragma once
// Command-line and script-line parsing of srci-plc.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "srci_plc/payload_layout.hpp"

namespace srci_plc::cli {

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct GlobalOptions {
    std::string host = "127.0.0.1";
    uint16_t port = 5000;
    int timeout_ms = 30000;
    uint16_t lifesign_timeout_ms = 1000;
    int cycle_ms = 4;
    bool answer_at_once = false;
    bool json = false;
    bool verbose = false;
    bool force = false;
    bool no_cyclic = false;  // request no cyclic position data
    bool version_1_3 = false;
    bool help = false;  // print help_text and exit 0 (--help, help, --version)
    std::string help_text;
    std::vector<std::string> command;  // sub-command and its words
};

// Options may stand before or after the command. Throws UsageError with a
// message that names the offending argument.
GlobalOptions parse_global_options(int argc, const char* const* argv);

// One command as written on the command line or in a script line.
struct CommandLine {
    std::string name;
    std::vector<std::string> positional;
    ParamValues values;
    bool no_wait = false;
};

CommandLine parse_command_words(const std::vector<std::string>& words);
double parse_number(const std::string& text, const std::string& what);
std::vector<std::string> split_script_line(const std::string& line);

}  // namespace srci_plc::cli
