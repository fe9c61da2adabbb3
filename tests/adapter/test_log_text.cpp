// SPDX-License-Identifier: Apache-2.0
// Log texts built in a fixed buffer must read exactly as the string concatenation they replace.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "itf_rc/srci_log.h"

using srci::LogText;

namespace {

TEST(LogText, NumbersReadAsToStringWritesThem) {
    struct Row {
        std::string built, expected;
    } rows[] = {
        {std::string((LogText() << "id: " << uint32_t{4294967295u}).view()), "id: " + std::to_string(4294967295u)},
        {std::string((LogText() << -2147483647 - 1).view()), std::to_string(-2147483647 - 1)},
        {std::string((LogText() << static_cast<unsigned char>(200)).view()), std::to_string(200)},
        {std::string(LogText().fixed(0.5).view()), std::to_string(0.5)},
        {std::string(LogText().fixed(-1e20).view()), std::to_string(-1e20)},
        {std::string(LogText().fixed(std::numeric_limits<double>::max()).view()),
         std::to_string(std::numeric_limits<double>::max())},
    };
    for (const Row& r : rows) EXPECT_EQ(r.built, r.expected);
}

TEST(LogText, ATextLongerThanItsBufferStaysWhole) {
    LogText text;
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        text << i << ", ";
        expected += std::to_string(i) + ", ";
    }
    EXPECT_EQ(text.view(), expected);
}

}  // namespace
