// SPDX-License-Identifier: Apache-2.0
// A private scratch directory per test (the shared test support's), byte-exact file helpers, and
// a disk storage that is watched at every step of a replacement.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "child_process.h"
#include "watched_ini_disk.h"

using srci_test::readFile;

inline void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline struct stat statOf(const std::string& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info;
}

// Moves the modification time to 2000-01-01, so that any later write shows.
inline void backdate(const std::string& path) {
    const struct timespec times[2] = {{946684800, 0}, {946684800, 0}};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}
