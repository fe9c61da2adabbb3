// SPDX-License-Identifier: Apache-2.0
// srci.ini survives a crash at any moment of a write, each record is written whole in one
// replacement of the file, and a planted temporary file is never followed.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <set>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"

namespace {

IniRecord toolRecord(double base) {
    IniRecord tool("tool3");
    for (const char* key : {"x", "y", "z", "rx", "ry", "rz"}) tool.add(key, base += 1.25);
    return tool.add("fixTCP", base > 100)
        .add("loadId", static_cast<int>(base))
        .add("physicalToolId", static_cast<int>(base) % 7);
}

// What the same keys give written one by one: the format the record write must keep.
std::string putKeyByKey(const std::string& path, const IniRecord& record) {
    INI ini(path);
    for (std::size_t i = 0; i < record.keys().size(); ++i)
        EXPECT_TRUE(ini.put(record.section(), record.keys()[i], record.values()[i]));
    return readFile(path);
}

std::map<std::string, std::string> sectionValues(const std::string& path, const IniRecord& like) {
    std::map<std::string, std::string> values;
    const minIni ini(path);
    for (const std::string& key : like.keys()) values[key] = ini.gets(like.section(), key, "<missing>");
    return values;
}

std::map<std::string, std::string> valuesOf(const IniRecord& record) {
    std::map<std::string, std::string> values;
    for (std::size_t i = 0; i < record.keys().size(); ++i) values[record.keys()[i]] = record.values()[i];
    return values;
}

const char* const kStoreFile =
    "[refDyn]\nvel=300.000000\nacc=300.000000\ndec=-1.000000\njerk=-1.000000\n"
    "[tool3]\nx=1.000000\ny=2.250000\nz=3.500000\nrx=4.750000\nry=6.000000\nrz=7.250000\n"
    "fixTCP=false\nloadId=7\nphysicalToolId=0\n"
    "[userFrame1]\nx=5.000000\nrefIndex=0\n";

TEST(IniAtomic, RecordIsOneReplacementWithTheBytesOfKeyByKeyWrites) {
    struct Case {
        const char* name;
        std::string before;  // "" = no file yet
        IniRecord record;
        int replacements;
    };
    const Case cases[] = {
        {"fresh file", "", toolRecord(10), 1},
        {"every key changes", kStoreFile, toolRecord(10), 1},
        {"one key changes, same length", kStoreFile, IniRecord("tool3").add("x", 7.0).add("y", 2.25).add("loadId", 7),
         1},
        {"keys missing from the section", "[tool3]\nx=1.000000\n\n[b]\nk=1", toolRecord(-3), 1},
        {"new section at the end", kStoreFile, IniRecord("load2").add("mass", 1.5).add("ix", 0.0), 1},
        {"nothing changes", kStoreFile, IniRecord("tool3").add("x", 1.0).add("fixTCP", false).add("physicalToolId", 0),
         0},
        {"keys held in another letter case", "[Tool3]\nX=1.000000\nY=2.000000\n",
         IniRecord("tool3").add("x", 1.0).add("y", 2.0), 0},
        {"values held only by a later section of the same name",
         "[tool3]\nx=2.000000\n[TOOL3]\nx=1.000000\ny=2.000000\n", IniRecord("tool3").add("x", 1.0).add("y", 2.0), 1},
        {"the first of two lines of a key differs", "[tool3]\nx=2.000000\nX=1.000000\ny=2.000000\n",
         IniRecord("tool3").add("x", 1.0).add("y", 2.0), 1},
        {"keys missing at the end of a file without a last line feed", "[tool3]\ny=0.5", toolRecord(2), 1},
        {"a key named twice in the record", kStoreFile, IniRecord("tool3").add("x", 1.5).add("X", 2.5), 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        srci_test::TempDir dir;
        const std::string oneByOne = dir.file("keys.ini"), record = dir.file("srci.ini");
        if (!c.before.empty()) {
            writeBytes(oneByOne, c.before);
            writeBytes(record, c.before);
        }
        const std::string expected = putKeyByKey(oneByOne, c.record);

        WatchedDisk disk;
        ASSERT_TRUE(INI(record).put(c.record));
        EXPECT_EQ(readFile(record), expected);
        EXPECT_EQ(disk.replacements, c.replacements);
        EXPECT_EQ(disk.fileSyncs, c.replacements);
        EXPECT_FALSE(std::filesystem::exists(dir.file("srci.in~")));
    }
}

TEST(IniAtomic, RecordWithAnUnwritableKeyWritesNothing) {
    srci_test::TempDir dir;
    writeBytes(dir.file("srci.ini"), kStoreFile);
    WatchedDisk disk;
    EXPECT_FALSE(INI(dir.file("srci.ini")).put(IniRecord("tool3").add("x", 9.0).add("a=b", 1)));
    EXPECT_EQ(readFile(dir.file("srci.ini")), kStoreFile);
    EXPECT_EQ(disk.replacements, 0);
}

// The writer is killed before each system call of a tool write in turn; after every crash the
// file is there, parses, every other section is untouched, and tool3 is wholly old or wholly
// new. The stale temporary file a crash leaves must not stop the next write.
TEST(IniAtomic, KilledAtEveryStepOfAToolWriteLeavesEachRecordWhole) {
    srci_test::TempDir dir;
    const std::string path = dir.file("srci.ini");
    writeBytes(path, kStoreFile);
    const IniRecord oldTool = toolRecord(-0.25);  // the tool3 of kStoreFile
    const IniRecord newTool = toolRecord(40);
    const std::string untouched = "[userFrame1]\nx=5.000000\nrefIndex=0\n";

    std::set<std::string> outcomes;
    bool completed = false;
    for (int step = 0; step < 50 && !completed; ++step) {
        SCOPED_TRACE("killed before step " + std::to_string(step));
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            WatchedDisk disk(step);
            _exit(INI(path).put(newTool) ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        completed = WIFEXITED(status);
        if (completed) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
        }

        ASSERT_TRUE(std::filesystem::is_regular_file(path)) << "srci.ini must never be missing";
        const std::string bytes = readFile(path);
        EXPECT_NE(bytes.find(untouched), std::string::npos);
        EXPECT_EQ(INI(path).getDouble("refDyn", "vel"), 300.0);
        const auto now = sectionValues(path, oldTool);
        const bool isOld = now == valuesOf(oldTool), isNew = now == valuesOf(newTool);
        EXPECT_TRUE(isOld || isNew) << bytes;
        outcomes.insert(isNew ? "new" : "old");

        // Back to the old record for the next round, over whatever temporary file was left.
        ASSERT_TRUE(INI(path).put(oldTool));
        ASSERT_EQ(readFile(path), kStoreFile);
    }
    EXPECT_TRUE(completed);
    EXPECT_EQ(outcomes, (std::set<std::string>{"old", "new"})) << "a kill after the rename keeps the new record";
}

TEST(IniAtomic, PlantedTemporaryLinkIsNeverFollowed) {
    struct Case {
        const char* name;
        bool targetExists;
    };
    for (const Case c : {Case{"link to a file", true}, Case{"dangling link", false}}) {
        SCOPED_TRACE(c.name);
        srci_test::TempDir dir;
        const std::string path = dir.file("srci.ini"), victim = dir.file("victim");
        writeBytes(path, kStoreFile);
        if (c.targetExists) writeBytes(victim, "keep me\n");
        std::filesystem::create_symlink(victim, dir.file("srci.in~"));

        ASSERT_TRUE(INI(path).put(toolRecord(5)));
        EXPECT_EQ(std::filesystem::exists(victim), c.targetExists);
        if (c.targetExists) {
            EXPECT_EQ(readFile(victim), "keep me\n");
        }
        EXPECT_FALSE(std::filesystem::is_symlink(path));
        EXPECT_EQ(sectionValues(path, toolRecord(5)), valuesOf(toolRecord(5)));
    }
}

}  // namespace
