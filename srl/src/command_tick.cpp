// SPDX-License-Identifier: Apache-2.0
// Cyclic work of the command register: adapter reports, stop completion, the sweep that ends
// dropped commands, enable supervision and interface stops.
#include <cstring>

#include "command_actions.h"
#include "commands.h"
#include "context.h"
#include "log_queue.h"
#include "record_tables.h"
#include "srl/srl_api.h"

namespace srl {
namespace {

using namespace detail;

// ---------------------------------------------------------------- reports
void jog_report(uint16_t id, int st, int err) {
    Entry& e = C().acr[id];
    switch (st) {
        case 3:
            e.jog_running = true;
            break;
        case 0:
        case 1:
        case 2:
            e.jog_running = false;
            break;
        case 4:
            return finalize(id, state::Error, err == 0 ? code::Internal : wire_code(err));
        default:
            return;
    }
    const bool active = e.jog_running && arm_moving(ctx().cyc);
    if (active != e.motion_active) {
        e.motion_active = active;
        send_jog(id, state::Active);
    }
}

void send_active_move(uint16_t id) {
    Entry& e = C().acr[id];
    uint8_t host[sizeof(LRob_typeServerRspMoveLinAbs)] = {};
    progress_fill(e.motion, host, ctx().cycle);
    queue(id, e.parseq, state::Active, 0, e.info->rsp, host);
}

void set_motion_state(uint16_t id, uint8_t st) {
    Entry& e = C().acr[id];
    if (e.state == st) return;
    e.state = st;
    if (st == state::Active) {
        progress_update(e.motion, ctx().cyc);
        return send_active_move(id);
    }
    queue(id, e.parseq, st, 0, e.info->rsp, nullptr);
}

}  // namespace

// ---------------------------------------------------------------- cyclic work
uint16_t effective_length_acr() {
    uint16_t n = ctx().axes != nullptr ? ctx().axes->RC.LengthACR : 50;
    if (n < 3) n = 3;
    if (n > kMaxAcr) n = kMaxAcr;
    return n;
}

void commands_tick() {
    Commands& c = C();
    Context& x = ctx();
    const bool moving = arm_moving(x.cyc);
    bool doomed = false;

    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        Entry& e = c.acr[id];
        if (!e.live) continue;
        if (e.doom_code != 0) doomed = true;
        switch (e.info->kind) {
            case Kind::StopType: {
                const bool is_stop = e.info->type == cmd::GroupStop;
                const bool settled = !moving || (is_stop ? c.stop_completed : c.interrupt_completed);
                if (settled) {
                    if (!is_stop) x.cyc.sequence_interrupted = true;
                    finalize(id, state::Done, 0, e.answer);
                } else if (x.now_ms - e.start_ms > x.cfg.stop_timeout_ms) {
                    logf("srl: arm did not stand still after the stop command (CmdID %u)", id);
                    finalize(id, state::Error, code::Internal);
                }
                break;
            }
            case Kind::Motion:
                if (e.state == state::Active && progress_update(e.motion, x.cyc) &&
                    progress_worth_sending(e.motion, x.cycle))
                    send_active_move(id);
                break;
            case Kind::EnableRobot:
                if (e.enabled != x.cyc.ra_enabled) {
                    e.enabled = x.cyc.ra_enabled;
                    send_enable_robot(id, state::Active, e.enabled);
                }
                break;
            case Kind::GroupJog: {
                const bool active = e.jog_running && moving;
                if (active != e.motion_active) {
                    e.motion_active = active;
                    send_jog(id, state::Active);
                }
                break;
            }
            default:
                break;
        }
    }

    // Commands the adapter dropped silently: final once the arm has stood still for a while
    // and the adapter had the same time to report them itself.
    if (!doomed) {
        c.still_cycles = 0;
    } else {
        c.still_cycles =
            moving ? 0 : static_cast<uint16_t>(c.still_cycles < 0xFFFF ? c.still_cycles + 1 : c.still_cycles);
        const uint16_t grace = x.cfg.drop_grace_cycles;
        for (uint16_t id = 1; id <= kMaxAcr; ++id) {
            Entry& e = c.acr[id];
            if (!e.live || e.doom_code == 0) continue;
            if (x.cycle - e.doom_cycle < grace || c.still_cycles < grace) continue;
            finalize(id, state::Aborted, e.doom_code);  // zero body: GroupJog Enabled 0
        }
    }

