// SPDX-License-Identifier: Apache-2.0
// Finding a section or a key in an INI file by scanning it from the top.
// An empty section name stands for the keys before the first section line.
#pragma once

#include <string>
#include <string_view>

#include "INI/iniLineReader.h"

namespace srci::ini_detail {

// Leaves the reader just after the section line. The first matching section wins.
bool findSection(IniLineReader& reader, std::string_view section);

struct KeyLookup {
    bool sectionFound = false;
    bool keyFound = false;
    IniLine line;       // the key line, when found
    std::string value;  // its value as a read returns it
};

KeyLookup lookupKey(IniLineReader& reader, std::string_view section, std::string_view key);

}  // namespace srci::ini_detail
