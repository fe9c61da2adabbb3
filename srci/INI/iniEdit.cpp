// SPDX-License-Identifier: Apache-2.0
// The file's new text is built in memory by the same line-by-line copy a rewrite through a
// temporary file would make, so several changes can reach the disk in one replacement.
#include <algorithm>
#include <string>
#include <vector>

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

// Inside the section: the key's first line goes, the rest of the section stays.
void removeKeyInSection(IniLineReader& source, CopyTarget& out, const char* key) {
    IniLine line;
    while (source.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (isKeyLine(syntax, key)) return;
        out.copy(source, line);
        if (syntax.kind == LineKind::section) return;
    }
}

// A removal of a key or (key null) of a whole section.
void copyWithRemoval(IniLineReader& source, CopyTarget& out, const IniChange& change) {
    IniLine header;
    if (!copyUpToSection(source, out, change.section, header)) return;
    if (change.key == nullptr) {
        dropSectionBody(source, out);
    } else {
        if (!change.section.empty()) out.copy(source, header);
        removeKeyInSection(source, out, change.key);
    }
    out.copyRest(source);
}

// The first key line of the section that names one of the record's keys not yet met.
const IniChange* pendingKey(const LineSyntax& syntax, const IniChange* changes, int count, std::vector<bool>& met) {
    if (syntax.kind != LineKind::key) return nullptr;
    for (int i = 0; i < count; ++i) {
        if (!met[static_cast<std::size_t>(i)] && isKeyLine(syntax, changes[i].key)) {
            met[static_cast<std::size_t>(i)] = true;
            return &changes[i];
        }
    }
    return nullptr;
}

// The record's keys that the section did not have, in the record's order.
void writeMissingKeys(CopyTarget& out, const IniChange* changes, int count, const std::vector<bool>& met) {
    for (int i = 0; i < count; ++i) {
        if (!met[static_cast<std::size_t>(i)]) out.write(keyLine(changes[i].key, changes[i].value));
    }
}

// Each key's first line in the section takes its new value where the value differs; the keys
// the section lacks go right before the next section line, or at the very end. A section the
// file lacks is added at the end.
void copyWithRecord(IniLineReader& source, CopyTarget& out, const IniChange* changes, int count) {
    const std::string_view section = changes[0].section;
    std::vector<bool> met(static_cast<std::size_t>(count), false);
    IniLine line;
    if (!copyUpToSection(source, out, section, line)) {
        out.endLastLine();
        out.write(sectionLine(section));
        writeMissingKeys(out, changes, count, met);
        return;
    }
    if (!section.empty()) out.copy(source, line);
    while (source.next(line)) {
        const LineSyntax syntax = parseLine(line.parseText());
        if (syntax.kind == LineKind::section) {
            writeMissingKeys(out, changes, count, met);
            out.copy(source, line);
            out.copyRest(source);
            return;
        }
        const IniChange* change = pendingKey(syntax, changes, count, met);
        if (change != nullptr && valueOf(syntax.rawValue) != change->value)
            out.write(keyLine(change->key, change->value));
        else out.copy(source, line);
    }
    if (std::find(met.begin(), met.end(), false) != met.end()) out.endLastLine();
    writeMissingKeys(out, changes, count, met);
}

// Builds the new text beside the old one (the reader walks the old text in place); room for a
// few added lines saves a second allocation in the usual case.
template <typename Copy>
bool rebuild(std::string& content, Copy copy) {
    std::string updated;
    updated.reserve(content.size() + 256);
    IniLineReader source{std::string_view(content)};
    CopyTarget target(updated);
    copy(source, target);
    if (!target.ok() || source.failed()) return false;
    content.swap(updated);
    return true;
}

// Nothing to remove: what is to go is not there.
bool removalIsNoOp(std::string_view content, const IniChange& change) {
    IniLineReader reader(content);
    const KeyLookup found = lookupKey(reader, change.section, change.key != nullptr ? change.key : "");
    return change.key == nullptr ? !found.sectionFound : !found.keyFound;
}

// One change on its own: a set is a record of one key.
bool applyChange(std::string& content, const IniChange& change) {
    if (change.key != nullptr && change.value != nullptr) return applyChanges(content, &change, 1);
    if (removalIsNoOp(content, change)) return true;
    return rebuild(content, [&](IniLineReader& source, CopyTarget& out) { copyWithRemoval(source, out, change); });
}

}  // namespace

bool applyChanges(std::string& content, const IniChange* changes, int count) {
    // A removal, a second section or a key named twice: one change after another.
    bool oneSectionOfDistinctKeys = true;
    for (int i = 0; i < count && oneSectionOfDistinctKeys; ++i) {
        oneSectionOfDistinctKeys =
            changes[i].key != nullptr && changes[i].value != nullptr && changes[i].section == changes[0].section;
        for (int j = 0; j < i && oneSectionOfDistinctKeys; ++j)
            oneSectionOfDistinctKeys = !sameName(changes[i].key, changes[j].key);
    }
    if (!oneSectionOfDistinctKeys) {
        for (int i = 0; i < count; ++i) {
            if (!applyChange(content, changes[i])) return false;
        }
        return true;
    }
    if (count == 0) return true;
    return rebuild(content,
                   [&](IniLineReader& source, CopyTarget& out) { copyWithRecord(source, out, changes, count); });
}

std::string temporaryName(std::string_view filename) {
    if (filename.empty() || filename.back() == '~') return {};
    std::string name(filename);
    name.back() = '~';
    return name;
}

}  // namespace srci::ini_detail
