// SPDX-License-Identifier: Apache-2.0
// Test programs that link the adapter would log through the machine-wide channels, where a real
// srci_server on the same machine drains and files them. Each test process takes private
// channels before any other static initialiser can log, and removes them when it ends.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "isolated_log_channels.h"
#include "qxutil/dualbuff.h"

void srci_test::removeIsolatedLogChannels() {
    for (const char* name : {"errorlog", "rvodbg.log", "bus"}) qxutil::removeChannel(name);
}

namespace {

__attribute__((constructor(101))) void isolateLogChannels() {
    qxutil::setShmScope("test" + std::to_string(getpid()));
    std::atexit(srci_test::removeIsolatedLogChannels);
}

}  // namespace
