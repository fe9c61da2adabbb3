// SPDX-License-Identifier: Apache-2.0
#include "test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <sstream>

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

std::string drain(qxutil::DualBuffReader& reader) {
    std::vector<char> buf(qxutil::DUAL_BUFF_MAX_SIZE);
    const int n = reader.read(buf.data());
    return std::string(buf.data(), static_cast<size_t>(n));
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace zlog_test
