// SPDX-License-Identifier: Apache-2.0
// The interpreter's whole state: one instance, fixed size, no heap.
#pragma once

#include <cstdint>

#include "commands.h"
#include "cyclic.h"
#include "lifesign.h"
#include "messages.h"
#include "registry.h"
#include "response_queue.h"
#include "sequence_rx.h"
#include "srl/srl_config.h"
#include "srl/srl_types.h"
#include "telegram_state.h"

namespace srl {

struct Context {
    srl_config cfg;
    srl_clock_fn clock = nullptr;
    Registry reg;
    Lifesign life;
    TelegramStateMachine tsm;
    SequenceRx rx;
    ResponseQueue rsp;
    Commands cmds;
    Messages msgs;
    Cyclic cyc;
    LRob_typePersistentData* persistent = nullptr;
    LRob_typeServerAxesGroupParameter* axes = nullptr;
    uint64_t cycle = 0;
    uint64_t now_ms = 0;
    uint16_t client_date = 0;
    uint32_t client_time = 0;
    uint8_t fast_stop = 0;
    bool fast_stop_zero_is_reset = true;  // after GroupReset Done and around (re-)initialisation
    uint8_t area[256] = {};               // R->P sequence area repeated while the ACK is unchanged
    uint16_t area_len = 0;
    unsigned long torn_telegrams = 0;
};

// The one interpreter state. Reached inline: the cycle asks for it in every scan of the command
// register, and a call per slot cost more than the scan itself.
extern Context g_context;
inline Context& ctx() { return g_context; }
uint64_t now_ms();
SequenceState sequence_state();
// Brings the system state record the handlers see up to the register as it stands now.
void update_system_state();
// Client lifesign timeout before ExchangeConfiguration brings the client's value.
uint16_t default_lifesign_timeout();

}  // namespace srl
