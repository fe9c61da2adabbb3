// SPDX-License-Identifier: Apache-2.0
#include "command_actions.h"

#include <cstddef>
#include <cstring>

#include "context.h"
#include "log_queue.h"
#include "record_tables.h"
#include "srl/srl_api.h"

namespace srl::detail {

static constexpr int8_t kSeverityError = 28, kSeverityFatal = 29;

// Severity of a code in a response that is not an error (Aborted infos, warnings).
static int8_t severity_for(uint16_t c) {
    if (c == 0) return 0;
    switch (c >> 12) {
        case 0x6:
            return 5;
        case 0x7:
            return 20;
        default:
            return kSeverityError;
    }
}

void queue(uint16_t id, uint8_t parseq, uint8_t st, uint16_t alarm, const RecordDesc* rsp, const uint8_t* host,
           int8_t severity, const uint8_t* wire_patch, uint16_t patch_off, uint16_t patch_len) {
    uint8_t wire[SRL_TELEGRAM_SIZE] = {};
    uint16_t len = 4;
    if (rsp != nullptr) {
        if (host != nullptr) host_to_wire(*rsp, host, wire);
        len = rsp->wire_len;
    }
    if (wire_patch != nullptr) std::memcpy(wire + patch_off, wire_patch, patch_len);
    // PLC clients show Error only while the code is non-zero and the severity is 28/29, whatever
    // family the code belongs to (a failed move carries a 0x6Cxx code).
    if (st == state::Error) {
        if (alarm == 0) alarm = code::Internal;
        severity = severity == kSeverityFatal ? kSeverityFatal : kSeverityError;
    }
    wire[0] = static_cast<uint8_t>(((parseq & 0x0F) << 4) | st);
    wire[1] = static_cast<uint8_t>(severity >= 0 ? severity : severity_for(alarm));
    put_be16(wire + 2, alarm);
    if (!response_put(ctx().rsp, id, wire, len)) {
        logf("srl: no room for the response to CmdID %u", id);
    }
}

// Handler results above 0xFFFF (or negative) are internal codes: logged, sent as 0x8FFF.
uint16_t wire_code(int err) {
    if (err > 0 && err <= 0xFFFF) return static_cast<uint16_t>(err);
    logf("srl: handler result %d is no SRCI code, sent as 0x8FFF", err);
    return code::Internal;
}

uint8_t alloc_rid(uint16_t id) {
    Commands& c = C();
    for (int tries = 0; tries < 255; ++tries) {
        c.last_rid = static_cast<uint8_t>(c.last_rid % 255 + 1);
        if (c.rid_owner[c.last_rid] == 0) {
            c.rid_owner[c.last_rid] = static_cast<uint8_t>(id);
            return c.last_rid;
        }
    }
    return 0;  // cannot happen: at most kMaxAcr ids are alive
}

void free_rid(uint8_t rid) {
    if (rid != 0) C().rid_owner[rid] = 0;
}

// Calls a handler with the contract of srl_api.h; exceptions never reach the caller.
int call_handler(Slot slot, const uint8_t* host, uint16_t host_len, uint8_t rid, uint8_t* out) {
    const auto fn = reinterpret_cast<srl_handler_fn>(handler_address(ctx().reg, slot));
    std::memset(out, 0, SRL_TELEGRAM_SIZE);
    if (fn == nullptr) return code::NotImplemented;
    uint8_t in[SRL_TELEGRAM_SIZE] = {};
    std::memcpy(in, host, host_len < SRL_CMD_ID_OFFSET ? host_len : SRL_CMD_ID_OFFSET);
    in[SRL_CMD_ID_OFFSET] = rid;
    int err = 0;
    try {
        fn(in, out, &err);
    } catch (...) {
        logf("srl: handler %d threw, answered 0x8FFF", static_cast<int>(slot));
        return code::Internal;
    }
    return err == 0 ? 0 : wire_code(err);
}

void release(uint16_t id, bool adapter_may_hold) {
    Entry& e = C().acr[id];
    if (e.live && e.info != nullptr && e.info->kind == Kind::ReadMessages) messages_stop(ctx().msgs);
    const bool held = adapter_may_hold && e.live && e.rid != 0 && e.info != nullptr &&
                      (e.info->kind == Kind::Motion || e.info->kind == Kind::GroupJog);
    if (held) C().rid_owner[e.rid] = kOrphanRid;  // not reused until the adapter ends it
    else free_rid(e.rid);
    e = Entry{};
}

// `host`, when given, holds at least the response record of the command (null: all zero).
void finalize(uint16_t id, uint8_t st, uint16_t alarm, const uint8_t* host) {
    Entry& e = C().acr[id];
    queue(id, e.parseq, st, alarm, e.info != nullptr ? e.info->rsp : nullptr, host);
    release(id);
}

void error_answer(uint16_t id, uint8_t parseq, uint16_t alarm, const RecordDesc* rsp, const uint8_t* host) {
    queue(id, parseq, state::Error, alarm, rsp, host, 28);
}

static bool is_motion_like(const Entry& e) {
    return e.live && e.info != nullptr && (e.info->kind == Kind::Motion || e.info->kind == Kind::GroupJog);
}

// Marks what runs now as removed by the adapter; the sweep finalises what it does not report.
void doom_motion(uint16_t motion_code, uint16_t jog_code, uint16_t except) {
    Commands& c = C();
    for (uint16_t id = 1; id <= kMaxAcr; ++id) {
        Entry& e = c.acr[id];
        if (id == except || !is_motion_like(e) || e.doom_code != 0) continue;
        const uint16_t code = e.info->kind == Kind::GroupJog ? jog_code : motion_code;
        if (code == 0) continue;
        e.doom_code = code;
        e.doom_cycle = ctx().cycle;
    }
}

void decode(const RecordDesc& desc, const uint8_t* payload, uint16_t len, uint8_t* host) {
    uint8_t wire[SRL_TELEGRAM_SIZE] = {};  // zero-fill rule: missing tail bytes read as 0
    std::memcpy(wire, payload, len < sizeof wire ? len : sizeof wire);
    std::memset(host, 0, SRL_TELEGRAM_SIZE);
    wire_to_host(desc, wire, host);
}

void send_enable_robot(uint16_t id, uint8_t st, bool enabled, uint16_t alarm, int8_t severity) {
    uint8_t host[8] = {};
    host[4] = enabled ? 1 : 0;
    queue(id, C().acr[id].parseq, st, alarm, &rec::kRspOneByte, host, severity);
}

uint8_t jog_bits(const Entry& e) {
    return static_cast<uint8_t>((e.enabled ? 1 : 0) | (e.distance_reached ? 2 : 0) | (e.motion_active ? 4 : 0));
}

void send_jog(uint16_t id, uint8_t st, uint16_t alarm) {
    uint8_t host[8] = {};
    host[4] = jog_bits(C().acr[id]);
    queue(id, C().acr[id].parseq, st, alarm, &rec::kRspOneByte, host);
}

// The highest index the PLC may use: the axes-group bound, lowered to the last slot the init
// parameters mark available (the robot serves only those). Without availability data, the bound.
template <typename Slot, size_t N>
static uint8_t highest_index(uint8_t bound, const Slot (&slots)[N]) {
    int top = -1;
    for (size_t i = 0; i < N && i <= bound; ++i) {
        if (slots[i].isAvailable) top = static_cast<int>(i);
    }
    return top < 0 ? bound : static_cast<uint8_t>(top);
}

void send_exchange(uint16_t id) {
    Entry& e = C().acr[id];
    LRob_typeServerRspExchangeConfiguration r{};
    std::memcpy(&r, e.answer, sizeof r);
    r.Enabled = 1;
    r.LengthACR = effective_length_acr();
    if (const LRob_typeServerAxesGroupParameter* a = ctx().axes) {
        r.UbTools = a->RC.UbTool;
        r.UbFrames = a->RC.UbFrame;
        r.UbLoads = a->RC.UbLoad;
        r.UbWorkarea = a->RC.UbWorkarea;
        if (const LRob_typePersistentData* p = ctx().persistent) {
            r.UbTools = highest_index(r.UbTools, p->tools);
            r.UbFrames = highest_index(r.UbFrames, p->frames);
            r.UbLoads = highest_index(r.UbLoads, p->loads);
            r.UbWorkarea = highest_index(r.UbWorkarea, p->workAreas);
        }
    }
    r.SyncStateRC[0] = C().data_in_sync;
    r.SyncStateRC[1] = 0;
    std::memcpy(&r.SyncStateRC[2], C().change_index, 4);
    queue(id, e.parseq, state::Active, 0, &rec::kRspExchangeConfiguration, reinterpret_cast<const uint8_t*>(&r));
}

}  // namespace srl::detail
