// SPDX-License-Identifier: Apache-2.0
// The srci-plc command line as the tests feed it: argv without the program name, script lines.
#pragma once

#include <string>
#include <vector>

#include "cli_options.hpp"

namespace srci_plc::cli {

inline GlobalOptions parse(std::vector<const char*> args) {
    args.insert(args.begin(), "srci-plc");
    return parse_global_options(static_cast<int>(args.size()), args.data());
}

inline CommandLine line(const std::string& text) { return parse_command_words(split_script_line(text)); }

}  // namespace srci_plc::cli
