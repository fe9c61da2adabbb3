// SPDX-License-Identifier: Apache-2.0
#pragma once
#include <cstdint>
#include <string>

namespace srci_plc {

// Name of a code the robot can send, e.g. 0x8F11 -> "ERR_CMD_NOT_IMPLEMENTED",
// 0x0075 -> "err_pstop_estop"; nullptr if this client does not know it.
const char* error_code_name(uint32_t code);
// One line an operator understands, for every code (unknown ones say so).
std::string error_code_meaning(uint32_t code);
// What usually helps; empty when nothing typical does.
std::string error_code_hint(uint32_t code);
// "0x0075 err_pstop_estop: protective or emergency stop active (release ...)".
std::string describe_error_code(uint32_t code);

}  // namespace srci_plc
