// SPDX-License-Identifier: Apache-2.0
#pragma once
// `srci-plc run FILE`: a script is checked whole before anything connects.
#include <string>
#include <vector>

#include "cli_options.hpp"

namespace srci_plc::cli {

struct ScriptLine {
    std::string where;  // "FILE:N", or "command line"
    CommandLine command;
};

constexpr size_t kMaxScriptBytes = 1 << 20;

// One command's words, parsed and checked with validate_command (the command line or a line).
CommandLine checked_command(const std::vector<std::string>& words);

// The commands of a script's text, each checked with validate_command. Comments ('#') and blank
// lines are skipped; Windows line ends and a UTF-8 byte order mark (as editors on a PLC
// programmer's laptop write them) are taken as they are meant. Throws UsageError naming
// "FILE:N" for the first line that is refused, or when there is nothing to run.
std::vector<ScriptLine> parse_script(const std::string& text, const std::string& file);

// The same for the file itself. At most kMaxScriptBytes + 1 bytes are read, so a device or a
// pipe that never ends (`run /dev/zero`) is refused as too large instead of read for ever.
std::vector<ScriptLine> load_script(const std::string& file);

}  // namespace srci_plc::cli