    // srl_enable_robot_with_param_funs runs every cycle with the latest EnableRobot parameters.
    const auto fn = reinterpret_cast<srl_enable_param_fn>(handler_address(x.reg, Slot::EnableParam));
    if (fn != nullptr) {
        LRob_typeServerCmdEnableRobot record;
        std::memcpy(&record, c.enable_record, sizeof record);
        update_system_state();
        unsigned short result = 0;
        const bool new_cmd = c.enable_new_cmd;
        try {
            fn(new_cmd, &record, &x.cyc.system, 0, &result);
        } catch (...) {
            logf("srl: enable parameter handler threw");
        }
        if (new_cmd && result != 0 && result != 255) {
            // Reported as a warning on the running EnableRobot; the drives decide Enabled.
            for (uint16_t id = 1; id <= kMaxAcr; ++id) {
                Entry& e = c.acr[id];
                if (e.live && e.info->kind == Kind::EnableRobot)
                    send_enable_robot(id, state::Active, e.enabled, result, 20);
            }
        }
    }
    c.enable_new_cmd = false;
    c.stop_completed = false;
    c.interrupt_completed = false;
}

void call_internal(Slot slot, uint16_t cmd_type) {
    uint8_t host[8] = {};
    std::memcpy(host, &cmd_type, 2);  // host-order record
    host[2] = 2;                      // parallel
    uint8_t out[SRL_TELEGRAM_SIZE];
    if (registered(ctx().reg, slot)) call_handler(slot, host, 4, 0, out);
}

void commands_interface_stop(bool queue_aborts) {
    call_internal(Slot::GroupStop, cmd::GroupStop);
    call_internal(Slot::ClearCmd, 0);
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        Entry& e = C().acr[id];
        if (!e.live) continue;
        if (queue_aborts) {
            finalize(id, state::Aborted, code::AbortedByOther);
        } else {
            release(id);
        }
    }
    for (uint8_t& owner : C().rid_owner) {
        if (owner == kOrphanRid) owner = 0;  // the adapter's queues were just stopped and cleared
    }
    messages_stop(ctx().msgs);
    ctx().cyc.sequence_interrupted = false;
    C().still_cycles = 0;
    C().enable_new_cmd = false;
}

void commands_motion_report(int rid, int st, int error_code) {
    if (rid < 1 || rid > 255) return;
    if (C().rid_owner[rid] == kOrphanRid) {  // forgotten by the client, ended by the adapter now
        if (st == 0 || st == 1 || st == 4) C().rid_owner[rid] = 0;
        return;
    }
    const uint16_t id = C().rid_owner[rid];
    Entry& e = C().acr[id];
    if (id == 0 || !e.live || e.rid != rid) {
        logf("srl: report %d for id %d dropped (command already final)", st, rid);
        return;
    }
    if (e.info->kind == Kind::GroupJog) return jog_report(id, st, error_code);
    if (e.info->kind != Kind::Motion) return;
    switch (st) {
        case -1:
            return set_motion_state(id, state::Buffered);
        case 3:
            return set_motion_state(id, state::Active);
        case 2:
            return set_motion_state(id, state::Interrupted);
        case 1: {
            uint8_t host[16] = {};
            const uint16_t progress = kMotionDoneProgress;
            std::memcpy(host + 8, &progress, 2);
            return finalize(id, state::Done, 0, host);
        }
        case 0:
            return finalize(id, state::Aborted, e.doom_code != 0 ? e.doom_code : code::AbortedByStop);
        case 4:
            return finalize(id, state::Error, error_code == 0 ? code::Internal : wire_code(error_code));
        default:
            logf("srl: unknown motion state %d for id %d", st, rid);
    }
}

void commands_jog_distance(bool reached) {
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        Entry& e = C().acr[id];
        if (!e.live || e.info->kind != Kind::GroupJog || e.distance_reached == reached) continue;
        e.distance_reached = reached;
        send_jog(id, state::Active);
    }
}

void commands_power_changed(bool enabled) {
    if (!enabled) doom_motion(code::AbortedByOther, code::JogByRaState, 0);
}

void commands_sync_item(int item_type, int index) {
    if (item_type < 0 || item_type > 3) return;
    C().change_index[item_type] = static_cast<uint8_t>(index < 0 ? 0 : index > 255 ? 255 : index);
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        const Entry& e = C().acr[id];
        if (e.live && e.info->kind == Kind::ExchangeConfig) send_exchange(id);
    }
}

LiveKinds commands_live_kinds() {
    LiveKinds k;
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        const Entry& e = C().acr[id];
        if (!e.live) continue;
        if (e.info->kind == Kind::Motion) k.motion = true;
        if (e.info->kind == Kind::GroupJog && e.jog_running) k.jog_running = true;
    }
    return k;
}

}  // namespace srl
