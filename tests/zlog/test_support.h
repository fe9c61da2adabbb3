// SPDX-License-Identifier: Apache-2.0
// Shared fixtures for the logging tests: private shm scopes, scratch directories, file reads.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace zlog_test {

// Puts the process into a shm scope of its own for the lifetime of the object and unlinks
// the listed channels (under that scope) at the end.
class ShmScope {
public:
    explicit ShmScope(std::initializer_list<const char*> channels);
    ~ShmScope();
    ShmScope(const ShmScope&) = delete;
    ShmScope& operator=(const ShmScope&) = delete;
    const std::string& name() const { return scope_; }

private:
    std::string scope_;
    std::vector<std::string> channels_;
};

// A fresh directory under the system temp dir, removed with its contents at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& content);
std::vector<std::string> splitLines(const std::string& text);

}  // namespace zlog_test
