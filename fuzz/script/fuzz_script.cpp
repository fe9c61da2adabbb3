// SPDX-License-Identifier: Apache-2.0
// Input: the text of a script for `srci-plc run FILE`. Each line is checked as srci-plc checks a
// script before it connects: split into words, parsed, validated (value counts, numbers, ranges,
// the command's encoding). A line is either accepted or refused with a usage error that names what
// is wrong; any other exception escapes and ends the run as a finding. An accepted line must also
// be accepted again when it is checked a second time (nothing in the check may depend on state).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "cli_options.hpp"
#include "command_runner.hpp"

namespace {

bool accepted(const std::string& line) {
    const auto words = srci_plc::cli::split_script_line(line);
    if (words.empty()) return false;
    try {
        srci_plc::cli::validate_command(srci_plc::cli::parse_command_words(words));
        return true;
    } catch (const srci_plc::cli::UsageError& e) {
        if (*e.what() == '\0') {
            std::fprintf(stderr, "a refusal without a reason: %s\n", line.c_str());
            std::abort();
        }
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(in, line);) {
        if (accepted(line) && !accepted(line)) {
            std::fprintf(stderr, "accepted once, refused the second time: %s\n", line.c_str());
            std::abort();
        }
    }
    return 0;
}
