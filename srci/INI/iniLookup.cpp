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

}  // namespace srci::ini_detail
