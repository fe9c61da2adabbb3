// SPDX-License-Identifier: Apache-2.0
#include "INI/iniLookup.h"

#include "INI/iniLineSyntax.h"
#include "INI/iniStorage.h"

namespace srci::ini_detail {

bool findSection(IniLineReader& reader, std::string_view section) {
    if (section.empty()) return true;
    IniLine line;
    while (reader.next(line)) {
        if (isSectionLine(parseLine(line.parseText()), section)) return true;
    }
    return false;
}

KeyLookup lookupKey(IniLineReader& reader, std::string_view section, std::string_view key) {
    KeyLookup result;
    result.sectionFound = findSection(reader, section);
    if (!result.sectionFound) return result;
    while (reader.next(result.line)) {
        const LineSyntax syntax = parseLine(result.line.parseText());
        if (syntax.kind == LineKind::section) break;
        if (isKeyLine(syntax, key)) {
            result.keyFound = true;
            result.value = valueOf(syntax.rawValue);
            break;
        }
    }
    return result;
}

KeyLookup lookupKeyInFile(std::string_view section, std::string_view key, const char* filename) {
    FileHandle file = iniStorage().openForReading(filename);
    if (!file) return {};
    IniLineReader reader(file.get());
    return lookupKey(reader, section, key);
}

const std::string* SectionKeys::find(std::string_view key) const {
    for (const auto& [name, value] : keys) {
        if (sameName(name, key)) return &value;
    }
    return nullptr;
}

SectionKeys readSection(IniLineReader& reader, std::string_view section) {
    SectionKeys result;
    result.sectionFound = findSection(reader, section);
    if (!result.sectionFound) return result;
    IniLine line;
    while (reader.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) break;
        if (syntax.kind == LineKind::key) result.keys.emplace_back(std::string(syntax.name), valueOf(syntax.rawValue));
    }
    return result;
}

SectionKeys readSectionInFile(std::string_view section, const char* filename) {
    FileHandle file = iniStorage().openForReading(filename);
    if (!file) return {};
    IniLineReader reader(file.get());
    return readSection(reader, section);
}

}  // namespace srci::ini_detail
