// SPDX-License-Identifier: Apache-2.0
// Feeds arbitrary bytes to every INI reader as a file, then makes a few writes and
// checks that each accepted write reads back.
#include <sys/types.h>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "INI/iniHandler.h"
#include "INI/iniStorage.h"
#include "INI/minIni.h"

namespace {

void expect(bool condition) {
    if (!condition) __builtin_trap();
}

// Every read scans the whole input, so the work per input grows with sections x keys read:
// a few of each cover the same code and keep the run fast.
constexpr int kSectionsRead = 3;
constexpr int kKeysRead = 2;

// The files live in memory: the disk is not under test, and syncing it would cap the run at
// a few hundred inputs a second. Readers scan the text in place; opening a stream for every
// read (a FILE allocated, registered with the sanitizer and freed) was a sixth of a run.
// The adapter reads its file from the disk through a stream, so that way stays under test
// too: while streamsOnly() is set, the storage hands out streams over the text, with a
// reused buffer (fmemopen's fresh 8 KiB block per open, filled and quarantined by the
// sanitizer, cost more than the read itself; unbuffered, glibc reads such a stream a byte per
// call).
class MemoryStorage : public IniStorage {
public:
    const std::string* heldText(const char* path) override {
        if (streamsOnly_) return nullptr;
        const auto file = files_.find(path);
        return file == files_.end() ? nullptr : &file->second;
    }
    srci::ini_detail::FileHandle openForReading(const char* path) override {
        const auto file = files_.find(path);
        if (file == files_.end()) {
            errno = ENOENT;
            return {};
        }
        // Every reader closes its file before the next one opens, so two streams are plenty;
        // running out would mean a file left open.
        Stream* stream = nullptr;
        for (Stream& s : streams_)
            if (!s.open) stream = &s;
        expect(stream != nullptr);
        stream->text = &file->second;
        stream->at = 0;
        stream->open = true;
        const cookie_io_functions_t io{.read = readStream, .write = nullptr, .seek = seekStream, .close = closeStream};
        srci::ini_detail::FileHandle handle(::fopencookie(stream, "r", io));
        if (handle) std::setvbuf(handle.get(), stream->buffer, _IOFBF, sizeof stream->buffer);
        else stream->open = false;
        return handle;
    }
    bool replace(const char* path, std::string_view content) override {
        files_[path] = std::string(content);
        return true;
    }
    void put(const std::string& path, const std::uint8_t* data, std::size_t size) {
        files_[path].assign(reinterpret_cast<const char*>(data), size);
    }
    void streamsOnly(bool on) { streamsOnly_ = on; }

private:
    struct Stream {
        const std::string* text;
        std::size_t at;
        bool open;
        char buffer[4096];
    };

    static ssize_t readStream(void* cookie, char* out, std::size_t size) {
        Stream& s = *static_cast<Stream*>(cookie);
        const std::size_t n = std::min(size, s.text->size() - s.at);
        std::memcpy(out, s.text->data() + s.at, n);
        s.at += n;
        return static_cast<ssize_t>(n);
    }
    static int seekStream(void* cookie, off64_t* offset, int whence) {
        Stream& s = *static_cast<Stream*>(cookie);
        const off64_t base = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? static_cast<off64_t>(s.at)
                                                  : static_cast<off64_t>(s.text->size());
        const off64_t to = base + *offset;
        if (to < 0 || to > static_cast<off64_t>(s.text->size())) return -1;
        s.at = static_cast<std::size_t>(to);
        *offset = to;
        return 0;
    }
    static int closeStream(void* cookie) {
        static_cast<Stream*>(cookie)->open = false;
        return 0;
    }

