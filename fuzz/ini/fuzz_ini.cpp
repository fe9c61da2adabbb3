// Feeds arbitrary bytes to every INI reader as a file, then makes a few writes and
// checks that each accepted write reads back.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "INI/iniHandler.h"
#include "INI/minIni.h"

namespace {

// tmpfs where available: the writer syncs every change, and the disk is not under test.
const std::string& scratchFile()
{
    static const std::string file = [] {
        const char* base = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
        std::string pattern = std::string(base) + "/fuzz-ini-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        static std::string dir = pattern;
        std::atexit([] { std::filesystem::remove_all(dir); });
        return pattern + "/srci.ini";
    }();
    return file;
}

void writeInput(const std::string& path, const std::uint8_t* data, std::size_t size)
{
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        std::abort();
    if (size > 0 && std::fwrite(data, 1, size, f) != size)
        std::abort();
    std::fclose(f);
}

void expect(bool condition)
{
    if (!condition)
        __builtin_trap();
}

std::vector<std::string> someSections(const minIni& ini)
{
    std::vector<std::string> sections = {"", "tool1"};
    for (int i = 0; i < 4; ++i) {
        std::string name = ini.getsection(i);
        if (name.empty())
            break;
        sections.push_back(std::move(name));
    }
    return sections;
}

void readEverything(const std::string& path, const std::vector<std::string>& sections)
{
    const minIni ini(path);
    const INI typed(path);
    for (const std::string& section : sections) {
        for (int k = 0; k < 4; ++k) {
            const std::string key = ini.getkey(section, k);
            if (key.empty())
                break;
            // The key was found, so the typed getters (which run the plain ones)
            // must not throw: an escaping int ends the run as a finding.
            (void)typed.getDouble(section, key);
            (void)typed.getInt(section, key);
            (void)typed.getBool(section, key);
        }
        try {
            (void)typed.getStr(section, "x");
        } catch (int) {
            // a missing section or key is an ordinary answer here
        }
    }
    int keys = 0;
    const auto countUpTo4096 = [](const char*, const char*, const char*, void* n) {
        return ++*static_cast<int*>(n) < 4096 ? 1 : 0;
    };
    ini_browse(countUpTo4096, &keys, path.c_str());
}

std::string lowered(std::string text)
{
    for (char& c : text)
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

// What reads return for the first keys of the given sections, by case-blind name.
using Snapshot = std::map<std::pair<std::string, std::string>, std::string>;

Snapshot snapshot(const minIni& ini, const std::vector<std::string>& sections)
{
    Snapshot values;
    for (const std::string& section : sections) {
        for (int k = 0; k < 4; ++k) {
            const std::string key = ini.getkey(section, k);
            if (key.empty())
                break;
            values[{lowered(section), lowered(key)}] = ini.gets(section, key);
        }
    }
    return values;
}

// A write may change only the keys it was given; every other read stays the same.
void expectOnlyChanged(const Snapshot& before, const Snapshot& after,
                       const std::set<std::pair<std::string, std::string>>& changed)
{
    for (const auto& [name, value] : before) {
        if (changed.count(name) != 0)
            continue;
        const auto now = after.find(name);
        expect(now != after.end() && now->second == value);
    }
}

void writeAndCheck(const std::string& path, const std::vector<std::string>& sections)
{
    minIni ini(path);
    const std::string& section = sections.back();
    std::string key = ini.getkey(section, 0);
    if (key.empty())
        key = "x";
    const Snapshot before = snapshot(ini, sections);
    std::set<std::pair<std::string, std::string>> changed;

    // The same length as the old value: the in-place path when the line allows it.
    const std::string sameLength(ini.gets(section, key).size(), '7');
    if (ini.put(section, key, sameLength)) {
        expect(ini.gets(section, key, "<none>") == sameLength);
        changed.insert({lowered(section), lowered(key)});
    }
    if (ini.put(section, "fuzzAdded", "a;b \"c\" ")) {
        expect(ini.gets(section, "fuzzAdded") == "a;b \"c\" ");
        changed.insert({lowered(section), "fuzzadded"});
    }
    if (ini.put("fuzzSection", "v", 2.5)) {
        expect(ini.getf("fuzzSection", "v") == 2.5f);
        changed.insert({"fuzzsection", "v"});
    }
    expectOnlyChanged(before, snapshot(ini, sections), changed);

    if (ini.del(section, key)) {
        changed.insert({lowered(section), lowered(key)});
        expectOnlyChanged(before, snapshot(ini, sections), changed);
    }
    (void)ini.del(section);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string& path = scratchFile();
    writeInput(path, data, size);
    const minIni ini(path);
    const std::vector<std::string> sections = someSections(ini);
    readEverything(path, sections);
    writeAndCheck(path, sections);
    return 0;
}
