// SPDX-License-Identifier: Apache-2.0
// Active Command Register: command dispatch to the handlers, rolling adapter ids, wire states
// and the guarantee that every transmitted command reaches a final state.
#pragma once

#include <cstdint>

#include "command_table.h"
#include "progress.h"
#include "response_queue.h"
#include "sequence_rx.h"

namespace srl {

struct Entry {
    bool live = false;
    const CmdInfo* info = nullptr;
    uint8_t rid = 0;     // id the adapter knows the command by (byte 255)
    uint8_t parseq = 0;  // parameter set in effect
    uint8_t state = 0;   // last wire state queued
    // Removed by a stop/abort: finalised as Aborted with this code unless the adapter reports.
    uint16_t doom_code = 0;
    uint64_t doom_cycle = 0;
    uint64_t start_ms = 0;
    // enable-type state
    bool enabled = false;
    bool jog_running = false;
    bool distance_reached = false;
    bool motion_active = false;
    uint8_t record[32] = {};  // last host command record (EnableRobot, GroupJog)
    uint8_t answer[32] = {};  // last handler answer (ExchangeConfiguration)
    MotionProgress motion;    // moves: Progress and RemainingDistance while Active
};

struct Commands {
    Entry acr[kMaxAcr + 1];
    uint8_t rid_owner[256] = {};  // rolling id -> CmdID, 0 = free
    uint8_t last_rid = 0;
    uint16_t still_cycles = 0;    // consecutive cycles without the moving bit, while a doom waits
    bool enable_new_cmd = false;  // an EnableRobot start/update arrived this cycle
    uint8_t enable_record[8] = {};
    bool stop_completed = false;
    bool interrupt_completed = false;
    uint8_t data_in_sync = 0;
    uint8_t change_index[4] = {};  // tool, frame, load, work area
};

// Feeds reassembled payloads into the register.
struct CommandSink final : FragmentSink {
    bool command_live(uint16_t cmd_id) override;
    void command_reset(uint16_t cmd_id) override;
    void payload_complete(uint16_t cmd_id, const uint8_t* payload, uint16_t len, bool is_new) override;
    void reject(uint16_t cmd_id, uint16_t code) override;
    uint16_t length_acr() override;
};

// Complete payload that arrived outside TelegramState 255: answered, never executed.
struct RefusingSink final : FragmentSink {
    bool command_live(uint16_t) override { return false; }
    void command_reset(uint16_t) override {}
    void payload_complete(uint16_t cmd_id, const uint8_t* payload, uint16_t len, bool is_new) override;
    void reject(uint16_t, uint16_t) override {}
    uint16_t length_acr() override;
};

uint16_t effective_length_acr();
void commands_tick();
// Interface reset (RESET, CLIENT_ERROR) or loss (lifesign, header errors): stop the arm, then
// end every command; on a loss the client may still be listening, so Aborted is sent.
void commands_interface_stop(bool queue_aborts);
void commands_motion_report(int id, int state, int error_code);
void commands_jog_distance(bool reached);
void commands_power_changed(bool enabled);
void commands_sync_item(int item_type, int index);
// What the register holds that makes the sequence run: one scan answers both.
struct LiveKinds {
    bool motion = false;       // a motion command is in the register
    bool jog_running = false;  // a jog is moving the arm
};
LiveKinds commands_live_kinds();
// Internal calls of header-only handlers (stop on reset, pause on a fast stop).
void call_internal(Slot slot, uint16_t cmd_type);

}  // namespace srl
