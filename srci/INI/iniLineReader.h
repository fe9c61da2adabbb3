// SPDX-License-Identifier: Apache-2.0
// Line-by-line reading of an INI file through a fixed buffer.
//
// Bytes come from the file a block at a time and lines are cut with memchr: a byte-by-byte
// getc was most of the cost of a scan.
//
// Only the first INI_BUFFERSIZE - 1 bytes of a line are kept for parsing; the rest
// of an overlong line is skipped, not mistaken for a line of its own. The reader
// remembers where each line starts and how long it really is, so a rewrite can
// still copy the untouched lines byte for byte, however long they are.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "INI/iniFileAccess.h"
#include "INI/minIni.h"

namespace srci::ini_detail {

struct IniLine {
    char text[INI_BUFFERSIZE];   // first bytes of the line without its line feed, NUL-terminated
    std::size_t keptLength = 0;  // bytes of the line held in text
    long long start = 0;         // file offset of the first byte
    long long length = 0;        // bytes in the file, line feed included
    bool endsWithLineFeed = false;

    // Everything up to the first NUL: a NUL byte in a file ends the readable part of its line.
    std::string_view parseText() const;
    // True when text holds the whole line, so it can be copied from memory.
    bool isComplete() const;
};

class IniLineReader {
public:
    explicit IniLineReader(std::FILE* file) : file_(file) {}
    // Reads a file already in memory; the text must outlive the reader.
    explicit IniLineReader(std::string_view text) : data_(text.data()), end_(text.size()), inMemory_(true) {}
    // A copy would read from the original's block.
    IniLineReader(const IniLineReader&) = delete;
    IniLineReader& operator=(const IniLineReader&) = delete;

    // Starts again at the first byte of the file.
    bool rewind();
    // False at the end of the file or on a read error.
    bool next(IniLine& line);
    // Appends the line's exact bytes to out, however long it is. Only a reader of text in
    // memory copies: a rewrite always works on the whole file loaded.
    bool copyTo(const IniLine& line, std::string& out) const;
    // Appends every remaining line unchanged (a reader of text in memory only).
    bool copyRest(std::string& out);
    // True once a read failed: a rewrite must then not replace the file.
    bool failed() const { return !inMemory_ && std::ferror(file_) != 0; }

private:
    bool refill();

    std::FILE* file_ = nullptr;
    long long offset_ = 0;  // offset of the next line
    // Bytes not yet handed out: data_[next_, end_). From a file, data_ is block_ and the file
    // position is always offset_ + (end_ - next_); in memory, data_ is the whole text.
    char block_[4096];
    const char* data_ = block_;
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    bool inMemory_ = false;
};

// A reader over a file of the current storage: over the text in place where the storage holds
// it in memory, else over a stream. Not open when the file cannot be read.
class IniFileReader {
public:
    explicit IniFileReader(const char* filename);
    bool isOpen() const { return reader_.has_value(); }
    IniLineReader& lines() { return *reader_; }

private:
    FileHandle file_;
    std::optional<IniLineReader> reader_;
};

}  // namespace srci::ini_detail
