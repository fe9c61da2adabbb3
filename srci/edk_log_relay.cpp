// SPDX-License-Identifier: Apache-2.0
// Moves the interpreter's own diagnostics into this process's log, next to the adapter's.
#include <unistd.h>

#include <cstring>
#include <string>

#include "runtime.h"
#include "srl/srl_api.h"
#include "zlog/zlog_client.h"

void output_edk_log() {
    for (;;) {
        char buffer[256];
        std::memset(buffer, 0, sizeof buffer);
        srl_get_log(buffer);
        buffer[sizeof buffer - 1] = '\0';
        if (buffer[0] == '\0') return;
        zlog::ZLogClient::get()->do_log(zlog::ZLogLvInfo, 0, "\n" + std::string(buffer) + "\n");
    }
}

void EDKLogThread() {
    for (;;) {
        usleep(srci_communication_loop_time_ms * 1000u);
        output_edk_log();
    }
}
