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
    EXPECT_EQ(s.str(), "sew: 010");
}

TEST(ValueTypes, TextFormsAreTheLogVocabulary) {
    EXPECT_EQ(POSE().str(), "x: 0, y: 0, z: 0, rx: 0, ry: 0, rz: 0");
    EXPECT_EQ(TRANS(100, -2.5, 300).str(), "x: 100, y: -2.5, z: 300");
    EXPECT_EQ(JOINTS(0, 90, 0, 90, 0, 0).str(), "[0, 90, 0, 90, 0, 0]");
    EXPECT_EQ((SEWConfig{0, 1, 2}).str(), "sewConfig: 0-1-2");
    EXPECT_EQ(POSE(1.23456789, 0, 0, 0, 0, 0).str().substr(0, 10), "x: 1.23457");
}

TEST(Records, MoveCommandTextDependsOnType) {
    MoveCmdParam p;
    EXPECT_EQ(p.toolId, -1);
    EXPECT_EQ(p.frameId, -1);
    p.type = MotionCmdType2::Axes;
    p.jpos = JOINTS(0, 90, 0, 90, 0, 0);
    p.generalParam = MoveCmdGeneralParam{20, 50, 0, 3};
    p.toolId = 1;
    EXPECT_EQ(p.str(), "[0, 90, 0, 90, 0, 0], id: 3, [20, 50, 0], toolid: 1");

    p.type = MotionCmdType2::Direct;
    p.frameId = 2;
    p.pos = POSE(1, 2, 3, 180, 0, 90);
    p.turnMode = 2;
    p.sewTarget.fromInt(2);
    p.sewConfigMode = SEWConfig{0, 0, 0};
    EXPECT_EQ(p.str(),
              "toolId: 1, frameId: 2, x: 1, y: 2, z: 3, rx: 180, ry: 0, rz: 90, turnMode: 2, "
              "sew: sew: 010, sewConfig: sewConfig: 0-0-0, id: 3, [20, 50, 0]");

    p.type = static_cast<MotionCmdType2>(7);
    EXPECT_EQ(p.str(), "");
}

TEST(Records, DynamicsAndLoadTextsKeepTheirLineFeeds) {
    DefaultDynamic d{0.5, 1, -1, -1};
    EXPECT_EQ(d.str(), "speed % : 0.5, acc % : 1, dec % : -1, jerk rate % : -1\n");
    ReferenceDynamic r{300, 300, -1, -1};
    EXPECT_EQ(r.str(), "velocity: 300, acc: 300, dec: -1, jerk rate: -1\n");
    LoadData l;
    l.mass = 2;
    EXPECT_EQ(l.str(), "mass: 2, x: 0, y: 0, z: 0, \nrx: 0, ry: 0, rz: 0, ix: 0, iy: 0, iz: 0");
    JogCmdParam j;
    j.jogId = 4;
    j.mode = JogMode::Axes;
    j.direction = -3;
    j.speed = 5;
    EXPECT_EQ(j.str(), "id: 4, jogmode: 2, direction: -3, speed: 5, distance: 0, toolid: -1, frameid: -1");
    FrameData f;
    f.refIndex = 3;
    EXPECT_EQ(f.str(), "refIndex: 3, frame: x: 0, y: 0, z: 0, rx: 0, ry: 0, rz: 0");
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
