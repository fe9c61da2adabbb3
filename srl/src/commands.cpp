// SPDX-License-Identifier: Apache-2.0
// Command dispatch: new commands and parameter updates arriving from the fragments.
#include "commands.h"

#include <cstddef>
#include <cstring>

#include "command_actions.h"
#include "context.h"
#include "log_queue.h"
#include "record_tables.h"
#include "srl/srl_api.h"

namespace srl {
namespace {

using namespace detail;

// An aborting mode (1, 8) is accepted only where the adapter's handler really stops the group:
// reporting a move Aborted that the adapter still holds would let it run on unseen.
bool exec_mode_ok(const CmdInfo& info, uint8_t exec) {
    const Kind kind = info.kind;
    switch (exec) {
        case 0:
        case 7:
            return true;  // sequence (one sequence served)
        case 1:
        case 8:
            return handler_aborts_others(info.type);
        case 2:
        case 3:
            return kind != Kind::Motion;  // parallel / continuous
        default:
            return false;  // trigger and stop modes, unused values
    }
}

bool single_instance(Kind k) {
    return k == Kind::EnableRobot || k == Kind::GroupJog || k == Kind::ExchangeConfig || k == Kind::ReadMessages;
}

bool other_instance_live(uint16_t type, uint16_t except) {
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        const Entry& e = C().acr[id];
        if (id != except && e.live && e.info != nullptr && e.info->type == type) return true;
    }
    return false;
}

void apply_lifesign_timeout(const uint8_t* host) {
    uint16_t ms;
    std::memcpy(&ms, host + offsetof(LRob_typeServerCmdExchangeConfiguration, LifeSignTimeOut), 2);
    if (ms != 0) ctx().life.timeout_ms = ms;
}

Slot jog_slot(uint8_t mode) {
    switch (mode) {
        case 0:
            return Slot::JogFrame;
        case 1:
            return Slot::JogTool;
        case 2:
            return Slot::JogJoint;
        default:
            return Slot::None;
    }
}

bool jog_direction(const uint8_t* host) {
    const size_t at = offsetof(LRob_typeServerCmdMoveJog, JogControl);
    return (host[at] | host[at + 1] | host[at + 2]) != 0;
}

// Start or update of a jog; returns false when the command ended with an error.
bool run_jog(uint16_t id, const uint8_t* host) {
    Entry& e = C().acr[id];
    const uint8_t mode = host[offsetof(LRob_typeServerCmdMoveJog, Mode)];
    const Slot slot = jog_slot(mode);
    if (slot == Slot::None) {
        finalize(id, state::Error, code::InvalidMode);
        return false;
    }
    if (!registered(ctx().reg, slot)) {
        finalize(id, state::Error, code::NotImplemented);
        return false;
    }
    const bool direction = jog_direction(host);
    // A new jog direction makes the adapter drop queued moves without reporting them.
    if (direction) doom_motion(code::AbortedByOther, 0, id);
    uint8_t out[SRL_TELEGRAM_SIZE];
    const int err = call_handler(slot, host, sizeof(LRob_typeServerCmdMoveJog), e.rid, out);
    if (err != 0) {
        finalize(id, state::Error, static_cast<uint16_t>(err));
        return false;
    }
    std::memcpy(e.record, host, sizeof(LRob_typeServerCmdMoveJog));
    e.enabled = true;
    e.jog_running = direction;
    e.distance_reached = false;
    e.motion_active = direction && arm_moving(ctx().cyc);
    return true;
}

void stop_jog(uint16_t id) {
    Entry& e = C().acr[id];
    uint8_t host[SRL_TELEGRAM_SIZE] = {};
    std::memcpy(host, e.record, sizeof(LRob_typeServerCmdMoveJog));
    host[offsetof(LRob_typeServerCmdMoveJog, JogControl)] = 0;
    host[offsetof(LRob_typeServerCmdMoveJog, JogControl) + 1] = 0;
    host[offsetof(LRob_typeServerCmdMoveJog, JogControl) + 2] = 0;
    const Slot slot = jog_slot(host[offsetof(LRob_typeServerCmdMoveJog, Mode)]);
    uint8_t out[SRL_TELEGRAM_SIZE];
    if (slot != Slot::None) call_handler(slot, host, sizeof(LRob_typeServerCmdMoveJog), e.rid, out);
    e.enabled = false;
    e.jog_running = false;
    e.motion_active = false;
}

void disable_robot(uint16_t id, const uint8_t* host) {
    // The adapter's disable stops the group: whatever moves is dropped by it.
    doom_motion(code::AbortedByOther, code::JogByRaState, 0);
    uint8_t out[SRL_TELEGRAM_SIZE];
    const Slot slot = registered(ctx().reg, Slot::Disable) ? Slot::Disable : Slot::RobotEnable;
    const int err = call_handler(slot, host, sizeof(LRob_typeServerCmdEnableRobot), C().acr[id].rid, out);
    if (err != 0) logf("srl: disable handler answered 0x%04X", static_cast<unsigned>(err));
}

// WorkAreaNo arrives in two layouts: a USInt followed by a reserved byte, or a big-endian UINT
// in the same two bytes. (n, 0) and (0, n) both mean area n; both bytes set is ambiguous.
// Returns false for the ambiguous case. Missing trailing bytes read as 0.
bool work_area_number(const uint8_t* p, uint16_t len, uint8_t& n) {
    const uint8_t first = len > 4 ? p[4] : 0, second = len > 5 ? p[5] : 0;
    if (first != 0 && second != 0) return false;
    n = first != 0 ? first : second;
    return true;
}

// ---------------------------------------------------------------- command start
void start_instant(uint16_t id, const CmdInfo& info, uint8_t parseq, uint8_t* host, const uint8_t* p, uint16_t len) {
    if (info.type == cmd::ReadWorkArea || info.type == cmd::WriteWorkArea) {
        uint8_t area = 0;
        if (!work_area_number(p, len, area)) {
            logf("srl: WorkAreaNo bytes %02X %02X are ambiguous, command refused", p[4], p[5]);  // len > 5 here
            return error_answer(id, parseq, code::InvalidIndex, info.rsp);
        }
        static_assert(offsetof(LRob_typeServerCmdReadWorkArea, WorkAreaNo) ==
                      offsetof(LRob_typeServerCmdWriteWorkArea, WorkAreaNo));
        host[offsetof(LRob_typeServerCmdReadWorkArea, WorkAreaNo)] = area;
    }
    const uint8_t value = host[4];
    if (info.type == cmd::SetSequence && value != 1 && value != 2)
        return error_answer(id, parseq, code::InvalidTargetSequence, info.rsp);
    if (info.type == cmd::SetOperationMode && (value < 1 || value > 6))
        return error_answer(id, parseq, code::InvalidOperationMode, info.rsp);
    if (info.type == cmd::ChangeSpeedOverride) {
        uint16_t ov;
        std::memcpy(&ov, host + 4, 2);
        if (ov > 10000) return error_answer(id, parseq, code::InvalidOverride, info.rsp);
    }
    // SetSequence empties the adapter's queues without reports.
    if (info.type == cmd::SetSequence) doom_motion(code::AbortedByOther, code::AbortedByOther, 0);

    const uint8_t rid = alloc_rid(id);
    uint8_t out[SRL_TELEGRAM_SIZE];
    const int err = call_handler(info.slot, host, info.cmd->host_len, rid, out);
    free_rid(rid);
    if (err != 0) return error_answer(id, parseq, static_cast<uint16_t>(err), info.rsp, out);

    uint8_t patch[2] = {};
    uint16_t patch_len = 0;
    Cyclic& cyc = ctx().cyc;
    switch (info.type) {
        case cmd::ReadRobotData:
            build_supported_functions(ctx().reg, ctx().cfg,
                                      out + offsetof(LRob_typeServerRspReadRobotData, RCSupportedFunctions));
            break;
        case cmd::CalculateForwardKinematic:  // the handler computes in the active tool/frame
            patch[0] = cyc.current_tool;
            patch[1] = cyc.current_frame;
            patch_len = 2;
            break;
        case cmd::SetOperationMode:
            cyc.operation_mode = value;
            break;
        case cmd::SetSequence:
            cyc.active_sequence = value;
            break;
        case cmd::GroupContinue:
            cyc.sequence_interrupted = false;
            break;
        case cmd::GroupReset:
            ctx().fast_stop_zero_is_reset = true;
            break;
        default:
            break;
    }
    queue(id, parseq, state::Done, 0, info.rsp, out, -1, patch_len ? patch : nullptr, 4, patch_len);
}

void start(uint16_t id, const uint8_t* p, uint16_t len) {
    const uint16_t type = be16(p);
    const uint8_t exec = p[2] & 0x0F;
    const uint8_t parseq = static_cast<uint8_t>(p[3] >> 4);
    const CmdInfo* info = find_command(type);
    if (info == nullptr) {
        return error_answer(id, parseq, known_command_type(type) ? code::NotImplemented : code::TypeOutOfRange);
    }
    if (info->kind != Kind::ReadMessages && info->kind != Kind::GroupJog && !registered(ctx().reg, info->slot)) {
        return error_answer(id, parseq, code::NotImplemented, info->rsp);
    }
    if (!exec_mode_ok(*info, exec)) return error_answer(id, parseq, code::InvalidExecMode, info->rsp);
    if (single_instance(info->kind) && other_instance_live(type, id))
        return error_answer(id, parseq, code::OneInstance, info->rsp);

    uint8_t host[SRL_TELEGRAM_SIZE];
    decode(*info->cmd, p, len, host);
    // Aborting modes: the adapter stops the group before handling the command.
    if (exec == 1 || exec == 8) doom_motion(code::AbortedByOther, code::AbortedByOther, id);

    Entry& e = C().acr[id];
    uint8_t out[SRL_TELEGRAM_SIZE];
    switch (info->kind) {
        case Kind::Instant:
            return start_instant(id, *info, parseq, host, p, len);
        case Kind::Motion: {
            const uint8_t rid = alloc_rid(id);
            const int err = call_handler(info->slot, host, info->cmd->host_len, rid, out);
            if (err != 0) {
                free_rid(rid);
                return error_answer(id, parseq, static_cast<uint16_t>(err), info->rsp);
            }
            e = Entry{};
            e.live = true;
            e.info = info;
            e.rid = rid;
            e.parseq = parseq;
            e.state = state::Buffered;
            progress_init(e.motion, info->type, host);
            queue(id, parseq, state::Buffered, 0, info->rsp, nullptr);
            return;
        }
        case Kind::StopType: {
            if (info->type == cmd::GroupStop) {
                doom_motion(code::AbortedByStop, code::JogStopped, 0);
                ctx().cyc.sequence_interrupted = false;
                C().stop_completed = false;
            } else {
                C().interrupt_completed = false;
            }
            const bool moving = arm_moving(ctx().cyc);
            const int err = call_handler(info->slot, host, info->cmd->host_len, 0, out);
            if (err != 0) return error_answer(id, parseq, static_cast<uint16_t>(err), info->rsp, out);
            if (!moving) {
                if (info->type == cmd::GroupInterrupt) ctx().cyc.sequence_interrupted = true;
                queue(id, parseq, state::Done, 0, info->rsp, out);
                return;
            }
            e = Entry{};
            e.live = true;
            e.info = info;
            e.parseq = parseq;
            e.state = state::Active;
            e.start_ms = ctx().now_ms;
            std::memcpy(e.answer, out, sizeof e.answer);
            queue(id, parseq, state::Active, 0, info->rsp, out);
            return;
        }
        case Kind::EnableRobot: {
            e = Entry{};
            e.info = info;
            e.parseq = parseq;
            e.rid = alloc_rid(id);
            std::memcpy(C().enable_record, host, sizeof C().enable_record);
            C().enable_new_cmd = true;
            if ((host[4] & 1) == 0) {
                disable_robot(id, host);
                e.live = true;
                return finalize(id, state::Done, 0);  // Enabled = 0
            }
            const int err = call_handler(Slot::RobotEnable, host, info->cmd->host_len, e.rid, out);
            if (err != 0) {
                e.live = true;
                return finalize(id, state::Error, static_cast<uint16_t>(err));
            }
            e.live = true;
            e.state = state::Active;
            e.enabled = ctx().cyc.ra_enabled;
            std::memcpy(e.record, host, 8);
            return send_enable_robot(id, state::Active, e.enabled);
        }
        case Kind::GroupJog: {
            e = Entry{};
            e.info = info;
            e.parseq = parseq;
            e.live = true;
            e.rid = alloc_rid(id);
            if ((host[4] & 1) == 0) return finalize(id, state::Done, 0);
            if (!run_jog(id, host)) return;
            e.state = state::Active;
            return send_jog(id, state::Active);
        }
        case Kind::ExchangeConfig: {
            const int err = call_handler(info->slot, host, info->cmd->host_len, 0, out);
            if (err != 0) return error_answer(id, parseq, static_cast<uint16_t>(err), info->rsp);
            apply_lifesign_timeout(host);
            e = Entry{};
            e.live = true;
            e.info = info;
            e.parseq = parseq;
            e.state = state::Active;
            std::memcpy(e.answer, out, sizeof e.answer);
            return send_exchange(id);
        }
        case Kind::ReadMessages:
            e = Entry{};
            e.live = true;
            e.info = info;
            e.parseq = parseq;
            e.state = state::Active;
            messages_start(ctx().msgs, id, parseq, host);
            return;
    }
}

// ---------------------------------------------------------------- parameter updates
void resend_current(uint16_t id, uint16_t alarm, int8_t severity) {
    Entry& e = C().acr[id];
    const uint8_t* host = e.info->kind == Kind::StopType ? e.answer : nullptr;
    queue(id, e.parseq, e.state, alarm, e.info->rsp, host, severity);
}

void update(uint16_t id, const uint8_t* p, uint16_t len) {
    Entry& e = C().acr[id];
    if (be16(p) != e.info->type) return resend_current(id, code::TypeChanged, 20);
    const uint8_t parseq = static_cast<uint8_t>(p[3] >> 4);
    uint8_t host[SRL_TELEGRAM_SIZE];
    decode(*e.info->cmd, p, len, host);
    uint8_t out[SRL_TELEGRAM_SIZE];

    switch (e.info->kind) {
        case Kind::EnableRobot: {
            e.parseq = parseq;
            std::memcpy(C().enable_record, host, sizeof C().enable_record);
            C().enable_new_cmd = true;
            if ((host[4] & 1) == 0) {
                disable_robot(id, host);
                return finalize(id, state::Done, 0);
            }
            const int err = call_handler(Slot::RobotEnable, host, e.info->cmd->host_len, e.rid, out);
            if (err != 0) return finalize(id, state::Error, static_cast<uint16_t>(err));
            std::memcpy(e.record, host, 8);
            e.enabled = ctx().cyc.ra_enabled;
            return send_enable_robot(id, state::Active, e.enabled);
        }
        case Kind::GroupJog:
            e.parseq = parseq;
            if ((host[4] & 1) == 0) {
                stop_jog(id);
                return finalize(id, state::Done, 0);  // zero body: Enabled 0
            }
            if (!run_jog(id, host)) return;
            return send_jog(id, state::Active);
        case Kind::ExchangeConfig: {
            e.parseq = parseq;
            if ((host[offsetof(LRob_typeServerCmdExchangeConfiguration, LogLevel) + 1] & 0x02) == 0) {
                ctx().life.timeout_ms = default_lifesign_timeout();
                return finalize(id, state::Done, 0);
            }
            const int err = call_handler(e.info->slot, host, e.info->cmd->host_len, 0, out);
            if (err != 0) return finalize(id, state::Error, static_cast<uint16_t>(err));
            apply_lifesign_timeout(host);
            std::memcpy(e.answer, out, sizeof e.answer);
            return send_exchange(id);
        }
        case Kind::ReadMessages:
            e.parseq = parseq;
            if ((host[5] & 1) == 0) return finalize(id, state::Done, 0);
            messages_update(ctx().msgs, parseq, host);
            return;
        default:
            // Moves and stops keep the parameters they started with; the echoed ParSeq says so.
            return resend_current(id, 0, -1);
    }
}

}  // namespace

