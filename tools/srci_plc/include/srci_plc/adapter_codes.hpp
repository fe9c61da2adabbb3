// SPDX-License-Identifier: Apache-2.0
#pragma once
#include <cstdint>

namespace srci_plc {

// Name of one of this robot adapter's own result codes (values below the SRCI ranges, e.g.
// 0x0022 -> "err_move_linear: linear move refused by the controller"); nullptr otherwise.
const char* adapter_code_name(uint32_t code);

}  // namespace srci_plc
