// SPDX-License-Identifier: Apache-2.0
// Common ground of the store, motion and power tests: the simulated arm in manual mode, the
// controller adapter's waits turned into simulated time, and a reader of the process log.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "srciport/sim_arm.h"
#include "thrown_code.h"

namespace motion_test {

srciport::SimArm& sim();

// Runs before any other static initialiser of the test binary (so before the global store):
// private log channels, manual arm, stale parameter file removed, waits in simulated time.
void prepareProcess();

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
    explicit ScratchDir(const std::string& name);
    ~ScratchDir();
    const std::filesystem::path& path() const { return dir_; }
    std::filesystem::path file() const { return dir_ / "srci.ini"; }

private:
    std::filesystem::path previous_;
    std::filesystem::path dir_;
};

using srci_test::thrownCode;

std::string readFile(const std::filesystem::path& p);
void writeFile(const std::filesystem::path& p, const std::string& text);

}  // namespace motion_test
