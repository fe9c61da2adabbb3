// SPDX-License-Identifier: Apache-2.0
#include "messages.h"

#include <cstring>

#include "context.h"
#include "log_queue.h"
#include "record_tables.h"
#include "response_queue.h"

namespace srl {
namespace {

constexpr uint8_t kStateActive = 4;
constexpr int8_t kSeverityWarning = 20;
constexpr int8_t kSeverityError = 28;

bool id_in_use(const Messages& m, uint8_t id) {
    for (const Message& s : m.slots) {
        if (s.used && s.id == id) return true;
    }
    return false;
}

uint8_t next_id(Messages& m) {
    // 1..254: 255 reads as -1, the adapter's "no id yet".
    for (int tries = 0; tries < 254; ++tries) {
        m.last_id = static_cast<uint8_t>(m.last_id % 254 + 1);
        if (!id_in_use(m, m.last_id)) return m.last_id;
    }
    return 0;
}

void release_if_done(Message& s) {
    if (!s.to_send && !s.active) s.used = false;
}

void count_active(const Messages& m, uint8_t& errors, uint8_t& warnings) {
    errors = warnings = 0;
    for (const Message& s : m.slots) {
        if (!s.used || !s.active) continue;
        if (s.severity >= kSeverityError) ++errors;
        else if (s.severity >= kSeverityWarning) ++warnings;
    }
}

// One State-4 response; `msg` null sends "no message" (MsgID 0, severity 0).
void send_response(Messages& m, const Message* msg) {
    rec::RspReadMessages host{};
    host.Enabled = 1;
    count_active(m, host.NumberOfActiveErrors, host.NumberOfActiveWarnings);
    if (msg != nullptr) {
        host.MsgID = msg->id;
        host.Date = msg->date;
        host.Time = msg->time;
        host.MsgType = msg->type;
        host.Severity = msg->severity;
        host.ErrorCode = msg->code;
        std::memcpy(host.Text, msg->text, sizeof host.Text);
    }
    uint8_t wire[sizeof(rec::RspReadMessages)] = {};
    host_to_wire(rec::kRspReadMessages, reinterpret_cast<const uint8_t*>(&host), wire);
    wire[0] = static_cast<uint8_t>((m.parseq << 4) | kStateActive);
    // Full length: clients keep stale text bytes when a response is shorter.
    response_put(ctx().rsp, m.cmd_id, wire, rec::kRspReadMessages.wire_len);
}

Message* oldest_to_send(Messages& m) {
    Message* best = nullptr;
    for (Message& s : m.slots) {
        if (s.used && s.to_send && (best == nullptr || s.order < best->order)) best = &s;
    }
    return best;
}

// Sends the next message the client wants, or "no message" when `always` and none is left.
void send_next(Messages& m, uint64_t now_ms, bool always) {
    for (;;) {
        Message* s = oldest_to_send(m);
        if (s == nullptr) break;
        if (s->severity < static_cast<int8_t>(m.level > 127 ? 127 : m.level)) {
            // Below the client's level it would never be acknowledged.
            s->to_send = false;
            release_if_done(*s);
            continue;
        }
        m.outstanding = s->id;
        m.sent_ms = now_ms;
        send_response(m, s);
        return;
    }
    if (always) send_response(m, nullptr);
}

Message* find(Messages& m, uint8_t id) {
    for (Message& s : m.slots) {
        if (s.used && s.id == id) return &s;
    }
    return nullptr;
}

}  // namespace

int message_report(Messages& m, int8_t& id, bool processed, uint32_t code, int8_t severity, const char* text,
                   size_t text_len, uint8_t type, bool active, uint16_t date, uint32_t time) {
    if (processed) {
        Message* s = find(m, static_cast<uint8_t>(id));
        if (s == nullptr) return -1;
        s->active = false;
        release_if_done(*s);
        return 0;
    }
    Message* slot = nullptr;
    for (Message& s : m.slots) {
        if (!s.used) {
            slot = &s;
            break;
        }
    }
    const uint8_t new_id = slot != nullptr ? next_id(m) : 0;
    if (slot == nullptr || new_id == 0) {
        logf("srl: message queue full, code 0x%04X dropped", static_cast<unsigned>(code));
        return -1;
    }
    *slot = Message{};
    slot->used = true;
    slot->to_send = true;
    slot->active = active;
    slot->id = new_id;
    slot->type = type;
    slot->severity = severity;
    slot->code = code;
    slot->order = m.next_order++;
    slot->date = date;
    slot->time = time;
    std::memcpy(slot->text, text, text_len < kMessageTextLen ? text_len : kMessageTextLen);
    id = static_cast<int8_t>(new_id);
    return 0;
}

bool message_error_pending(const Messages& m) {
    for (const Message& s : m.slots) {
        if (s.used && s.active && s.severity >= kSeverityError) return true;
    }
    return false;
}

void messages_start(Messages& m, uint16_t cmd_id, uint8_t parseq, const uint8_t* host_cmd) {
    const auto* c = reinterpret_cast<const rec::CmdReadMessages*>(host_cmd);
    m.enabled = true;
    m.cmd_id = cmd_id;
    m.parseq = parseq;
    m.level = c->MessageLevel;
    m.outstanding = 0;
    // First answer: Enabled without a message; messages follow with the next ACKs.
    send_response(m, nullptr);
}

void messages_update(Messages& m, uint8_t parseq, const uint8_t* host_cmd) {
    const auto* c = reinterpret_cast<const rec::CmdReadMessages*>(host_cmd);
    m.parseq = parseq;
    m.level = c->MessageLevel;
    if (m.outstanding != 0 && c->MsgID == m.outstanding) {
        if (Message* s = find(m, m.outstanding)) {
            s->to_send = false;
            release_if_done(*s);
        }
        m.outstanding = 0;
        send_next(m, ctx().now_ms, true);
        return;
    }
    if (m.outstanding == 0) send_next(m, ctx().now_ms, true);
}

void messages_stop(Messages& m) {
    m.enabled = false;
    m.cmd_id = 0;
    m.outstanding = 0;
}

void messages_tick(Messages& m, uint64_t now_ms, uint32_t ack_timeout_ms) {
    if (!m.enabled) return;
    if (m.outstanding != 0) {
        if (now_ms - m.sent_ms <= ack_timeout_ms) return;
        if (Message* s = find(m, m.outstanding)) {
            logf("srl: message %u not acknowledged, given up", s->id);
            s->to_send = false;
            release_if_done(*s);
        }
        m.outstanding = 0;
    }
    send_next(m, now_ms, false);
}

}  // namespace srl
