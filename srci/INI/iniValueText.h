// SPDX-License-Identifier: Apache-2.0
// How the typed reads turn a value's text into a number or a flag. The text is first cut to the
// buffer the C functions read it through, so the free functions, minIni and INI all agree.
#pragma once

#include <string_view>

namespace srci::ini_detail {

// Empty text gives the default. Hexadecimal when the second character is "x" or "X".
long longFromValue(std::string_view value, long defValue);
float floatFromValue(std::string_view value, float defValue);
// "1", "T", "Y" (any case) give 1, "0", "F", "N" give 0, anything else the default.
int boolFromValue(std::string_view value, int defValue);

}  // namespace srci::ini_detail
