// Opening the INI file and its temporary twin without ever blocking or touching
// anything that is not a plain file. A directory, FIFO or device under the INI
// name is treated as "no usable file" instead of being read, waited on or removed.
#pragma once

#include <cstdio>
#include <memory>

namespace srci::ini_detail {

struct FileCloser {
    void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

enum class OpenMode {
    read,        // "rb"
    readWrite,   // "r+b": the in-place overwrite of one line
    createWrite  // "wb": a new INI file or the temporary copy
};

// Returns an empty handle and leaves errno set when the path cannot be opened in
// that mode or is not a regular file (errno is then EISDIR or EINVAL).
FileHandle openRegularFile(const char* path, OpenMode mode);

// Flushes stdio and the kernel's cache, then closes. False if any step failed, so a
// full disk is noticed before the old file is replaced.
bool flushSyncClose(FileHandle file);

}  // namespace srci::ini_detail
