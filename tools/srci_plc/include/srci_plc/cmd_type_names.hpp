#pragma once
#include <cstdint>

namespace srci_plc {

// The SRCI standard's name of a CmdType, e.g. 2103 -> "MoveLinearAbsolute"; nullptr if unknown.
const char* cmd_type_name(uint16_t cmd_type);

}  // namespace srci_plc
