// SPDX-License-Identifier: Apache-2.0
// The adapter's start-up and cycle in this process with a PLC client connected to it: every
// client exchange runs exactly one adapter cycle, so counts taken here do not depend on the load.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "inprocess_adapter.h"

struct InProcessLink {
    InProcessLink() : client(adapter, options()) { client.connect(); }

    static srci_plc::ClientOptions options() {
        srci_plc::ClientOptions o;
        o.cycle_ms = 0;
        o.lifesign_timeout_ms = 5000;
        return o;
    }

    // Start-up before the first member: the adapter's singletons must exist before it does.
    bool started = (srci_test::InProcessAdapter::startUp(), true);
    srci_test::InProcessAdapter adapter;
    srci_plc::Client client;
};

// The program's one optional count argument; anything but a positive number ends with the usage.
inline long countArgument(int argc, char** argv, long fallback, const char* usage) {
    const long n = argc > 1 ? std::atol(argv[1]) : fallback;
    if (n <= 0) {
        std::fprintf(stderr, "usage: %s\n", usage);
        std::exit(2);
    }
    return n;
}
