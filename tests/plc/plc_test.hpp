// SPDX-License-Identifier: Apache-2.0
// What the client tests share: the srci-plc command line as the tests feed it (argv without the
// program name, script lines), the text of the error a call ends with, and bytes put by hand.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
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

// What `fn` throws as `E`; a test failure when it returns or throws something else.
template <class E, class F>
std::string error_of(F fn) {
    try {
        fn();
    } catch (const E& e) {
        return e.what();
    }
    ADD_FAILURE() << "no error";
    return "";
}

// Writes `bytes` into `v` from `off` on.
inline void put(std::vector<uint8_t>& v, size_t off, std::initializer_list<int> bytes) {
    for (int b : bytes) v[off++] = static_cast<uint8_t>(b);
}
