// SPDX-License-Identifier: Apache-2.0
// A private scratch directory per test and byte-exact file helpers.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class IniScratchDir {
public:
    IniScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "srci-ini-XXXXXX").string();
        dir_ = ::mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
    }
    ~IniScratchDir() { std::filesystem::remove_all(dir_); }
    std::string file(const std::string& name) const { return dir_ + "/" + name; }

private:
    std::string dir_;
};

inline std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

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
