// The two ways a key change reaches the disk: overwriting one line where it
// stands, or copying the whole file through a temporary twin.
#pragma once

#include <string>
#include <string_view>

#include "INI/iniLineReader.h"

namespace srci::ini_detail {

struct IniChange {
    std::string_view section;  // "" = the keys before the first section line
    const char* key;           // null: remove the whole section
    const char* value;         // null: remove the key
};

// Replaces the line `old` with `newLine` of the same length through "r+b". Refuses
// (false) when the bytes at that place are no longer the line that was scanned.
bool overwriteLineInPlace(const char* filename, const IniLine& old, std::string_view newLine);

// Copies the file read by `source` (positioned at its start) into the temporary
// file with the change applied, then replaces the INI file with it. The INI file
// is left untouched when anything before the replacement fails.
bool rewriteThroughTemp(const char* filename, IniLineReader& source, const IniChange& change);

// The INI file name with its last character replaced by "~"; empty when that
// would not give a different name.
std::string temporaryName(std::string_view filename);

}  // namespace srci::ini_detail
