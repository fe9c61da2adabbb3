// SPDX-License-Identifier: Apache-2.0
// Applying key changes to the text of an INI file in memory; the storage then replaces the
// file with the result in one step.
#pragma once

#include <string>
#include <string_view>

namespace srci::ini_detail {

struct IniChange {
    std::string_view section;  // "" = the keys before the first section line
    const char* key;           // null: remove the whole section
    const char* value;         // null: remove the key
};

// Applies the change to `content` as a write to the file would. A key that already holds
// the value, or a removal of something absent, leaves the text untouched. False only when
// the text could not be processed.
bool applyChange(std::string& content, const IniChange& change);

// Applies the changes as the same changes applied one after another would, with one scan of
// the text when they set distinct keys of one section (a record).
bool applyRecord(std::string& content, const IniChange* changes, int count);

// The INI file name with its last character replaced by "~"; empty when that
// would not give a different name.
std::string temporaryName(std::string_view filename);

}  // namespace srci::ini_detail
