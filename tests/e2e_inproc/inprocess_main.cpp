// SPDX-License-Identifier: Apache-2.0
// The in-process adapter leaves threads running that the real process never stops either (the
// detached power worker, the simulated arm, the log relay): srci_server ends only by a signal.
// Returning from main would destroy the adapter's singletons under those threads, so the test
// program ends the way the process does, without running static destructors.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "isolated_log_channels.h"

#ifdef SRCI_COVERAGE_DUMP
// A build for coverage writes its counters at exit, which _exit skips.
extern "C" void __gcov_dump();
#endif

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    std::fflush(nullptr);
    srci_test::removeIsolatedLogChannels();  // at exit, which _exit skips
#ifdef SRCI_COVERAGE_DUMP
    __gcov_dump();
#endif
    _exit(result);
}
