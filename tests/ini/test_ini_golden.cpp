// SPDX-License-Identifier: Apache-2.0
// The exact bytes the writer produces. The expected files were worked out by hand
// from the file format rules, step by step in the comments.
#include <gtest/gtest.h>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"

namespace {

TEST(IniGolden, SequenceOfPutsOnAFreshFile) {
    srci_test::TempDir dir;
    INI ini(dir.file("srci.ini"));

    // Created with its section line and the key line.
    ASSERT_TRUE(ini.put("tool1", "x", 1.5));
    // Keys appended at the end of the section, which is the end of the file.
    ASSERT_TRUE(ini.put("tool1", "fixTCP", true));
    ASSERT_TRUE(ini.put("tool1", "loadId", 1));
    // A new section goes to the end of the file.
    ASSERT_TRUE(ini.put("userFrame1", "refIndex", 0));
    // A new key of tool1 goes after its last line, before [userFrame1].
    ASSERT_TRUE(ini.put("tool1", "y", -2.25));
    // "x=7.250000\n" has the length of "x=1.500000\n": overwritten in place.
    ASSERT_TRUE(ini.put("tool1", "x", 7.25));
    // "fixTCP=false" is longer than "fixTCP=true": rewritten, the key keeps its place.
    ASSERT_TRUE(ini.put("tool1", "fixTCP", false));
    ASSERT_TRUE(ini.put("tool1", "loadId", 1));  // unchanged
    // Values that would not read back unquoted.
    ASSERT_TRUE(ini.put("userFrame1", "name", "a;b"));
    ASSERT_TRUE(ini.put("userFrame1", "say", std::string("he said \"hi\"")));
    ASSERT_TRUE(ini.put("userFrame1", "pad", "x "));
    ASSERT_TRUE(ini.put("refDyn", "vel", 0.1));
    // Section names match in any case; the new key is written as given.
    ASSERT_TRUE(ini.put("TOOL1", "Z", 3));
    // Same length again: in place, and the line now carries the caller's spelling.
    ASSERT_TRUE(ini.put("tool1", "X", 8.5));

    const std::string expected =
        "[tool1]\n"
        "X=8.500000\n"
        "fixTCP=false\n"
        "loadId=1\n"
        "y=-2.250000\n"
        "Z=3\n"
        "[userFrame1]\n"
        "refIndex=0\n"
        "name=\"a;b\"\n"
        "say=\"he said \\\"hi\\\"\"\n"
        "pad=\"x \"\n"
        "[refDyn]\n"
        "vel=0.100000\n";
    EXPECT_EQ(readFile(ini.path()), expected);
    // Sections and keys enumerate in file order and end with "".
    const minIni raw(ini.path());
    EXPECT_EQ(raw.getsection(2), "refDyn");
    EXPECT_EQ(raw.getsection(3), "");
    EXPECT_EQ(raw.getkey("userFrame1", 3), "pad");
    EXPECT_EQ(raw.getkey("userFrame1", 4), "");
}

TEST(IniGolden, EditsOfAHandWrittenFileKeepItsLayout) {
    srci_test::TempDir dir;
    const std::string path = dir.file("srci.ini");
    writeBytes(path,
               "; robot parameters\n"
               "[tool1]\n"
               "x=1.000000 ; mm\n"
               "\n"
               "[userFrame1]\n"
               "x=2.000000\n"
               "[load1]\n"
               "mass=3.000000\n");
    minIni ini(path);

    // After the blank line that ends tool1, directly before [userFrame1].
    ASSERT_TRUE(ini.put("tool1", "y", 4));
    // Same value as the file holds once the trailing comment is dropped: untouched.
    ASSERT_TRUE(ini.put("tool1", "x", 1.0));
    ASSERT_TRUE(ini.del("userFrame1"));
    ASSERT_TRUE(ini.del("load1", "mass"));
    // The part before the first section line, behind its comment.
    ASSERT_TRUE(ini.put("", "version", "2"));

    EXPECT_EQ(readFile(path),
              "; robot parameters\n"
              "version=2\n"
              "[tool1]\n"
              "x=1.000000 ; mm\n"
              "\n"
              "y=4\n"
              "[load1]\n");
}

}  // namespace
