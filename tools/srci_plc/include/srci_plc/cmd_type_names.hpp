// SPDX-License-Identifier: Apache-2.0
#pragma once
#include <cstdint>

namespace srci_plc {

// SRCI name of a CmdType, e.g. 2101 -> "MoveAxesAbsolute"; nullptr for a code the SRCI standard
// does not define.
const char* cmd_type_name(uint16_t cmd_type);

}  // namespace srci_plc
