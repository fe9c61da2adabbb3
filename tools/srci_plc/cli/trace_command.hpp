// SPDX-License-Identifier: Apache-2.0
#pragma once
// `srci-plc trace FILE [--json] [--tool-frame-always]`: prints a pnio-sim telegram trace as one
// line per event. Kept apart from the option parser so any parser can hand it its words.
#include <ostream>
#include <string>
#include <vector>

namespace srci_plc::cli {

// args: the words after "trace". json: --json was given before the sub-command.
// Returns the process exit status: 0 read to the end, 1 the file is damaged (the events before
// the damage are printed), 2 bad arguments or the file cannot be opened.
int run_trace_command(const std::vector<std::string>& args, bool json, std::ostream& out, std::ostream& err);

}  // namespace srci_plc::cli
