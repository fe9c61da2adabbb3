// SPDX-License-Identifier: Apache-2.0
// A command of the PLC client's catalogue by its command-line name; an unknown name is a bug in
// the test, so it throws.
#pragma once

#include <stdexcept>
#include <string>

#include "srci_plc/command_catalog.hpp"

namespace srci_test {

inline const srci_plc::CommandDef& command(const char* name) {
    const auto* def = srci_plc::find_command(name);
    if (!def) throw std::runtime_error(std::string("unknown command ") + name);
    return *def;
}

}  // namespace srci_test
