// SPDX-License-Identifier: Apache-2.0
// Input: the text of a script for `srci-plc run FILE`, checked whole as srci-plc checks it before
// it connects: lines split into words, parsed and validated (value counts, numbers, ranges, the
// command's encoding). A script is either accepted or refused with a usage error that names its
// line and says what is wrong; any other exception escapes and ends the run as a finding. The
// same text checked again gives the same answer (nothing in the check may depend on state).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "script.hpp"

namespace {

// The number of commands, or the refusal's text.
std::string checked(const std::string& text) {
    try {
        return std::to_string(srci_plc::cli::parse_script(text, "fuzz.srci").size()) + " commands";
    } catch (const srci_plc::cli::UsageError& e) {
        const std::string why = e.what();
        if (why.size() < 2 || why.compare(why.size() - 2, 2, ": ") == 0 || why.find('\0') != std::string::npos) {
            std::fprintf(stderr, "a refusal that does not say why: '%s'\n", why.c_str());
            std::abort();
        }
        return why;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string first = checked(text);
    if (checked(text) != first) {
        std::fprintf(stderr, "the same script checked twice gave two answers; first: %s\n", first.c_str());
        std::abort();
    }
    return 0;
}