    std::map<std::string, std::string> files_;
    bool streamsOnly_ = false;
    Stream streams_[2] = {};
};

MemoryStorage& storage() {
    static MemoryStorage memory;
    static const bool installed = (setIniStorage(&memory), true);
    (void)installed;
    return memory;
}

// The sections the checks read; the writes go to the last one. Every check is a function of the
// file and the name, so a name listed twice (often "tool1") is listed once, at its last place:
// a second round of reads, snapshots and comparisons would check nothing new.
std::vector<std::string> someSections(const minIni& ini) {
    std::vector<std::string> sections = {"", "tool1"};
    for (int i = 0; i < kSectionsRead; ++i) {
        std::string name = ini.getsection(i);
        if (name.empty()) break;
        std::erase(sections, name);
        sections.push_back(std::move(name));
    }
    return sections;
}

// Runs f with every file read through a stream, as from the disk.
template <typename F>
auto throughStreams(F f) {
    storage().streamsOnly(true);
    const auto result = f();
    storage().streamsOnly(false);
    return result;
}

// What ini_browse reports, up to 4096 keys: their number and a hash of every section, key and
// value in order.
struct Browsed {
    int result = 0;
    int keys = 0;
    std::uint64_t hash = 14695981039346656037u;
    bool operator==(const Browsed&) const = default;
};

Browsed browse(const std::string& path) {
    const auto fold = [](const char* section, const char* key, const char* value, void* out) {
        Browsed& b = *static_cast<Browsed*>(out);
        for (const char* text : {section, key, value}) {
            for (const char* c = text;; ++c) {  // the NUL too, so "ab","c" differs from "a","bc"
                b.hash = (b.hash ^ static_cast<unsigned char>(*c)) * 1099511628211u;
                if (*c == '\0') break;
            }
        }
        return ++b.keys < 4096 ? 1 : 0;
    };
    Browsed browsed;
    browsed.result = ini_browse(fold, &browsed, path.c_str());
    return browsed;
}

// Each key is compared once, as text, with the key-by-key lookup of the file layer; both layers
// turn text into numbers with the same conversions, so those run on the record alone and are
// compared across the layers for one key per input. A scan per read is what a run costs.
void readEverything(const std::string& path, const std::vector<std::string>& sections) {
    const minIni ini(path);
    const INI typed(path);
    bool layersCompared = false;
    for (const std::string& section : sections) {
        const IniSection record = typed.section(section);
        for (int k = 0; k < kKeysRead; ++k) {
            const std::string key = ini.getkey(section, k);
            if (key.empty()) break;
            // The key was found, so the record's typed reads must not throw (an escaping int
            // ends the run as a finding).
            expect(record.getStr(key) == ini.gets(section, key));
            const double value = record.getDouble(key);
            const int number = record.getInt(key);
            const bool flag = record.getBool(key);
            if (layersCompared) continue;
            layersCompared = true;
            const double d = typed.getDouble(section, key), f = static_cast<double>(ini.getf(section, key));
            expect((d == value && f == value) || (std::isnan(d) && std::isnan(f) && std::isnan(value)));
            expect(typed.getInt(section, key) == number && static_cast<int>(ini.getl(section, key)) == number);
            expect(typed.getBool(section, key) == flag && ini.getbool(section, key) == flag);
            expect(typed.getStr(section, key) == record.getStr(key));
        }
        // A missing key answers by throwing, which costs more under the sanitizer than a whole
        // scan: one section per input walks that path.
        if (&section != &sections.front()) continue;
        try {
            (void)record.getStr("x");
        } catch (int) {
            // a missing key is an ordinary answer here
        }
    }
    // The whole file once more, through a stream as from the disk: the same keys in the same
    // order, with the same values.
    expect(browse(path) == throughStreams([&] { return browse(path); }));
}

const char* const kAddedValue = "a;b \"c\" ";  // quoted when written

std::string lowered(std::string text) {
    for (char& c : text) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

// What reads return for every key of the given sections, by case-blind name: the first line of
// a key in the first matching section, as a read finds it. One scan per section.
using Snapshot = std::map<std::pair<std::string, std::string>, std::string>;

Snapshot snapshot(const std::string& path, const std::vector<std::string>& sections) {
    Snapshot values;
    for (const std::string& section : sections) {
        const srci::ini_detail::SectionKeys keys = srci::ini_detail::readSectionInFile(section, path.c_str());
        for (const auto& [key, value] : keys.keys)
            values.emplace(std::make_pair(lowered(section), lowered(key)), value);
    }
    return values;
}

// A write may change only the keys it was given; every other read stays the same.
void expectOnlyChanged(const Snapshot& before, const Snapshot& after,
                       const std::set<std::pair<std::string, std::string>>& changed) {
    for (const auto& [name, value] : before) {
        if (changed.count(name) != 0) continue;
        const auto now = after.find(name);
        expect(now != after.end() && now->second == value);
    }
}

// The changes writeAndCheck makes key by key, made as one record on a copy of the file, with a
// third key that keeps the value it holds (a change that changes nothing). False when the record
// is refused.
bool writeRecordToCopy(const std::string& path, const std::string& copy, const std::string& section,
                       const std::string& key, const std::string& value) {
    const std::string& text = *storage().heldText(path.c_str());
    storage().put(copy, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    const minIni ini(path);
    std::vector<std::pair<std::string, std::string>> record = {{key, value}};
    const std::string other = ini.getkey(section, 1);
    if (!other.empty() && lowered(other) != lowered(key) && lowered(other) != "fuzzadded")
        record.emplace_back(other, ini.gets(section, other));
    record.emplace_back("fuzzAdded", kAddedValue);
    std::vector<const char*> keys, values;
    for (const auto& [k, v] : record) {
        keys.push_back(k.c_str());
        values.push_back(v.c_str());
    }
    return ini_putsection(section.c_str(), keys.data(), values.data(), static_cast<int>(record.size()), copy.c_str()) ==
           1;
}

void writeAndCheck(const std::string& path, const std::vector<std::string>& sections) {
    minIni ini(path);
    const std::string& section = sections.back();
    std::string key = ini.getkey(section, 0);
    if (key.empty()) key = "x";
    const Snapshot before = snapshot(path, sections);
    std::set<std::pair<std::string, std::string>> changed;

    // The same length as the old value: the line keeps its place and length.
    // Its write loads the file through a stream, as from the disk.
    const std::string sameLength(ini.gets(section, key).size(), '7');
    const std::string copy = "/fuzz/record.ini";
    const bool recordWritten = writeRecordToCopy(path, copy, section, key, sameLength);
    bool keysWritten = true;
    if (throughStreams([&] { return ini.put(section, key, sameLength); })) {
        expect(ini.gets(section, key, "<none>") == sameLength);
        changed.insert({lowered(section), lowered(key)});
    } else {
        keysWritten = false;
    }
    if (ini.put(section, "fuzzAdded", kAddedValue)) {
        expect(ini.gets(section, "fuzzAdded") == kAddedValue);
        changed.insert({lowered(section), "fuzzadded"});
    } else {
        keysWritten = false;
    }
    // A record lands as its keys written one by one: the same bytes.
    if (recordWritten) expect(keysWritten && *storage().heldText(path.c_str()) == *storage().heldText(copy.c_str()));
    if (ini.put("fuzzSection", "v", 2.5)) {
        expect(ini.getf("fuzzSection", "v") == 2.5f);
        changed.insert({"fuzzsection", "v"});
    }
    // Every other key must still read as before, after the writes and after the delete. One
    // snapshot at the end checks both: a write that broke another key leaves it broken, as no
    // later step writes that key. Snapshots are a third of a run.
    if (ini.del(section, key)) changed.insert({lowered(section), lowered(key)});
    expectOnlyChanged(before, snapshot(path, sections), changed);
    (void)ini.del(section);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = "/fuzz/srci.ini";
    storage().put(path, data, size);
    const minIni ini(path);
    const std::vector<std::string> sections = someSections(ini);
    readEverything(path, sections);
    writeAndCheck(path, sections);
    return 0;
}
