// SPDX-License-Identifier: Apache-2.0
// Input: the bytes of a telegram trace file, as `srci-plc trace FILE` reads it from the disk:
// pcapng blocks, frames, telegrams, fragments and robot texts all come from the input. The file
// is printed once as text and once as JSON. Both must end with the same status (read to the end,
// or damaged) and print one line per event, the same number of lines; every JSON line must be a
// JSON object, whatever bytes the robot's texts held.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "trace_command.hpp"

namespace {

// The file lives in memory and is opened by its /proc path, as a file on the disk would be.
int g_file = -1;
std::string g_path;

[[noreturn]] void fail(const char* what, const std::string& detail) {
    std::fprintf(stderr, "%s: %s\n", what, detail.c_str());
    std::abort();
}

int print(bool json, std::string& out) {
    std::ostringstream text, errors;
    const int status = srci_plc::cli::run_trace_command({g_path}, json, text, errors);
    out = text.str();
    return status;
}

std::size_t lines(const std::string& text) {
    std::size_t n = 0;
    for (const char c : text) n += c == '\n' ? 1 : 0;
    return n;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    g_file = ::memfd_create("fuzz-trace", 0);
    if (g_file < 0) fail("memfd_create", "no in-memory file");
    g_path = "/proc/self/fd/" + std::to_string(g_file);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (::ftruncate(g_file, 0) != 0 || ::pwrite(g_file, data, size, 0) != static_cast<ssize_t>(size))
        fail("pwrite", "input not written");
    std::string text, json;
    const int textStatus = print(false, text);
    const int jsonStatus = print(true, json);
    if (textStatus != jsonStatus || (textStatus != 0 && textStatus != 1))
        fail("status", std::to_string(textStatus) + " as text, " + std::to_string(jsonStatus) + " as JSON");
    if (lines(text) != lines(json)) fail("line counts differ", text + "---\n" + json);
    std::istringstream in(json);
    for (std::string line; std::getline(in, line);) {
        const auto parsed = nlohmann::json::parse(line, nullptr, false);
        if (parsed.is_discarded() || !parsed.is_object()) fail("not a JSON object", line);
    }
    return 0;
}
