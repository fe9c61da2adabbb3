// SPDX-License-Identifier: Apache-2.0
// The disk storage of srci.ini, watched at every system call of a replacement.
#pragma once

#include <signal.h>

#include "INI/iniStorage.h"

// Counts replacements and file syncs; optionally kills the process at the n-th step.
class WatchedDisk : public DiskIniStorage {
public:
    explicit WatchedDisk(int killAtStep = -1) : killAt_(killAtStep) { setIniStorage(this); }
    ~WatchedDisk() override { setIniStorage(nullptr); }
    int replacements = 0;
    int fileSyncs = 0;

protected:
    void beforeStep(IniStep step) override {
        if (steps_++ == killAt_) ::raise(SIGKILL);
        replacements += step == IniStep::removeStale ? 1 : 0;
        fileSyncs += step == IniStep::syncFile ? 1 : 0;
    }

private:
    int killAt_;
    int steps_ = 0;
};
