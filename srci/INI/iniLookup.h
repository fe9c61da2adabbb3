// SPDX-License-Identifier: Apache-2.0
// Finding a section or a key in an INI file by scanning it from the top.
// An empty section name stands for the keys before the first section line.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

// The same lookup on a file opened through the current storage; nothing is found when the
// file cannot be read.
KeyLookup lookupKeyInFile(std::string_view section, std::string_view key, const char* filename);

// The key lines of one section, read in one pass: a record of several keys costs one scan of
// the file instead of one per key.
struct SectionKeys {
    bool sectionFound = false;
    std::vector<std::pair<std::string, std::string>> keys;  // name as written, value as a read returns it

    // The value lookupKey would return for key, or null where it would find none.
    const std::string* find(std::string_view key) const;
};

SectionKeys readSection(IniLineReader& reader, std::string_view section);
SectionKeys readSectionInFile(std::string_view section, const char* filename);

}  // namespace srci::ini_detail
