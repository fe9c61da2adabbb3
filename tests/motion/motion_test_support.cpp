// SPDX-License-Identifier: Apache-2.0
#include "motion_test_support.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

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

void removeChannels() {
    qxutil::removeChannel(zlog::ZLOG_SYS_CHANNEL);
    qxutil::removeChannel(zlog::ZLOG_ERR_CHANNEL);
}

struct EarlyInit {
    EarlyInit() { prepareProcess(); }
};
// Must run before the store's and the manager's static construction.
__attribute__((init_priority(101))) EarlyInit earlyInit;

}  // namespace

srciport::SimArm& sim() { return srciport::SimArm::instance(); }

void prepareProcess() {
    qxutil::setShmScope("motiontest." + std::to_string(getpid()));
    removeChannels();
    std::atexit(removeChannels);
    std::filesystem::remove("srci.ini");
    sim().setManual(true);
    srci::setRcItfSleep(stepSleep);
    reader();  // attach before the first record so nothing is missed
}

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

ScratchDir::ScratchDir(const std::string& name) : previous_(std::filesystem::current_path()) {
    dir_ = previous_ / ("scratch_" + name);
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
    std::filesystem::current_path(dir_);
}

ScratchDir::~ScratchDir() {
    std::filesystem::current_path(previous_);
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

std::string readFile(const std::filesystem::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeFile(const std::filesystem::path& p, const std::string& text) {
    std::ofstream out(p, std::ios::trunc);
    out << text;
}

}  // namespace motion_test
