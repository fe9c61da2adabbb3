// SPDX-License-Identifier: Apache-2.0
#pragma once
// The commands srci-plc offers on its command line and in scripts: their
// values, help texts and how many values each accepts. Adding a command means
// one row here and its execution in the command runner (or main).
#include <cstddef>
#include <string>
#include <vector>

namespace srci_plc::cli {

struct CliCommand {
    std::string name;
    std::string values;          // positional values, e.g. "J1 J2 J3 J4 J5 J6"; [..] = optional group
    std::string summary;         // one line for the command list
    std::string details;         // keys and notes for `srci-plc help NAME`
    std::vector<size_t> counts;  // accepted numbers of positional values
    bool motion = false;         // takes --no-wait
};

const std::vector<CliCommand>& cli_commands();
const CliCommand* find_cli_command(const std::string& name);

// Throws UsageError unless `given` is one of the accepted counts; the message
// names the values that are missing or says how many are too many.
void check_value_count(const CliCommand& cmd, size_t given);

}  // namespace srci_plc::cli
