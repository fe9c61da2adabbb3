// SPDX-License-Identifier: Apache-2.0
// Opening the INI file for reading without ever blocking or touching anything
// that is not a plain file. A directory, FIFO or device under the INI name is
// treated as "no usable file" instead of being read or waited on. Writing goes
// through the storage (iniStorage.h), which replaces the file as a whole.
#pragma once

#include <cstdio>
#include <memory>

namespace srci::ini_detail {

struct FileCloser {
    void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Every reader of an INI stream reads whole blocks of its own, so a stdio buffer would only
// cost an allocation and a second copy: streams for reading are used unbuffered. Call it
// before the first read. Null stays null.
FileHandle unbuffered(FileHandle file);

// Opens for reading ("rb"), unbuffered. Returns an empty handle and leaves errno set when the
// path cannot be opened or is not a regular file (errno is then EISDIR or EINVAL).
FileHandle openForReading(const char* path);

}  // namespace srci::ini_detail
