// SPDX-License-Identifier: Apache-2.0
// Rotating log file: generation shifting, size limit edges, failures that must not crash.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "test_support.h"
#include "zlog/zlogsvr.h"

namespace {

namespace fs = std::filesystem;
using zlog_test::readFile;

class LogFileTest : public testing::Test {
protected:
    zlog_test::TempDir dir;
    std::string bus = dir.file("bus");
    bool exists(const std::string& suffix) { return fs::exists(bus + suffix); }
};

TEST_F(LogFileTest, GenerationsShiftTheLimitIsInclusiveAndOversizedBlocksStayWhole) {
    zlog::LogFile file(bus.c_str(), 10240, 2);
    ASSERT_TRUE(file.enabled());
    const std::string big(15000, 'O');
    ASSERT_EQ(file.write(big.data(), big.size()), 0);  // into an empty file: no rotation
    EXPECT_FALSE(exists(".0"));
    EXPECT_EQ(readFile(bus), big);

    ASSERT_EQ(file.write("x", 1), 0);  // 15001 > limit: the big block moves to .0
    EXPECT_EQ(readFile(bus + ".0"), big);
    const std::string fill(10239, 'f');
    ASSERT_EQ(file.write(fill.data(), fill.size()), 0);  // exactly the limit: stays
    EXPECT_EQ(readFile(bus), "x" + fill);
    ASSERT_EQ(file.write(big.data(), big.size()), 0);  // oversized into a non-empty file
    EXPECT_EQ(readFile(bus), big);
    EXPECT_EQ(readFile(bus + ".0"), "x" + fill);
    EXPECT_EQ(readFile(bus + ".1"), big);
    ASSERT_EQ(file.write("y", 1), 0);  // two generations kept: the oldest goes
    EXPECT_EQ(readFile(bus), "y");
    EXPECT_EQ(readFile(bus + ".1"), "x" + fill);
    EXPECT_FALSE(exists(".2"));
}

TEST_F(LogFileTest, FailedRenameEndsShiftingAndWritingGoesOn) {
    zlog::LogFile file(bus.c_str(), 10, 2);
    ASSERT_EQ(file.write("0123456789", 10), 0);
    ASSERT_EQ(file.write("abc", 3), 0);  // first block now in bus.0
    // A non-empty directory named bus.1 can neither be deleted nor replaced by bus.0.
    fs::create_directories(bus + ".1/blocker");
    ASSERT_EQ(file.write("0123456789", 10), 0);
    EXPECT_EQ(readFile(bus + ".0"), "0123456789");
    EXPECT_EQ(readFile(bus), "abc0123456789");
}

TEST_F(LogFileTest, ZeroGenerationsStartsTheFileOver) {
    zlog::LogFile file(bus.c_str(), 10, 0);
    file.write("0123456789", 10);
    file.write("next", 4);
    EXPECT_EQ(readFile(bus), "next");
    EXPECT_FALSE(exists(".0"));
}

TEST_F(LogFileTest, UnopenableFileRefusesQuietly) {
    zlog::LogFile file(dir.file("missing/bus").c_str());
    EXPECT_FALSE(file.enabled());
    EXPECT_EQ(file.write("x", 1), -1);
    EXPECT_EQ(file.rotate(), -1);
}

TEST_F(LogFileTest, NullBlockIsAProgrammingErrorNamingTheFunction) {
    zlog::LogFile file(bus.c_str());
    EXPECT_DEATH(file.write(nullptr, 1), "int zlog::LogFile::write\\(const char\\*, size_t\\)");
}

}  // namespace
