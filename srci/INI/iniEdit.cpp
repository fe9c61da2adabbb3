// SPDX-License-Identifier: Apache-2.0
// The file's new text is built in memory by the same line-by-line copy a rewrite through a
// temporary file would make, so several changes can reach the disk in one replacement.
#include <string>

#include "INI/iniLineReader.h"
#include "INI/iniLineSyntax.h"
#include "INI/iniLookup.h"
#include "INI/iniRewrite.h"

namespace srci::ini_detail {

namespace {

// The new text being written, remembering whether its last line is ended.
class CopyTarget {
public:
    explicit CopyTarget(std::string& text) : text_(text) {}

    void write(std::string_view text) {
        if (text.empty()) return;
        text_ += text;
        lastEnded_ = text.back() == '\n';
    }
    void copy(const IniLineReader& source, const IniLine& line) {
        ok_ = source.copyTo(line, text_) && ok_;
        lastEnded_ = line.endsWithLineFeed;
    }
    void copyRest(IniLineReader& source) { ok_ = source.copyRest(text_) && ok_; }
    // A line appended after an unterminated last line must start on its own line.
    void endLastLine() {
        if (!lastEnded_) write("\n");
    }
    bool ok() const { return ok_; }

private:
    std::string& text_;
    bool ok_ = true;
    bool lastEnded_ = true;  // an empty file needs no line feed either
};

// Copies up to the target section line. False when the file has no such section.
bool copyUpToSection(IniLineReader& source, CopyTarget& out, std::string_view section, IniLine& sectionLineRead) {
    if (section.empty()) return true;
    while (source.next(sectionLineRead)) {
        if (isSectionLine(parseLine(sectionLineRead.parseText()), section)) return true;
        out.copy(source, sectionLineRead);
    }
    return false;
}

void dropSectionBody(IniLineReader& source, CopyTarget& out) {
    IniLine line;
    while (source.next(line)) {
        if (parseLine(line.parseText()).kind == LineKind::section) {
            out.copy(source, line);
            return;
        }
    }
}

// Inside the section: the new key line takes the place of the old one, or goes
// right before the next section line, or at the very end.
void replaceKeyInSection(IniLineReader& source, CopyTarget& out, const IniChange& change) {
    const std::string newLine = change.value != nullptr ? keyLine(change.key, change.value) : "";
    IniLine line;
    while (source.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) {
            out.write(newLine);
            out.copy(source, line);
            return;
        }
        if (isKeyLine(syntax, change.key)) {
            out.write(newLine);
            return;
        }
        out.copy(source, line);
    }
    if (!newLine.empty()) {
        out.endLastLine();
        out.write(newLine);
    }
}

void copyWithChange(IniLineReader& source, CopyTarget& out, const IniChange& change) {
    IniLine header;
    if (!copyUpToSection(source, out, change.section, header)) {
        if (change.key != nullptr && change.value != nullptr) {
            out.endLastLine();
            out.write(sectionLine(change.section));
            out.write(keyLine(change.key, change.value));
        }
        return;
    }
    if (change.key == nullptr) {
        dropSectionBody(source, out);
    } else {
        if (!change.section.empty()) out.copy(source, header);
        replaceKeyInSection(source, out, change);
    }
    out.copyRest(source);
}

// Nothing to write: the key already holds the value, or what is to go is not there.
bool changeIsNoOp(std::string_view content, const IniChange& change) {
    IniLineReader reader(content);
    const KeyLookup found = lookupKey(reader, change.section, change.key != nullptr ? change.key : "");
    if (change.key == nullptr) return !found.sectionFound;
    if (change.value == nullptr) return !found.keyFound;
    return found.keyFound && found.value == change.value;
}

}  // namespace

bool applyChange(std::string& content, const IniChange& change) {
    if (changeIsNoOp(content, change)) return true;
    // The reader walks the old text in place, so the new one is built beside it; room for a
    // short added line saves a second allocation in the usual case.
    std::string updated;
    updated.reserve(content.size() + 64);
    IniLineReader source{std::string_view(content)};
    CopyTarget target(updated);
    copyWithChange(source, target, change);
    if (!target.ok() || source.failed()) return false;
    content.swap(updated);
    return true;
}

std::string temporaryName(std::string_view filename) {
    if (filename.empty() || filename.back() == '~') return {};
    std::string name(filename);
    name.back() = '~';
    return name;
}

}  // namespace srci::ini_detail