// ---------------------------------------------------------------- sinks
bool CommandSink::command_live(uint16_t id) { return id <= kMaxAcr && C().acr[id].live; }

void CommandSink::command_reset(uint16_t id) {
    if (id > kMaxAcr) return;
    if (C().acr[id].live) {
        logf("srl: CmdID %u reset while its command ran; the old command is forgotten", id);
        release(id, true);
    }
    response_drop(ctx().rsp, id);
}

void CommandSink::payload_complete(uint16_t id, const uint8_t* payload, uint16_t len, bool is_new) {
    if (len < 4) return reject(id, code::PayloadLength);
    Entry& e = C().acr[id];
    if (e.live && !is_new) return update(id, payload, len);
    if (e.live) release(id, true);
    start(id, payload, len);
}

void CommandSink::reject(uint16_t id, uint16_t alarm) {
    if (id <= kMaxAcr && C().acr[id].live) release(id, true);
    error_answer(id, 0, alarm);
}

uint16_t CommandSink::length_acr() { return effective_length_acr(); }

void RefusingSink::payload_complete(uint16_t id, const uint8_t* payload, uint16_t len, bool) {
    error_answer(id, len >= 4 ? static_cast<uint8_t>(payload[3] >> 4) : 0, code::NotInStateMachine);
}

uint16_t RefusingSink::length_acr() { return effective_length_acr(); }

}  // namespace srl
