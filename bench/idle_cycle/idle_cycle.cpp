// SPDX-License-Identifier: Apache-2.0
// Runs the adapter's cycle in this process against a PLC client holding an idle link, for an
// instruction count per idle cycle that does not depend on the machine's load:
//   valgrind --tool=callgrind --toggle-collect='runCycle*' idle_cycle 2000
// then divide the reported instructions by the cycle count. The arm stands, so the simulated
// arm's step between cycles is left out by the toggle, as its thread sleeps in srci_server.
#include <cstdio>

#include "in_process_link.h"

int main(int argc, char** argv) {
    const long cycles = countArgument(argc, argv, 2000, "idle_cycle [CYCLES]  (CYCLES > 0, default 2000)");
    InProcessLink link;
    for (int i = 0; i < 200; ++i) link.client.cycle();  // settle: start-up events are over
    const long before = link.adapter.cycles;
    for (long i = 0; i < cycles; ++i) link.client.cycle();
    std::printf("%ld idle cycles run\n", link.adapter.cycles - before);
    return 0;
}
