// SPDX-License-Identifier: Apache-2.0
// Cost of one key write and one typed read on a parameter file shaped like
// srci.ini (tool sections with nine keys each). Every write syncs the file, so the
// figures are given on the disk of the working directory and on tmpfs, where the
// sync costs nothing and what remains is the library's own work.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "INI/iniHandler.h"

namespace {

constexpr const char* toolKeys[] = {"x", "y", "z", "rx", "ry", "rz", "fixTCP", "loadId", "physicalToolId"};

std::string baseDir(int onTmpfs) {
    if (onTmpfs != 0 && std::filesystem::is_directory("/dev/shm")) return "/dev/shm";
    return std::filesystem::current_path().string();
}

// A file of tool sections, {sections, on tmpfs} taken from the benchmark's arguments; the
// benchmarks work on its middle section.
class ParameterFile {
public:
    explicit ParameterFile(const benchmark::State& state) {
        const int sections = static_cast<int>(state.range(0));
        std::string pattern = baseDir(static_cast<int>(state.range(1))) + "/bench-ini-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        ini_.emplace(dir_ + "/srci.ini");
        for (int s = 1; s <= sections; ++s) {
            const std::string name = "tool" + std::to_string(s);
            for (const char* key : toolKeys) ini_->put(name, key, 1.0);
        }
        section = "tool" + std::to_string((sections + 1) / 2);
    }
    ~ParameterFile() { std::filesystem::remove_all(dir_); }

    INI& ini() { return *ini_; }
    std::string section;

private:
    std::string dir_;
    std::optional<INI> ini_;
};

// rx alternates between 1.0 and `other`.
void putRx(benchmark::State& state, double other) {
    ParameterFile file(state);
    double value = 1.0;
    for (auto _ : state) {
        value = value == 1.0 ? other : 1.0;
        if (!file.ini().put(file.section, "rx", value)) state.SkipWithError("write failed");
    }
}

// 1.000000 <-> 2.000000: the key line keeps its length.
void putSameLength(benchmark::State& state) { putRx(state, 2.0); }

// 1.000000 <-> 10.000000: the length changes.
void putChangingLength(benchmark::State& state) { putRx(state, 10.0); }

// A whole tool record, as the store writes one: six pose keys change, three keep their value.
void putToolRecord(benchmark::State& state) {
    ParameterFile file(state);
    double value = 1.0;
    for (auto _ : state) {
        value = value == 1.0 ? 10.0 : 1.0;
        IniRecord record(file.section);
        for (const char* key : toolKeys)
            record.add(key, key[0] == 'x' || key[0] == 'y' || key[0] == 'z' || key[0] == 'r' ? value : 1.0);
        if (!file.ini().put(record)) state.SkipWithError("write failed");
    }
}

void getDouble(benchmark::State& state) {
    ParameterFile file(state);
    for (auto _ : state) benchmark::DoNotOptimize(file.ini().getDouble(file.section, "physicalToolId"));
}

// {sections, on tmpfs}: 16 sections as asked of the store's tool table, 47 as a
// complete srci.ini has (tools, frames, loads and the two dynamics sections).
void sizes(benchmark::internal::Benchmark* b) {
    b->ArgNames({"sections", "tmpfs"});
    for (int sections : {16, 47})
        for (int tmpfs : {0, 1}) b->Args({sections, tmpfs});
    b->Unit(benchmark::kMicrosecond);
}

BENCHMARK(putSameLength)->Apply(sizes);
BENCHMARK(putChangingLength)->Apply(sizes);
BENCHMARK(putToolRecord)->Apply(sizes);
BENCHMARK(getDouble)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
