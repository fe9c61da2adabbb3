// SPDX-License-Identifier: Apache-2.0
// How values are found and interpreted: syntax, typed conversions and the
// errors of the typed getters.
#include <gtest/gtest.h>

#include <functional>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"
#include "itf_rc/srci_errcode.h"

namespace {

class IniReading : public ::testing::Test {
protected:
    static int codeOf(const std::function<void()>& read) {
        try {
            read();
        } catch (int code) {
            return code;
        }
        return 0;
    }

    srci_test::TempDir dir;
    std::string path = dir.file("srci.ini");
    INI ini{path};
    minIni raw{path};
};

TEST_F(IniReading, DoublesKeepFloatPrecisionAndSixDecimals) {
    ASSERT_TRUE(ini.put("refDyn", "vel", 0.1));
    ASSERT_TRUE(ini.put("refDyn", "acc", 0.0000004));
    EXPECT_EQ(raw.gets("refDyn", "vel"), "0.100000");
    EXPECT_EQ(ini.getDouble("refDyn", "vel"), static_cast<double>(0.1f));  // 0.100000001490116...
    EXPECT_EQ(raw.gets("refDyn", "acc"), "0.000000");
}

TEST_F(IniReading, IntegersBooleansAndDefaults) {
    writeBytes(path,
               "[n]\nhex=0x1F\nnotHex=1F\nneg= -42 \nempty=\nword=abc\n"
               "y=yes\nno=no\nm=maybe\nt=TRUE\none=1\n");
    EXPECT_EQ(ini.getInt("n", "hex"), 31);
    EXPECT_EQ(ini.getInt("n", "notHex"), 1);
    EXPECT_EQ(ini.getInt("n", "neg"), -42);
    EXPECT_EQ(ini.getInt("n", "word"), 0);
    EXPECT_EQ(raw.getl("n", "empty", 5), 5);
    EXPECT_EQ(raw.getl("n", "absent", 9), 9);
    EXPECT_TRUE(ini.getBool("n", "y"));
    EXPECT_FALSE(ini.getBool("n", "no"));
    EXPECT_FALSE(ini.getBool("n", "m"));
    EXPECT_TRUE(raw.getbool("n", "m", true));
    EXPECT_TRUE(ini.getBool("n", "t") && ini.getBool("n", "one"));
    EXPECT_FLOAT_EQ(ini_getf("n", "absent", 2.5f, path.c_str()), 2.5f);
    char small[4];
    EXPECT_EQ(ini_gets("n", "neg", "dflt", small, sizeof small, path.c_str()), 3);
    EXPECT_STREQ(small, "-42");
    EXPECT_EQ(ini_gets("n", "absent", "dflt", small, sizeof small, path.c_str()), 3);
    EXPECT_STREQ(small, "dfl");
}

TEST_F(IniReading, MissingSectionOrKeyIsThrownAsItsCode) {
    writeBytes(path, "[tool1]\nx=1\n[tool2]\ny=2\n");
    EXPECT_EQ(codeOf([&] { ini.getInt("tool3", "x"); }), srci::err_ini_no_section);
    EXPECT_EQ(codeOf([&] { ini.getInt("tool9", "y"); }), 0x10002);  // y exists, in tool2
    EXPECT_EQ(codeOf([&] { ini.getInt("tool2", "x"); }), srci::err_ini_no_key);
    EXPECT_EQ(codeOf([&] { ini.getDouble("tool1", "y"); }), 0x10003);
    EXPECT_EQ(codeOf([&] { ini.getStr("nope", "x"); }), srci::err_ini_no_section);
    EXPECT_EQ(codeOf([&] { ini.getBool("tool1", "nope"); }), srci::err_ini_no_key);
    EXPECT_EQ(codeOf([&] { INI(dir.file("absent.ini")).getInt("tool1", "x"); }), srci::err_ini_no_section);
}

// A record read in one pass answers every key as the key-by-key lookup of the file layer does.
TEST_F(IniReading, SectionReadAgreesWithTheKeyByKeyLookup) {
    writeBytes(path,
               "top=7\n[Tool1]\nx=1.5\nX=2.5\nflag=yes\nn=0x10\nlong=123456789012345678901234567890123456789012"
               "3456789012345678901234567\n[other]\ny=3\n[tool1]\ny=4\nz=5\n[empty]\n");
    const char* const sections[] = {"", "tool1", "TOOL1", "other", "empty", "absent"};
    const char* const keys[] = {"top", "x", "flag", "n", "long", "y", "z", "absent"};
    for (const char* s : sections) {
        const IniSection record = ini.section(s);
        for (const char* k : keys) {
            SCOPED_TRACE(std::string(s) + "/" + k);
            const int code = raw.haskey(s, k) ? 0 : raw.hassection(s) ? srci::err_ini_no_key : srci::err_ini_no_section;
            EXPECT_EQ(codeOf([&] { record.getStr(k); }), code);
            if (code != 0) continue;
            EXPECT_EQ(record.getStr(k), raw.gets(s, k));
            EXPECT_EQ(record.getInt(k), raw.geti(s, k));
            EXPECT_EQ(record.getDouble(k), static_cast<double>(raw.getf(s, k)));
            EXPECT_EQ(record.getBool(k), raw.getbool(s, k));
        }
    }
    EXPECT_EQ(ini.section("tool1").getDouble("x"), 1.5);                                 // the first line of a key wins
    EXPECT_EQ(codeOf([&] { ini.section("tool1").getInt("y"); }), srci::err_ini_no_key);  // first section only
}

TEST_F(IniReading, NamesCompareWithoutCaseButWithLength) {
    writeBytes(path, "[Tool1]\n  LoadID = 4\n[tool10]\nloadId=10\n[ tool2 ]\nloadId=2\n");
    EXPECT_EQ(ini.getInt("tool1", "loadId"), 4);
    EXPECT_EQ(ini.getInt("TOOL10", "LOADID"), 10);
    EXPECT_EQ(ini.getInt("tool2", "loadId"), 2);
    EXPECT_FALSE(ini.hasSection("tool"));
    EXPECT_FALSE(ini.hasKey("tool1", "load"));
}

TEST_F(IniReading, CommentsSeparatorsAndQuotes) {
    writeBytes(path,
               "; leading comment\ntop = head value\n# x=hidden\n"
               "[s]  ; comment after the section\n   ; x=also hidden\n"
               "a = 1 ; trailing\nb=two#words\nc : colon value\nd:e=f\n"
               "e\t=\ttabs\t\r\nplain line\n"
               "spaces=\"  padded  \"\ncomment=\"a;b#c\" ; real comment\n"
               "escaped=\"say \\\"hi\\\" now\"\nbackslash=\"C:\\dir\"\n"
               "open=\"no closing quote  \ninner=ab\"cd\n");
    EXPECT_EQ(raw.gets("", "top"), "head value");
    EXPECT_FALSE(raw.haskey("s", "x"));
    EXPECT_FALSE(raw.haskey("", "a"));  // keys end at the first section line
    const std::pair<const char*, const char*> expected[] = {{"a", "1"},
                                                            {"b", "two"},
                                                            {"c", "colon value"},
                                                            {"d:e", "f"},
                                                            {"e", "tabs"},
                                                            {"spaces", "  padded  "},
                                                            {"comment", "a;b#c"},
                                                            {"escaped", "say \"hi\" now"},
                                                            {"backslash", "C:\\dir"},
                                                            {"open", "no closing quote"},
                                                            {"inner", "ab\"cd"}};
    for (const auto& [key, value] : expected) EXPECT_EQ(raw.gets("s", key, "<missing>"), value) << key;
    EXPECT_FALSE(raw.haskey("s", "d"));  // "=" ends a key before ":" does
    EXPECT_FALSE(raw.haskey("s", "plain line"));
}

}  // namespace
