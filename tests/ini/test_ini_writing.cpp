// SPDX-License-Identifier: Apache-2.0
// Where and how writes land in the file: placement, in-place overwrite versus the
// temporary copy, deletion, quoting and refused input.
#include <gtest/gtest.h>

#include <unistd.h>
#include <cmath>
#include <initializer_list>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"

namespace {

class IniWriting : public ::testing::Test {
protected:
    srci_test::TempDir dir;
    std::string path = dir.file("srci.ini");
    minIni ini{path};
};

TEST_F(IniWriting, InPlaceTemporaryCopyOrNoWriteAtAll) {
    writeBytes(path, "[a]\nk=1\nq = \"v;1\"   \n");
    const struct stat first = statOf(path);
    ASSERT_TRUE(ini.put("a", "k", 2));  // same length: still a new file, never a line rewritten in place
    EXPECT_NE(statOf(path).st_ino, first.st_ino);

    backdate(path);
    ASSERT_TRUE(ini.put("A", "Q", "v;1"));  // the value it already has
    EXPECT_EQ(statOf(path).st_mtim.tv_sec, 946684800);

    ASSERT_TRUE(ini.put("a", "q", "V;1"));  // case matters; the length changes
    EXPECT_EQ(readFile(path), "[a]\nk=2\nq=\"V;1\"\n");
    EXPECT_FALSE(std::filesystem::exists(dir.file("srci.in~")));
}

TEST_F(IniWriting, NewKeysGoAfterTheSectionsLastLine) {
    writeBytes(path, "[a]\nk=1\n\n; end of a\n[b]\nk=2");
    ASSERT_TRUE(ini.put("a", "n", "3"));
    ASSERT_TRUE(ini.put("b", "n", "4"));  // the last line had no line feed
    ASSERT_TRUE(ini.put("c", "n", "5"));
    EXPECT_EQ(readFile(path), "[a]\nk=1\n\n; end of a\nn=3\n[b]\nk=2\nn=4\n[c]\nn=5\n");

    writeBytes(path, "[a]\nfirst=1\nKEY : old ; c\nlast=3\n[b]\nkey=b\n[a]\nkey=second a\n");
    ASSERT_TRUE(ini.put("a", "key", "new"));  // keeps its place; only the first [a] counts
    EXPECT_EQ(readFile(path), "[a]\nfirst=1\nkey=new\nlast=3\n[b]\nkey=b\n[a]\nkey=second a\n");
}

TEST_F(IniWriting, DeletingKeysAndSections) {
    writeBytes(path, "top=1\n[a]\nk=1\nj=2\n[b]\nk=3\n[c]\nk=4\n");
    ASSERT_TRUE(ini.del("a", "K"));
    ASSERT_TRUE(ini.del("B"));
    EXPECT_EQ(readFile(path), "top=1\n[a]\nj=2\n[c]\nk=4\n");

    backdate(path);  // removing what is not there changes nothing
    EXPECT_TRUE(ini.del("a", "absent") && ini.del("absent", "k") && ini.del("absent"));
    EXPECT_EQ(statOf(path).st_mtim.tv_sec, 946684800);

    ASSERT_EQ(ini_puts("c", nullptr, "ignored", path.c_str()), 1);  // the last section
    ASSERT_TRUE(ini.del(""));                                       // the keys in front of the first section
    EXPECT_EQ(readFile(path), "[a]\nj=2\n");
    EXPECT_TRUE(minIni(dir.file("absent.ini")).del("a", "k"));
    EXPECT_FALSE(std::filesystem::exists(dir.file("absent.ini")));
}

TEST_F(IniWriting, AwkwardValuesReadBackAndUnreadableOnesAreRefused) {
    const std::initializer_list<std::string> readable = {
        "a;b",         "#hash",  "say \"x\"", "trailing ",    " leading", "\ttab\t",
        "back\\slash", "x\\\"y", "=equals=",  "[no section]", "",         std::string(INI_BUFFERSIZE - 1 - 2, 'v')};
    for (const std::string& value : readable) {
        ASSERT_TRUE(ini.put("s", "k", value)) << value;
        EXPECT_EQ(ini.gets("s", "k", "<default>"), value);
    }
    EXPECT_EQ(ini.getsection(1), "");

    ASSERT_TRUE(ini.put("s", "k", "1"));
    const std::initializer_list<std::string> unreadable = {"two\nlines", "cr\r", "#quoted ends in backslash\\",
                                                           std::string(INI_BUFFERSIZE - 2, 'v')};
    for (const std::string& value : unreadable) EXPECT_FALSE(ini.put("s", "k", value));
    for (const std::string key : {"a=b", " k", "", ";k", "[k"}) EXPECT_FALSE(ini.put("s", key, "1")) << key;
    EXPECT_FALSE(ini.put("s]", "k", "1"));
    EXPECT_FALSE(ini.put("new\n[s]", "k", "1"));
    EXPECT_FALSE(INI(path).put("s", "k", static_cast<const char*>(nullptr)));
    EXPECT_EQ(readFile(path), "[s]\nk=1\n");
}

TEST_F(IniWriting, TypedWritersAndTheirTextForms) {
    std::filesystem::remove(path);
    ASSERT_TRUE(ini.put("t", "long", -1234567890L) && ini.put("t", "f", 2.5f) && ini.put("t", "huge", 1e300) &&
                ini.put("t", "on", true) && ini.put("t", "off", false));
    EXPECT_EQ(readFile(path), "[t]\nlong=-1234567890\nf=2.500000\nhuge=inf\non=true\noff=false\n");
    EXPECT_TRUE(std::isinf(ini.getf("t", "huge")));
}

TEST_F(IniWriting, FailedWritesReportFalseAndKeepTheOldFile) {
    writeBytes(dir.file("plain"), "x");
    EXPECT_FALSE(INI(dir.file("plain/srci.ini")).put("s", "k", 1));
    EXPECT_FALSE(INI(dir.file("missing-dir/srci.ini")).put("s", "k", 1));

    writeBytes(path, "[s]\nk=1\n");
    std::filesystem::create_directory(dir.file("srci.in~"));  // the temporary name is taken
    EXPECT_FALSE(ini.put("s", "k", "longer"));
    EXPECT_FALSE(ini.put("s", "k", "2"));  // every change needs the temporary file
    EXPECT_EQ(readFile(path), "[s]\nk=1\n");

    const std::string tilde = dir.file("odd.ini~");  // no distinct temporary name
    writeBytes(tilde, "[s]\nk=1\n");
    EXPECT_FALSE(minIni(tilde).put("s", "k", "longer"));
    EXPECT_EQ(readFile(tilde), "[s]\nk=1\n");

    if (::geteuid() != 0) {  // permissions do not bind the super-user
        std::filesystem::create_directory(dir.file("locked"));
        writeBytes(dir.file("locked/srci.ini"), "[s]\nk=1\n");
        std::filesystem::permissions(dir.file("locked"),
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
        EXPECT_FALSE(INI(dir.file("locked/srci.ini")).put("s", "k", "longer"));
        EXPECT_FALSE(INI(dir.file("locked/new.ini")).put("s", "k", 1));
        std::filesystem::permissions(dir.file("locked"), std::filesystem::perms::owner_all);
        EXPECT_EQ(readFile(dir.file("locked/srci.ini")), "[s]\nk=1\n");
    }
}

}  // namespace
