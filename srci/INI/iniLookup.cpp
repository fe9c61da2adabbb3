// SPDX-License-Identifier: Apache-2.0
#include "INI/iniLookup.h"

#include "INI/iniLineSyntax.h"

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
    IniFileReader file(filename);
    if (!file.isOpen()) return {};
    return lookupKey(file.lines(), section, key);
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
    // A record's section holds a handful of keys; grown key by key, the list would be
    // reallocated three times before its eighth.
    result.keys.reserve(8);
    IniLine line;
    while (reader.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) break;
        if (syntax.kind == LineKind::key) result.keys.emplace_back(std::string(syntax.name), valueOf(syntax.rawValue));
    }
    return result;
}

SectionKeys readSectionInFile(std::string_view section, const char* filename) {
    IniFileReader file(filename);
    if (!file.isOpen()) return {};
    return readSection(file.lines(), section);
}

}  // namespace srci::ini_detail
