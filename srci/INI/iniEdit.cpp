// SPDX-License-Identifier: Apache-2.0
// The file's new text is built in memory by the same line-by-line copy a rewrite through a
// temporary file would make, so several changes can reach the disk in one replacement.
#include <cstdio>
#include <cstdlib>

#include "INI/iniFileAccess.h"
#include "INI/iniLineReader.h"
#include "INI/iniLineSyntax.h"
#include "INI/iniLookup.h"
#include "INI/iniRewrite.h"

namespace srci::ini_detail {

namespace {

// The new text being written, remembering whether its last line is ended.
class CopyTarget {
public:
    explicit CopyTarget(std::FILE* file) : file_(file) {}

    void write(std::string_view text) {
        if (text.empty()) return;
        ok_ = ok_ && std::fwrite(text.data(), 1, text.size(), file_) == text.size();
        lastEnded_ = text.back() == '\n';
    }
    void copy(IniLineReader& source, const IniLine& line) {
        ok_ = ok_ && source.copyTo(line, file_);
        lastEnded_ = line.endsWithLineFeed;
    }
    void copyRest(IniLineReader& source) { ok_ = ok_ && source.copyRest(file_); }
    // A line appended after an unterminated last line must start on its own line.
    void endLastLine() {
        if (!lastEnded_) write("\n");
    }
    bool ok() const { return ok_; }

private:
    std::FILE* file_;
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

// A read-only stream over the text; the text must outlive it.
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
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* out = ::open_memstream(&text, &size);
    if (out == nullptr) return false;
    IniLineReader source{std::string_view(content)};
    CopyTarget target(out);
    copyWithChange(source, target, change);
    const bool ok = target.ok() && !source.failed();
    const bool closed = std::fclose(out) == 0;
    if (ok && closed) content.assign(text, size);
    std::free(text);
    return ok && closed;
}

std::string temporaryName(std::string_view filename) {
    if (filename.empty() || filename.back() == '~') return {};
    std::string name(filename);
    name.back() = '~';
    return name;
}

}  // namespace srci::ini_detail
