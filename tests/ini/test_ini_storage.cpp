// SPDX-License-Identifier: Apache-2.0
// A storage that holds its files in memory: readers and writers scan the held text in place,
// never open a stream for it, and answer exactly as they do for the same bytes on the disk.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <string>

#include "INI/iniHandler.h"
#include "INI/iniStorage.h"
#include "iniTestFiles.h"

namespace {

class HeldFiles : public IniStorage {
public:
    HeldFiles() { setIniStorage(this); }
    ~HeldFiles() override { setIniStorage(nullptr); }

    const std::string* heldText(const char* path) override {
        const auto file = files.find(path);
        return file == files.end() ? nullptr : &file->second;
    }
    srci::ini_detail::FileHandle openForReading(const char*) override {
        ++streamsOpened;
        errno = ENOENT;  // only ever asked for files it does not hold
        return {};
    }
    bool replace(const char* path, std::string_view content) override {
        ++replacements;
        files[path] = std::string(content);
        return true;
    }

    std::map<std::string, std::string> files;
    int streamsOpened = 0;
    int replacements = 0;
};

// Every reader's answer for a few names, then three writes that change, add and leave a key
// as it is, each followed by the reads that show it. Which storage holds the file must not show.
std::string transcript(const std::string& path) {
    std::string out;
    const auto line = [&out](const std::string& text) { out += text + "\n"; };
    minIni ini(path);
    const INI typed(path);
    for (int i = 0; i < 4; ++i) line("section " + ini.getsection(i));
    for (const char* section : {"", "a", "B", "none"}) {
        line(std::string("has ") + section + " " + std::to_string(ini.hassection(section)));
        for (int k = 0; k < 3; ++k) line("key " + ini.getkey(section, k));
        for (const char* key : {"x", "y", "long"}) {
            line("gets " + ini.gets(section, key, "<none>") + " haskey " + std::to_string(ini.haskey(section, key)));
            line("getl " + std::to_string(ini.getl(section, key, -1)) + " getf " +
                 std::to_string(ini.getf(section, key, -1)));
            try {
                line("typed " + typed.section(section).getStr(key));
            } catch (int code) {
                line("typed throws " + std::to_string(code));
            }
        }
    }
    const auto fold = [](const char* section, const char* key, const char* value, void* text) {
        *static_cast<std::string*>(text) += std::string(section) + "|" + key + "|" + value + "\n";
        return 1;
    };
    ini_browse(fold, &out, path.c_str());
    line("put " + std::to_string(ini.put("a", "x", "changed")) + " " + ini.gets("a", "x"));
    line("put " + std::to_string(ini.put("new", "z", 3L)) + " " + ini.gets("new", "z"));
    line("put " + std::to_string(ini.put("a", "x", "changed")));
    line("del " + std::to_string(ini.del("B")) + " " + std::to_string(ini.hassection("B")));
    return out;
}

TEST(IniStorage, HeldTextReadsAndWritesAsTheSameBytesOnDisk) {
    const std::string longLine = "long=" + std::string(700, 'v') + "\n";
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"plain", "x=top\n[a]\nx=1\ny=0x10\n[B]\nx=2.5\n"},
        {"no final line feed", "[a]\nx=1\n[b]\ny=last"},
        {"carriage returns and comments", "[a]\r\nx = 1 ; note\r\n# c\r\n[ b ]\r\ny=\"q;\"\r\n"},
        {"repeated names", "[a]\nx=1\nx=2\n[A]\nx=3\n[b]\ny=4\n[b]\ny=5\n"},
        {"line longer than the buffer", "[a]\n" + longLine + "x=after\n"},
        {"empty", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        srci_test::TempDir dir;
        const std::string onDisk = dir.file("srci.ini");
        writeBytes(onDisk, c.text);
        std::string diskTranscript, diskBytes;
        int diskReplacements = 0;
        {
            WatchedDisk disk;
            diskTranscript = transcript(onDisk);
            diskBytes = readFile(onDisk);
            diskReplacements = disk.replacements;
        }
        HeldFiles held;
        held.files[onDisk] = c.text;
        EXPECT_EQ(transcript(onDisk), diskTranscript);
        EXPECT_EQ(held.files[onDisk], diskBytes);
        EXPECT_EQ(held.replacements, diskReplacements);
        EXPECT_EQ(held.streamsOpened, 0);
    }
}

TEST(IniStorage, FileTheStorageDoesNotHoldIsAskedForAsAStreamAndCreated) {
    HeldFiles held;
    EXPECT_EQ(minIni("/held/absent.ini").gets("a", "x", "dflt"), "dflt");
    EXPECT_EQ(held.streamsOpened, 1);
    EXPECT_TRUE(minIni("/held/absent.ini").put("a", "x", "1"));
    EXPECT_EQ(held.files["/held/absent.ini"], "[a]\nx=1\n");
    EXPECT_EQ(held.streamsOpened, 2);
}

}  // namespace
