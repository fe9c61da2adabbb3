// SPDX-License-Identifier: Apache-2.0
#include "INI/iniLineSyntax.h"

namespace srci::ini_detail {

namespace {

// Every control character counts as a blank, which also takes care of the
// carriage return of files written on other systems.
bool isBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

std::string_view trimLeft(std::string_view s) {
    while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
    return s;
}

std::string_view trimRight(std::string_view s) {
    while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
    return s;
}

std::string_view trim(std::string_view s) { return trimRight(trimLeft(s)); }

char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool hasLineBreak(std::string_view s) { return s.find_first_of("\r\n") != std::string_view::npos; }

bool hasOuterBlank(std::string_view s) { return !s.empty() && (isBlank(s.front()) || isBlank(s.back())); }

bool needsQuotes(std::string_view value) {
    return value.find_first_of("\";#") != std::string_view::npos || hasOuterBlank(value);
}

std::string quotedValue(std::string_view value) {
    std::string out;
    out.reserve(value.size() + 2);
    out += '"';
    for (char c : value) {
        if (c == '"') out += '\\';
        out += c;
    }
    out += '"';
    return out;
}

std::string unquotedValue(std::string_view afterQuote) {
    std::string out;
    for (std::size_t i = 0; i < afterQuote.size(); ++i) {
        const char c = afterQuote[i];
        if (c == '\\' && i + 1 < afterQuote.size() && afterQuote[i + 1] == '"') {
            out += '"';
            ++i;
        } else if (c == '"') {
            return out;
        } else {
            out += c;
        }
    }
    // No closing quote: take the rest of the line as it stands.
    return std::string(trimRight(out));
}

}  // namespace

LineSyntax parseLine(std::string_view text) {
    LineSyntax line;
    const std::string_view t = trimLeft(text);
    if (t.empty()) return line;
    if (t.front() == ';' || t.front() == '#') {
        line.kind = LineKind::comment;
        return line;
    }
    if (t.front() == '[') {
        line.kind = LineKind::section;
        const std::size_t close = t.find(']', 1);
        if (close != std::string_view::npos) {
            line.name = trim(t.substr(1, close - 1));
            line.hasName = true;
        }
        return line;
    }
    std::size_t separator = t.find('=');
    if (separator == std::string_view::npos) separator = t.find(':');
    if (separator == std::string_view::npos) return line;
    line.kind = LineKind::key;
    line.name = trimRight(t.substr(0, separator));
    line.hasName = true;
    line.rawValue = t.substr(separator + 1);
    return line;
}

std::string valueOf(std::string_view rawValue) {
    std::string_view v = trimLeft(rawValue);
    if (!v.empty() && v.front() == '"') return unquotedValue(v.substr(1));
    const std::size_t comment = v.find_first_of(";#");
    if (comment != std::string_view::npos) v = v.substr(0, comment);
    return std::string(trimRight(v));
}

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (asciiLower(a[i]) != asciiLower(b[i])) return false;
    }
    return true;
}

bool isSectionLine(const LineSyntax& line, std::string_view section) {
    return line.kind == LineKind::section && line.hasName && sameName(line.name, section);
}

bool isKeyLine(const LineSyntax& line, std::string_view key) {
    return line.kind == LineKind::key && sameName(line.name, key);
}

std::string sectionLine(std::string_view section) {
    std::string out;
    out.reserve(section.size() + 3);
    out += '[';
    out += section;
    out += "]\n";
    return out;
}

std::string keyLine(std::string_view key, std::string_view value) {
    std::string out(key);
    out += '=';
    if (needsQuotes(value)) out += quotedValue(value);
    else out += value;
    out += '\n';
    return out;
}

bool isWritableSection(std::string_view section) {
    return !hasLineBreak(section) && section.find(']') == std::string_view::npos && !hasOuterBlank(section);
}

bool isWritableKey(std::string_view key) {
    if (key.empty() || hasLineBreak(key) || hasOuterBlank(key)) return false;
    if (key.front() == '[' || key.front() == ';' || key.front() == '#') return false;
    return key.find('=') == std::string_view::npos;
}

bool isWritableValue(std::string_view value) {
    if (hasLineBreak(value)) return false;
    // Inside quotes a final backslash would escape the closing quote.
    return !(needsQuotes(value) && !value.empty() && value.back() == '\\');
}

}  // namespace srci::ini_detail
