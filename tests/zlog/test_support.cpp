// SPDX-License-Identifier: Apache-2.0
#include "test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "qxutil/dualbuff.h"

namespace zlog_test {

ShmScope::ShmScope(std::initializer_list<const char*> channels) : channels_(channels.begin(), channels.end()) {
    static std::atomic<int> counter{0};
    scope_ = "zlogtest." + std::to_string(getpid()) + "." + std::to_string(counter++);
    if (const auto* info = testing::UnitTest::GetInstance()->current_test_info())
        scope_ += std::string(".") + info->name();
    qxutil::setShmScope(scope_);
}

ShmScope::~ShmScope() {
    qxutil::setShmScope(scope_);
    for (const auto& c : channels_) qxutil::removeChannel(c.c_str());
    qxutil::setShmScope("");
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zlogtest.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace zlog_test
