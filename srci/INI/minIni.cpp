// SPDX-License-Identifier: Apache-2.0
// The reading half of the INI functions and the typed writers built on ini_puts.
#include "INI/minIni.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "INI/iniLineSyntax.h"
#include "INI/iniLookup.h"
#include "INI/iniValueText.h"

using namespace srci::ini_detail;

namespace {

// Numbers are read through a short buffer: no number needs more, and a longer
// value is not a number anyway.
constexpr int numberBufferSize = 64;

std::string_view orEmpty(const char* s) { return s != nullptr ? std::string_view(s) : std::string_view(); }

bool usableBuffer(const char* buffer, int size) { return buffer != nullptr && size > 0; }

int copyOut(std::string_view text, char* buffer, int size) {
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t count = text.size() < room ? text.size() : room;
    if (count > 0) std::memcpy(buffer, text.data(), count);
    buffer[count] = '\0';
    return static_cast<int>(count);
}

KeyLookup lookupInFile(const char* section, const char* key, const char* filename) {
    return lookupKeyInFile(orEmpty(section), orEmpty(key), filename);
}

// What a read of the key gives as text: its value, or "" when it is absent.
std::string valueOrEmpty(const char* section, const char* key, const char* filename) {
    if (key == nullptr) return {};
    KeyLookup found = lookupInFile(section, key, filename);
    return found.keyFound ? std::move(found.value) : std::string();
}

// The part of a value a fixed buffer of this size keeps.
std::string_view cut(std::string_view value, std::size_t bufferSize) { return value.substr(0, bufferSize - 1); }

}  // namespace

namespace srci::ini_detail {

long longFromValue(std::string_view value, long defValue) {
    const std::string text(cut(value, numberBufferSize));
    if (text.empty()) return defValue;
    const bool hexadecimal = text.size() >= 2 && (text[1] == 'x' || text[1] == 'X');
    return std::strtol(text.c_str(), nullptr, hexadecimal ? 16 : 10);
}

float floatFromValue(std::string_view value, float defValue) {
    const std::string text(cut(value, numberBufferSize));
    if (text.empty()) return defValue;
    // strtof, not a narrowed strtod: out-of-range text saturates instead of
    // overflowing the float conversion.
    return std::strtof(text.c_str(), nullptr);
}

int boolFromValue(std::string_view value, int defValue) {
    switch (std::toupper(static_cast<unsigned char>(value.empty() ? '\0' : value.front()))) {
        case '1':
        case 'T':
        case 'Y':
            return 1;
        case '0':
        case 'F':
        case 'N':
            return 0;
        default:
            return defValue;
    }
}

}  // namespace srci::ini_detail

int ini_gets(const char* section, const char* key, const char* defValue, char* buffer, int size, const char* filename) {
    if (!usableBuffer(buffer, size)) return 0;
    if (key != nullptr) {
        const KeyLookup found = lookupInFile(section, key, filename);
        if (found.keyFound) return copyOut(found.value, buffer, size);
    }
    return copyOut(orEmpty(defValue), buffer, size);
}

long ini_getl(const char* section, const char* key, long defValue, const char* filename) {
    return longFromValue(valueOrEmpty(section, key, filename), defValue);
}

float ini_getf(const char* section, const char* key, float defValue, const char* filename) {
    return floatFromValue(valueOrEmpty(section, key, filename), defValue);
}

int ini_getbool(const char* section, const char* key, int defValue, const char* filename) {
    return boolFromValue(valueOrEmpty(section, key, filename), defValue);
}

int ini_hassection(const char* section, const char* filename) {
    IniFileReader file(filename);
    if (!file.isOpen()) return 0;
    IniLineReader& reader = file.lines();
    return findSection(reader, orEmpty(section)) ? 1 : 0;
}

int ini_haskey(const char* section, const char* key, const char* filename) {
    return key != nullptr && lookupInFile(section, key, filename).keyFound ? 1 : 0;
}

int ini_getsection(int idx, char* buffer, int size, const char* filename) {
    if (!usableBuffer(buffer, size)) return 0;
    buffer[0] = '\0';
    IniFileReader file(filename);
    if (!file.isOpen() || idx < 0) return 0;
    IniLineReader& reader = file.lines();
    IniLine line;
    int seen = 0;
    while (reader.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        // "[]" cannot be addressed: the empty name means the part before any section.
        if (syntax.kind != LineKind::section || !syntax.hasName || syntax.name.empty()) continue;
        if (seen++ == idx) return copyOut(syntax.name, buffer, size);
    }
    return 0;
}

int ini_getkey(const char* section, int idx, char* buffer, int size, const char* filename) {
    if (!usableBuffer(buffer, size)) return 0;
    buffer[0] = '\0';
    IniFileReader file(filename);
    if (!file.isOpen() || idx < 0) return 0;
    IniLineReader& reader = file.lines();
    if (!findSection(reader, orEmpty(section))) return 0;
    IniLine line;
    int seen = 0;
    while (reader.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) break;
        if (syntax.kind == LineKind::key && seen++ == idx) return copyOut(syntax.name, buffer, size);
    }
    return 0;
}

int ini_browse(ini_browse_callback callback, void* userData, const char* filename) {
    if (callback == nullptr) return 0;
    IniFileReader file(filename);
    if (!file.isOpen()) return 0;
    IniLineReader& reader = file.lines();
    IniLine line;
    std::string section;
    while (reader.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) {
            section.assign(syntax.name);
        } else if (syntax.kind == LineKind::key) {
            const std::string key(syntax.name);
            const std::string value = valueOf(syntax.rawValue);
            if (callback(section.c_str(), key.c_str(), value.c_str(), userData) == 0) break;
        }
    }
    return 1;
}

int ini_putl(const char* section, const char* key, long value, const char* filename) {
    char text[numberBufferSize];
    std::snprintf(text, sizeof text, "%ld", value);
    return ini_puts(section, key, text, filename);
}

int ini_putf(const char* section, const char* key, float value, const char* filename) {
    // Large enough for FLT_MAX with six decimals.
    char text[numberBufferSize];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    return ini_puts(section, key, text, filename);
}

int ini_putbool(const char* section, const char* key, int value, const char* filename) {
    return ini_puts(section, key, value ? "true" : "false", filename);
}
