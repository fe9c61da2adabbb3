// SPDX-License-Identifier: Apache-2.0
// Common ground of the store, motion and power tests: the simulated arm in manual mode, the
// controller adapter's waits turned into simulated time, and a reader of the process log.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "child_process.h"
#include "srciport/sim_arm.h"
#include "thrown_code.h"

namespace motion_test {

srciport::SimArm& sim();

// The adapter's sleeps advance the simulated arm instead of the clock.
void stepSleep(int milliseconds);

// Resets the arm, then powers and enables it through the controller adapter.
void resetArmPoweredAndEnabled();

// Everything the process logged since the last clear().
class Log {
public:
    static std::string text();
    static size_t count(const std::string& needle);
    static void clear();
};

// A fresh directory entered for the lifetime of the object; the previous one is restored.
class ScratchDir {
public:
    ScratchDir() { std::filesystem::current_path(dir_.path()); }
    ~ScratchDir() { std::filesystem::current_path(previous_); }
    std::filesystem::path path() const { return dir_.path(); }
    std::filesystem::path file() const { return path() / "srci.ini"; }

private:
    std::filesystem::path previous_ = std::filesystem::current_path();
    srci_test::TempDir dir_;
};

using srci_test::readFile;
using srci_test::thrownCode;

}  // namespace motion_test
