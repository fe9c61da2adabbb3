// SPDX-License-Identifier: Apache-2.0
#include "INI/iniLineReader.h"

#include <sys/types.h>
#include <cstring>

#include "INI/iniStorage.h"

namespace srci::ini_detail {

std::string_view IniLine::parseText() const { return {text, ::strnlen(text, keptLength)}; }

bool IniLine::isComplete() const {
    const long long contentLength = length - (endsWithLineFeed ? 1 : 0);
    return contentLength == static_cast<long long>(keptLength);
}

bool IniLineReader::rewind() {
    offset_ = 0;
    if (inMemory_) {
        next_ = 0;
        return true;
    }
    next_ = end_ = 0;
    std::clearerr(file_);
    return ::fseeko(file_, 0, SEEK_SET) == 0;
}

bool IniLineReader::refill() {
    if (inMemory_) return false;
    next_ = 0;
    end_ = std::fread(block_, 1, sizeof block_, file_);
    return end_ > 0;
}

bool IniLineReader::next(IniLine& line) {
    line.start = offset_;
    line.keptLength = 0;
    line.length = 0;
    line.endsWithLineFeed = false;

    while (next_ < end_ || refill()) {
        const char* const begin = data_ + next_;
        const std::size_t available = end_ - next_;
        const char* const lineFeed = static_cast<const char*>(std::memchr(begin, '\n', available));
        const std::size_t taken = lineFeed != nullptr ? static_cast<std::size_t>(lineFeed - begin) : available;
        const std::size_t room = sizeof(line.text) - 1 - line.keptLength;
        const std::size_t kept = taken < room ? taken : room;
        std::memcpy(line.text + line.keptLength, begin, kept);
        line.keptLength += kept;
        line.length += static_cast<long long>(taken);
        next_ += taken;
        if (lineFeed != nullptr) {
            ++line.length;
            ++next_;
            line.endsWithLineFeed = true;
            break;
        }
    }
    line.text[line.keptLength] = '\0';
    offset_ += line.length;
    return line.length > 0;
}

bool IniLineReader::copyTo(const IniLine& line, std::string& out) const {
    if (!inMemory_) return false;
    if (!line.isComplete()) {
        // Longer than the buffer: the bytes come from the text itself, line feed included.
        out.append(data_ + line.start, static_cast<std::size_t>(line.length));
        return true;
    }
    out.append(line.text, line.keptLength);
    if (line.endsWithLineFeed) out += '\n';
    return true;
}

bool IniLineReader::copyRest(std::string& out) {
    if (!inMemory_) return false;
    const std::size_t rest = end_ - next_;
    out.append(data_ + next_, rest);
    offset_ += static_cast<long long>(rest);
    next_ = end_;
    return true;
}

IniFileReader::IniFileReader(const char* filename) {
    IniStorage& storage = iniStorage();
    if (const std::string* text = filename != nullptr ? storage.heldText(filename) : nullptr) {
        reader_.emplace(std::string_view(*text));
        return;
    }
    file_ = storage.openForReading(filename);
    if (file_) reader_.emplace(file_.get());
}

}  // namespace srci::ini_detail
