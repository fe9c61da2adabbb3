// SPDX-License-Identifier: Apache-2.0
// Runs the adapter's cycle in this process against a PLC client holding an idle link, for an
// instruction count per idle cycle that does not depend on the machine's load:
//   valgrind --tool=callgrind --toggle-collect='runCycle*' idle_cycle 2000
// then divide the reported instructions by the cycle count. The arm stands, so the simulated
// arm's step between cycles is left out by the toggle, as its thread sleeps in srci_server.
#include <cstdio>
#include <cstdlib>

#include "inprocess_adapter.h"

int main(int argc, char** argv) {
    const long cycles = argc > 1 ? std::atol(argv[1]) : 2000;
    if (cycles <= 0) {
        std::fprintf(stderr, "usage: idle_cycle [CYCLES]  (CYCLES > 0, default 2000)\n");
        return 2;
    }
    srci_test::InProcessAdapter::startUp();
    srci_test::InProcessAdapter adapter;
    srci_plc::ClientOptions options;
    options.cycle_ms = 0;
    options.lifesign_timeout_ms = 5000;
    srci_plc::Client client(adapter, options);
    client.connect();
    for (int i = 0; i < 200; ++i) client.cycle();  // settle: start-up events are over
    const long before = adapter.cycles;
    for (long i = 0; i < cycles; ++i) client.cycle();
    std::printf("%ld idle cycles run\n", adapter.cycles - before);
    return 0;
}
