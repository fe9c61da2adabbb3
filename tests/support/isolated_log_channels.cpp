// SPDX-License-Identifier: Apache-2.0
// Test programs that link the adapter would log through the machine-wide channels, where a real
// srci_server on the same machine drains and files them. Each test process takes private
// channels before any other static initialiser can log, and removes them when it ends.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "qxutil/dualbuff.h"

namespace {

void removeChannels() {
    for (const char* name : {"errorlog", "rvodbg.log", "bus"}) qxutil::removeChannel(name);
}

__attribute__((constructor(101))) void isolateLogChannels() {
    qxutil::setShmScope("test" + std::to_string(getpid()));
    std::atexit(removeChannels);
}

}  // namespace
