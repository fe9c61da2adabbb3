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

// Applies the changes to `content` as writes to the file one after another would; changes that
// set distinct keys of one section (a record) take one scan of the text. A key that already
// holds its value, or a removal of something absent, leaves the text as it was. False only
// when the text could not be processed.
bool applyChanges(std::string& content, const IniChange* changes, int count);

// The INI file name with its last character replaced by "~"; empty when that
// would not give a different name.
std::string temporaryName(std::string_view filename);

}  // namespace srci::ini_detail
