// SPDX-License-Identifier: Apache-2.0
// The ReadMessages channel and the list of unprocessed errors behind ErrorPending.
#pragma once

#include <cstddef>
#include <cstdint>

namespace srl {

inline constexpr int kMessageSlots = 32;
inline constexpr int kMessageTextLen = 150;

namespace msgtype {
enum : uint8_t { Interface = 1, Controller = 2, Arm = 3, Command = 4 };
}

struct Message {
    bool used = false;
    bool to_send = false;  // still to go out on the channel
    bool active = false;   // unprocessed error/warning reported by the adapter
    uint8_t id = 0;
    uint8_t type = 0;
    int8_t severity = 0;
    uint32_t code = 0;
    uint32_t order = 0;
    uint16_t date = 0;
    uint32_t time = 0;
    char text[kMessageTextLen] = {};
};

struct Messages {
    Message slots[kMessageSlots];
    uint32_t next_order = 1;
    uint8_t last_id = 0;
    // channel (the client's ReadMessages command)
    bool enabled = false;
    uint16_t cmd_id = 0;
    uint8_t parseq = 0;
    uint8_t level = 0;
    uint8_t outstanding = 0;  // MsgID sent and not yet acknowledged
    uint64_t sent_ms = 0;
};

// New message (processed false): gets an id, written back; processed true: the id's error is
// no longer pending. Returns 0 or -1 (queue full / unknown id).
int message_report(Messages& m, int8_t& id, bool processed, uint32_t code, int8_t severity, const char* text,
                   size_t text_len, uint8_t type, bool active, uint16_t date, uint32_t time);
bool message_error_pending(const Messages& m);

// Channel events; each may queue a ReadMessages response.
void messages_start(Messages& m, uint16_t cmd_id, uint8_t parseq, const uint8_t* host_cmd);
void messages_update(Messages& m, uint8_t parseq, const uint8_t* host_cmd);
void messages_stop(Messages& m);  // channel closed (interface reset, Enable = 0)
void messages_tick(Messages& m, uint64_t now_ms, uint32_t ack_timeout_ms);

}  // namespace srl
