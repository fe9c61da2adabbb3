// SPDX-License-Identifier: Apache-2.0
// Writing, changing and removing one key (or a whole section) of an INI file.
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "INI/iniFileAccess.h"
#include "INI/iniLineSyntax.h"
#include "INI/iniRewrite.h"
#include "INI/iniStorage.h"
#include "INI/minIni.h"

using namespace srci::ini_detail;

namespace {

// A line that does not fit the read buffer would be cut when read back.
bool fitsReadBuffer(const std::string& line) {
    return line.size() - 1 <= INI_BUFFERSIZE - 1;  // the line feed is not read into the buffer
}

bool isWritableChange(std::string_view section, const char* key, const char* value) {
    if (!isWritableSection(section) || !fitsReadBuffer(sectionLine(section))) return false;
    if (key == nullptr) return true;  // the whole section goes, whatever the value
    if (!isWritableKey(key)) return false;
    return value == nullptr || (isWritableValue(value) && fitsReadBuffer(keyLine(key, value)));
}

// The whole file as it is now; false when it exists but cannot be read.
bool loadFile(const char* filename, std::string& content, bool& exists) {
    if (const std::string* held = iniStorage().heldText(filename)) {
        content = *held;
        exists = true;
        return true;
    }
    content.clear();
    FileHandle file = iniStorage().openForReading(filename);
    exists = static_cast<bool>(file);
    if (!file) return errno == ENOENT;  // only a really absent file may be created
    char chunk[4096];                   // the stream is unbuffered: each read is one call to the file
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) content.append(chunk, got);
    return std::ferror(file.get()) == 0;
}

// All changes in one replacement of the file, or none at all.
int applyAll(const char* filename, const IniChange* changes, int count) {
    std::string content;
    bool exists = false;
    if (!loadFile(filename, content, exists)) return 0;
    std::string updated = content;
    if (!applyChanges(updated, changes, count)) return 0;
    if (updated == content && (exists || updated.empty())) return 1;  // nothing to write (or nothing to create)
    return iniStorage().replace(filename, updated) ? 1 : 0;
}

}  // namespace

int ini_puts(const char* section, const char* key, const char* value, const char* filename) {
    if (filename == nullptr || *filename == '\0') return 0;
    const std::string_view sectionName = section != nullptr ? section : "";
    if (!isWritableChange(sectionName, key, value)) return 0;
    const IniChange change{sectionName, key, value};
    return applyAll(filename, &change, 1);
}

int ini_putsection(const char* section, const char* const* keys, const char* const* values, int count,
                   const char* filename) {
    if (filename == nullptr || *filename == '\0' || count < 0 || (count > 0 && (keys == nullptr || values == nullptr)))
        return 0;
    const std::string_view sectionName = section != nullptr ? section : "";
    std::vector<IniChange> changes;
    changes.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        // A record is written whole: one key that cannot be stored refuses all of them.
        if (keys[i] == nullptr || values[i] == nullptr || !isWritableChange(sectionName, keys[i], values[i])) return 0;
        changes.push_back({sectionName, keys[i], values[i]});
    }
    return applyAll(filename, changes.data(), count);
}
