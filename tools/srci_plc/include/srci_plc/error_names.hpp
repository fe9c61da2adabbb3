#pragma once
#include <cstdint>

namespace srci_plc {

// Name of an SRCI message code, e.g. 0x8F11 -> "ERR_CMD_NOT_IMPLEMENTED";
// nullptr if this client does not know it.
const char* error_code_name(uint16_t code);

}  // namespace srci_plc
