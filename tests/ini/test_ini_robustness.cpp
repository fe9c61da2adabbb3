// SPDX-License-Identifier: Apache-2.0
// Files that are damaged or not files at all: reads give what they can or the
// default, writes fail cleanly or repair, and nothing crashes or waits.
#include <gtest/gtest.h>

#include <random>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"

namespace {

using namespace std::string_literals;

class IniRobustness : public ::testing::Test {
protected:
    srci_test::TempDir dir;
    std::string path = dir.file("srci.ini");
    minIni ini{path};
};

TEST_F(IniRobustness, BinaryGarbageGivesDefaultsAndIsCopiedAsItWas) {
    std::mt19937 random(20240611);
    std::string garbage(64 * 1024, '\0');
    for (char& c : garbage) c = static_cast<char>(random());
    writeBytes(path, garbage);
    EXPECT_EQ(ini.gets("tool1", "x", "dflt"), "dflt");
    for (int i = 0; !ini.getsection(i).empty(); ++i) ASSERT_LT(i, 100000) << "enumeration must end";

    ASSERT_TRUE(ini.put("tool1", "x", 1.5));
    EXPECT_FLOAT_EQ(ini.getf("tool1", "x"), 1.5f);
    EXPECT_EQ(readFile(path).compare(0, garbage.size(), garbage), 0);
}

TEST_F(IniRobustness, OverlongLinesAreCutForReadingButCopiedWhole) {
    const std::string longLine = "long=" + std::string(10 * 1024, 'v') + "\n";
    writeBytes(path, "[s]\n" + longLine + "after=1\n");
    EXPECT_EQ(ini.gets("s", "long"), std::string(INI_BUFFERSIZE - 1 - 5, 'v'));
    EXPECT_EQ(ini.getkey("s", 1), "after");  // the tail is not a line of its own
    EXPECT_EQ(ini.getkey("s", 2), "");

    ASSERT_TRUE(ini.put("s", "new", "x") && ini.put("s", "after", "22"));
    EXPECT_EQ(readFile(path), "[s]\n" + longLine + "after=22\nnew=x\n");

    // A key behind the cut is out of reach for reads and writes alike.
    writeBytes(path, "[s]\n" + std::string(600, ' ') + "k=1\n");
    EXPECT_FALSE(ini.haskey("s", "k"));
    ASSERT_TRUE(ini.put("s", "k", "2"));
    EXPECT_EQ(ini.gets("s", "k"), "2");
}

// Files are read a block at a time: lines cut by a block's end still read whole.
TEST_F(IniRobustness, LinesAcrossReadBlocksReadWhole) {
    std::string text = "[s]\n";
    for (int i = 0; i < 1000; ++i) text += "key" + std::to_string(i) + "=" + std::to_string(i * 7) + "\n";
    writeBytes(path, text);
    const IniSection record = INI(path).section("s");
    for (int i = 0; i < 1000; ++i) {
        const std::string key = "key" + std::to_string(i);
        ASSERT_EQ(ini.geti("s", key), i * 7) << key;
        ASSERT_EQ(record.getInt(key), i * 7) << key;
    }
}

TEST_F(IniRobustness, NulBytesEndTheReadablePartOfALine) {
    writeBytes(path, "[s]\nk=ab\0cd\n\0x=1\ny=2\n"s);
    EXPECT_EQ(ini.gets("s", "k"), "ab");
    EXPECT_FALSE(ini.haskey("s", "x"));
    ASSERT_TRUE(ini.put("s", "y", "33"));
    EXPECT_EQ(readFile(path), "[s]\nk=ab\0cd\n\0x=1\ny=33\n"s);
}

TEST_F(IniRobustness, TruncatedFilesStillReadAndAreRepairedByWrites) {
    struct Case {
        std::string damaged, x, repaired;
    };
    const Case cases[] = {{"[tool1]\nx=1.5", "1.5", "[tool1]\nx=1.5\ny=2\n"},
                          {"[tool1]\nx=\"open ", "open", "[tool1]\nx=\"open \ny=2\n"},
                          {"[tool", "none", "[tool\n[tool1]\ny=2\n"},
                          {"", "none", "[tool1]\ny=2\n"}};
    for (const Case& c : cases) {
        writeBytes(path, c.damaged);
        EXPECT_EQ(ini.gets("tool1", "x", "none"), c.x);
        ASSERT_TRUE(ini.put("tool1", "y", 2));
        EXPECT_EQ(readFile(path), c.repaired);
    }
}

TEST_F(IniRobustness, SomethingOtherThanAFileUnderTheName) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(ini.gets("s", "k", "d"), "d");
    EXPECT_FALSE(ini.put("s", "k", 1) || ini.del("s"));
    EXPECT_TRUE(std::filesystem::is_directory(path));

    const std::string fifo = dir.file("fifo.ini");  // a plain open would wait for a writer
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(minIni(fifo).geti("s", "k", 4), 4);
    EXPECT_FALSE(minIni(fifo).put("s", "k", 1));
}

}  // namespace
