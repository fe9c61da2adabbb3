// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

#include "itf_rc/srci_errcode.h"
#include "itf_rc/srci_log.h"
#include "itf_rc/srci_records.h"
#include "itf_rc/srci_types.h"

using namespace srci;

TEST(ValueTypes, JointIndexIsOneBasedAndThrowsOutsideOneToSix) {
    JOINTS j(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(j[1], 1);
    EXPECT_EQ(j[6], 6);
    j[3] = 30;
    EXPECT_EQ(j.joints[2], 30);
    for (unsigned char bad : {0, 7, 255}) {
        try {
            (void)j[bad];
            FAIL() << "index " << int(bad) << " accepted";
        } catch (int code) {
            EXPECT_EQ(code, err_joints_index);
        }
    }
}

TEST(ValueTypes, PoseIndexSplitsTranslationAndOrientationAndNeverThrows) {
    POSE p(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(p[0], 1);
    EXPECT_EQ(p[3], 4);
    EXPECT_EQ(p[5], 6);
    EXPECT_EQ(p[6], 0.0);
    EXPECT_EQ(TRANS(1, 2, 3)[3], 0.0);
    EXPECT_EQ(ORI(1, 2, 3)[99], 0.0);
}

TEST(ValueTypes, MatchUsesInclusiveTolerancesPerComponent) {
    // Differences of exactly the tolerance still match (the bound is inclusive).
    POSE a(0, 0, 0, 0, 0, 0);
    EXPECT_TRUE(a.match(POSE(0.01, -0.01, 0.01, 0, 0, 0)));
    EXPECT_FALSE(a.match(POSE(0.0101, 0, 0, 0, 0, 0)));
    EXPECT_TRUE(a.match(POSE(0, 0, 0, 0.001, -0.001, 0)));
    EXPECT_FALSE(a.match(POSE(0, 0, 0, 0.0011, 0, 0)));
    EXPECT_FALSE(a.match(POSE(0, 0, 0, 0, 0, 0.002)));
}

TEST(ValueTypes, SewEncodingUsesLowThreeBits) {
    SEW s;
    s.fromInt(0xFF);
    EXPECT_TRUE(s.s && s.e && s.w);
    EXPECT_EQ(s.toInt(), 7);
    s.fromInt(0b010);
    EXPECT_FALSE(s.s);
    EXPECT_TRUE(s.e);
    EXPECT_FALSE(s.w);
    EXPECT_EQ(s.toInt(), 2);
}

// Log texts built in a fixed buffer must read exactly as the string concatenation they replace.
TEST(LogText, NumbersReadAsToStringWritesThemAndLongTextsStayWhole) {
    const std::string rows[][2] = {
        {std::string((LogText() << "id: " << uint32_t{4294967295u}).view()), "id: " + std::to_string(4294967295u)},
        {std::string((LogText() << -2147483647 - 1).view()), std::to_string(-2147483647 - 1)},
        {std::string((LogText() << static_cast<unsigned char>(200)).view()), std::to_string(200)},
        {std::string(LogText().fixed(0.5).view()), std::to_string(0.5)},
        {std::string(LogText().fixed(-1e20).view()), std::to_string(-1e20)},
        {std::string(LogText().fixed(std::numeric_limits<double>::max()).view()),
         std::to_string(std::numeric_limits<double>::max())},
    };
    for (const auto& r : rows) EXPECT_EQ(r[0], r[1]);
    LogText text;
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        text << i << ", ";
        expected += std::to_string(i) + ", ";
    }
    EXPECT_EQ(text.view(), expected);
}

// Handler log texts and record texts are built without a stream, in a stream's forms.
TEST(LogText, StreamedValuesReadAsAnOutputStreamWritesThem) {
    const double doubles[] = {0.0,
                              -0.0,
                              1.5,
                              0.1,
                              1e-5,
                              0.0001,
                              123456,
                              1234567,
                              1e21,
                              -2.5e-7,
                              90.0000001,
                              2.0 / 3,
                              std::numeric_limits<double>::max(),
                              std::numeric_limits<double>::quiet_NaN(),
                              -std::numeric_limits<double>::infinity()};
    for (const double d : doubles) {
        std::ostringstream os;
        os << d << ' ' << static_cast<float>(d);
        LogText text;
        appendAll(text, d, ' ', static_cast<float>(d));
        EXPECT_EQ(text.view(), os.str());
    }
    std::ostringstream os;
    os << true << false << 'c' << static_cast<unsigned char>('u') << static_cast<signed char>('s') << -7 << 65535u
       << "text" << std::string(" and more");
    LogText text;
    appendAll(text, true, false, 'c', static_cast<unsigned char>('u'), static_cast<signed char>('s'), -7, 65535u,
              "text", std::string(" and more"));
    EXPECT_EQ(text.view(), os.str());
}
