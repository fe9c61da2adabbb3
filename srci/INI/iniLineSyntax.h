// SPDX-License-Identifier: Apache-2.0
// What one line of an INI file means, and how lines are written.
//
// Reading and writing share these rules so that a write always finds the very
// section and key line that a read would return.
#pragma once

#include <string>
#include <string_view>

namespace srci::ini_detail {

enum class LineKind {
    other,    // blank, or text without "=" or ":"
    comment,  // first non-blank character is ";" or "#"
    section,  // first non-blank character is "["; ends the section before it
    key       // key "=" value, or key ":" value
};

struct LineSyntax {
    LineKind kind = LineKind::other;
    // Section: the name between "[" and the first "]", blanks around it removed;
    // hasName is false when the "]" is missing. Key: the key, blanks removed.
    std::string_view name;
    bool hasName = false;
    // Key lines only: the text after the separator, still raw (quotes, comment).
    std::string_view rawValue;
};

LineSyntax parseLine(std::string_view text);

// The value a key line stands for: quotes and escaped quotes resolved, or a
// trailing comment and the blanks around the value removed.
std::string valueOf(std::string_view rawValue);

// Same length and equal apart from ASCII letter case.
bool sameName(std::string_view a, std::string_view b);

bool isSectionLine(const LineSyntax& line, std::string_view section);
bool isKeyLine(const LineSyntax& line, std::string_view key);

// "[" section "]" and a line feed.
std::string sectionLine(std::string_view section);
// key "=" value and a line feed; the value is quoted where reading it back
// unquoted would change it.
std::string keyLine(std::string_view key, std::string_view value);

// Names and values that the writer refuses because reading them back would give
// something else or would split the line (line breaks, "=" in a key, ...).
bool isWritableSection(std::string_view section);
bool isWritableKey(std::string_view key);
bool isWritableValue(std::string_view value);

}  // namespace srci::ini_detail
