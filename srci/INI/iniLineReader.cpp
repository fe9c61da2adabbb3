// SPDX-License-Identifier: Apache-2.0
#include "INI/iniLineReader.h"

#include <sys/types.h>
#include <cstring>

namespace srci::ini_detail {

std::string_view IniLine::parseText() const { return {text, ::strnlen(text, keptLength)}; }

bool IniLine::isComplete() const {
    const long long contentLength = length - (endsWithLineFeed ? 1 : 0);
    return contentLength == static_cast<long long>(keptLength);
}

bool IniLineReader::rewind() {
    offset_ = 0;
    std::clearerr(file_);
    return ::fseeko(file_, 0, SEEK_SET) == 0;
}

bool IniLineReader::next(IniLine& line) {
    line.start = offset_;
    line.keptLength = 0;
    line.length = 0;
    line.endsWithLineFeed = false;

    int c;
    while ((c = ::getc_unlocked(file_)) != EOF) {
        ++line.length;
        if (c == '\n') {
            line.endsWithLineFeed = true;
            break;
        }
        if (line.keptLength < sizeof(line.text) - 1) line.text[line.keptLength++] = static_cast<char>(c);
    }
    line.text[line.keptLength] = '\0';
    offset_ += line.length;
    return line.length > 0;
}

bool IniLineReader::copyTo(const IniLine& line, std::FILE* out) {
    if (line.isComplete()) {
        if (line.keptLength > 0 && std::fwrite(line.text, 1, line.keptLength, out) != line.keptLength) return false;
        return !line.endsWithLineFeed || std::fputc('\n', out) != EOF;
    }
    // The line did not fit the buffer: copy its bytes straight from the file.
    if (::fseeko(file_, line.start, SEEK_SET) != 0) return false;
    char chunk[INI_BUFFERSIZE];
    long long left = line.length;
    while (left > 0) {
        const std::size_t want =
            left < static_cast<long long>(sizeof chunk) ? static_cast<std::size_t>(left) : sizeof chunk;
        const std::size_t got = std::fread(chunk, 1, want, file_);
        if (got == 0 || std::fwrite(chunk, 1, got, out) != got) return false;
        left -= static_cast<long long>(got);
    }
    return ::fseeko(file_, offset_, SEEK_SET) == 0;
}

bool IniLineReader::copyRest(std::FILE* out) {
    char chunk[INI_BUFFERSIZE];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file_)) > 0) {
        if (std::fwrite(chunk, 1, got, out) != got) return false;
        offset_ += static_cast<long long>(got);
    }
    return std::ferror(file_) == 0;
}

}  // namespace srci::ini_detail
