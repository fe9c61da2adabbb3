// SPDX-License-Identifier: Apache-2.0
#include "motion_test_support.h"

#include <mutex>

#include "itf_rc/rcitf.h"
#include "qxutil/dualbuff.h"
#include "zlog/zlog_client.h"

namespace motion_test {
namespace {

std::mutex logMu;
std::string collected;

qxutil::DualBuffReader& reader() {
    static qxutil::DualBuffReader r(zlog::ZLOG_SYS_CHANNEL);
    return r;
}

void drainLocked() {
    static std::string buf(qxutil::DUAL_BUFF_MAX_SIZE, '\0');
    for (int n; (n = reader().read(buf.data())) > 0;) collected.append(buf.data(), static_cast<size_t>(n));
}

// Manual arm, stale parameter file removed, waits in simulated time. Must run before the store's
// and the manager's static construction, and after the shared test support has given the
// process log channels of its own (priority 101).
struct EarlyInit {
    EarlyInit() {
        std::filesystem::remove("srci.ini");
        sim().setManual(true);
        srci::setRcItfSleep(stepSleep);
        reader();  // attach before the first record so nothing is missed
    }
};
__attribute__((init_priority(102))) EarlyInit earlyInit;

}  // namespace

srciport::SimArm& sim() { return srciport::SimArm::instance(); }

void stepSleep(int milliseconds) { sim().step(milliseconds / 1000.0); }

void resetArmPoweredAndEnabled() {
    sim().reset();
    srci::RcItf* rc = srci::RcItf::get(true);
    rc->robotPower(true);
    rc->robotEnable(true);
}

std::string Log::text() {
    std::lock_guard<std::mutex> lock(logMu);
    drainLocked();
    return collected;
}

size_t Log::count(const std::string& needle) {
    const std::string all = text();
    size_t n = 0;
    for (size_t pos = all.find(needle); pos != std::string::npos; pos = all.find(needle, pos + needle.size())) ++n;
    return n;
}

void Log::clear() {
    std::lock_guard<std::mutex> lock(logMu);
    drainLocked();
    collected.clear();
}

}  // namespace motion_test
