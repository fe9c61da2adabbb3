// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace srci_test {

// Removes this test process's private log channels. Runs at exit; a program that ends with _exit
// calls it first, or the channels stay behind in /dev/shm.
void removeIsolatedLogChannels();

}  // namespace srci_test
