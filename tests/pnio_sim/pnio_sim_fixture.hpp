// SPDX-License-Identifier: Apache-2.0
#pragma once
#include <gtest/gtest.h>

#include "ipc_helpers.hpp"

// Every test starts without the fixed IPC keys in use.
class PnioSimTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(remove_stale_ipc()) << "shared memory key 204 is attached by a live process; stop it first";
    }
};
