// SPDX-License-Identifier: Apache-2.0
// Input: the bytes of srci.ini. The store starts on it as the adapter does (file first,
// controller as fallback, everything written back), then two more stores start on the file the
// one before left. A damaged file may fall back to the controller or the defaults, but what the
// store settled on must survive a restart: up to the file's six decimals at the first restart,
// exactly from then on.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include <cerrno>
#include <string>

#include "INI/iniStorage.h"
#include "itf_rc/rcitf.h"
#include "srciport/sim_arm.h"
#include "srl/edk_helper.h"

namespace {

// srci.ini lives in memory: the store is under test, not the disk. On the disk it read the file
// anew for every key, and the system calls of that (about 6 500 an input) held the run at a dozen
// inputs a second even on tmpfs.
class MemoryFile : public IniStorage {
public:
    std::string path, text;
    bool exists = false;

    const std::string* heldText(const char* p) override { return exists && path == p ? &text : nullptr; }
    srci::ini_detail::FileHandle openForReading(const char* p) override {
        if (!exists || path != p) {
            errno = ENOENT;
            return {};
        }
        // Readers scan the held text; a stream is only asked for by a reader that needs one.
        return srci::ini_detail::FileHandle(::fmemopen(text.data(), text.size(), "r"));
    }
    bool replace(const char* p, std::string_view content) override {
        if (path != p) return false;  // the store writes no other file
        text = content;
        exists = true;
        return true;
    }
};

MemoryFile g_file;

double g_tolerance = 0;  // relative; 0 = exact

bool same(double a, double b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return true;
    return std::fabs(a - b) <= g_tolerance * std::fmax(1.0, std::fmax(std::fabs(a), std::fabs(b)));
}

bool samePose(const srci::POSE& a, const srci::POSE& b) {
    for (unsigned i = 0; i < 6; ++i)
        if (!same(a[i], b[i])) return false;
    return true;
}

void check(bool ok, const char* what, int index) {
    if (ok) return;
    std::fprintf(stderr, "store value changed across a restart: %s %d\n", what, index);
    std::abort();
}

void compare(EDK_Helper& first, EDK_Helper& second) {
    for (int i = 1; i < EDK_Helper::MaxToolsCount; ++i) {
        const srci::ToolData a = first.getStoredTool(i), b = second.getStoredTool(i);
        check(samePose(a.pose, b.pose) && a.fixed_tool == b.fixed_tool && a.loadId == b.loadId &&
                  a.physicalToolId == b.physicalToolId,
              "tool", i);
    }
    for (int i = 1; i < EDK_Helper::MaxFramesCount; ++i) {
        const srci::FrameData a = first.getStoredFrame(i), b = second.getStoredFrame(i);
        check(samePose(a.pose, b.pose) && a.refIndex == b.refIndex, "frame", i);
    }
    for (int i = 1; i < EDK_Helper::MaxLoadsCount; ++i) {
        const srci::LoadData a = first.getStoredLoad(i), b = second.getStoredLoad(i);
        check(same(a.mass, b.mass) && same(a.x, b.x) && same(a.y, b.y) && same(a.z, b.z), "load", i);
    }
    const srci::ReferenceDynamic ra = first.getStoredRefDyn_linear(), rb = second.getStoredRefDyn_linear();
    check(same(ra.vel, rb.vel) && same(ra.acc, rb.acc), "reference dynamics", 0);
    const srci::DefaultDynamic da = first.getStoredDefaultDyn(), db = second.getStoredDefaultDyn();
    check(same(da.vel_rate, db.vel_rate) && same(da.acc_rate, db.acc_rate), "default dynamics", 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The store names its file after the working directory; nothing is written there.
    char* cwd = ::get_current_dir_name();
    if (cwd == nullptr) std::abort();
    g_file.path = std::string(cwd) + "/srci.ini";
    std::free(cwd);
    setIniStorage(&g_file);
    srciport::SimArm::instance().stopThread();
    srciport::SimArm::instance().setManual(true);
    srci::setRcItfSleep([](int) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    srciport::SimArm::instance().reset();
    g_file.text.assign(reinterpret_cast<const char*>(data), size);
    g_file.exists = true;

    // A dynamics section without "vel" or "acc" fails the construction on purpose (the error is
    // not caught there); anything else the first start must survive.
    std::optional<EDK_Helper> start;
    try {
        start.emplace();
    } catch (int) {
        return 0;
    }
    EDK_Helper& first = *start;
    EDK_Helper second;
    EDK_Helper third;
    g_tolerance = 1e-6;  // six decimals and float precision in the file
    compare(first, second);
    g_tolerance = 0;
    compare(second, third);
    return 0;
}
