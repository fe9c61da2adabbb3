// SPDX-License-Identifier: Apache-2.0
// Linking srci_test_counted_new replaces the global operator new with one that calls this hook
// first; the test defines it and decides what to count.
#pragma once

void noteAllocation();
