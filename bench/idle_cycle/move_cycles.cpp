// SPDX-License-Identifier: Apache-2.0
// Counts, in adapter cycles, how long a joint move takes from the telegram that carries it to
// the first answer with IsMoving set: the adapter's cycle runs in this process against a PLC
// client, one cycle per exchange, so the count does not depend on the machine's load. The wall
// time of the running chain adds the wait for the first cycle and the client's own period.
#include <cstdio>
#include <cstdlib>
#include <map>

#include "in_process_link.h"
#include "srci_plc/command_catalog.hpp"
#include "srci_plc/status_word.hpp"

namespace {

srci_plc::ParamValues moveTo(double j1) {
    return {{"j1", j1}, {"j2", 0}, {"j3", 0}, {"j4", 0}, {"j5", 90}, {"j6", 0}, {"vel", 100}, {"acc", 100}};
}

const srci_plc::CommandDef& command(const char* name) {
    const srci_plc::CommandDef* d = srci_plc::find_command(name);
    if (d == nullptr) {
        std::fprintf(stderr, "move_cycles: no command %s\n", name);
        std::exit(1);
    }
    return *d;
}

}  // namespace

int main(int argc, char** argv) {
    const int moves = static_cast<int>(countArgument(argc, argv, 20, "move_cycles [MOVES]  (MOVES > 0, default 20)"));
    InProcessLink link;
    srci_test::InProcessAdapter& adapter = link.adapter;
    srci_plc::Client& client = link.client;
    client.execute(command("reset"), {}, srci_plc::WaitFor::Final, 5000);
    if (!client.execute(command("enable"), {}, srci_plc::WaitFor::Enabled, 30000).enabled) {
        std::fprintf(stderr, "move_cycles: the robot does not enable\n");
        return 1;
    }
    client.execute(command("move-axes"), moveTo(0), srci_plc::WaitFor::Final, 30000);
    std::map<long, int> histogram;
    for (int k = 0; k < moves; ++k) {
        const uint16_t id = client.submit(command("move-axes"), moveTo(k % 2 ? 0 : 5));
        // The submitting cycle is the one whose telegram carries the command.
        const long first = adapter.cycles + 1;
        do {
            client.cycle();
        } while (!srci_plc::decode_status_word(client.last_telegram().status).is_moving &&
                 adapter.cycles - first < 500);
        ++histogram[adapter.cycles - first];
        client.wait(id, srci_plc::WaitFor::Final, 30000);
    }
    std::printf("telegram -> IsMoving, in adapter cycles after the one that reads the command:\n");
    for (const auto& [cycles, count] : histogram) std::printf("  %ld cycle(s): %d move(s)\n", cycles, count);
    return 0;
}
