// SPDX-License-Identifier: Apache-2.0
#pragma once
// Turns the packets of a telegram trace into the events a person wants to read: the PLC client
// connects or drops, the interface changes state, a command is sent (with its parameters), a
// command changes state (with its result), the robot reports a message, a telegram is damaged.
// Decoding uses this library's own codecs; repeated telegrams (same SEQ or ACK) add nothing.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "srci_plc/payload_layout.hpp"
#include "srci_plc/response.hpp"
#include "srci_plc/trace_pcapng.hpp"

namespace srci_plc {

enum class TraceEventKind : uint8_t { Connection, Link, Command, Update, Answer, Message, Malformed };
const char* trace_event_kind_name(TraceEventKind kind);

struct TraceEvent {
    TraceEventKind kind = TraceEventKind::Link;
    uint64_t time_us = 0;
    uint16_t cmd_id = 0;               // Command, Update, Answer
    uint16_t cmd_type = 0;             // Command, Update, Answer (0 when the command is not in the trace)
    uint8_t state = 0;                 // Answer: CmdMessageState; Link: TelegramState
    int8_t severity = 0;               // Answer, Message
    uint32_t code = 0;                 // Answer, Message
    uint32_t count = 1;                // Malformed: telegrams in a row with this problem
    std::string text;                  // Connection, Link, Message, Malformed
    std::vector<DecodedField> fields;  // Command/Update parameters, Answer results
};

class TraceDecoder {
public:
    explicit TraceDecoder(bool tool_frame_always = false) : tool_frame_always_(tool_frame_always) {}

    void feed(const CapturedPacket& packet, std::vector<TraceEvent>& out);
    // Reports what is still pending (a run of damaged telegrams at the end).
    void finish(std::vector<TraceEvent>& out);

    uint64_t telegrams() const { return telegrams_; }
    uint64_t foreign_packets() const { return foreign_; }

private:
    struct CommandTrack {
        uint16_t cmd_type = 0;
        std::optional<uint8_t> state;
        uint8_t par_seq = 0;
    };

    void plc_telegram(uint64_t t, const uint8_t* data, size_t size, std::vector<TraceEvent>& out);
    void robot_telegram(uint64_t t, const uint8_t* data, size_t size, std::vector<TraceEvent>& out);
    void answer(uint64_t t, uint16_t cmd_id, const std::vector<uint8_t>& payload, std::vector<TraceEvent>& out);
    void malformed(uint64_t t, const std::string& why, std::vector<TraceEvent>& out);
    void flush_malformed(std::vector<TraceEvent>& out);
    void forget_link();

    bool tool_frame_always_;
    uint64_t telegrams_ = 0;
    uint64_t foreign_ = 0;
    uint16_t tn_rob_to_plc_ = 0x0006;
    std::optional<uint16_t> last_seq_;
    std::optional<uint16_t> last_ack_;
    std::optional<uint8_t> telegram_state_;
    uint8_t control_ = 0;
    uint8_t last_msg_id_ = 0;
    std::map<uint16_t, CommandTrack> commands_;
    ResponseAssembler command_parts_;
    ResponseAssembler answer_parts_;
    std::optional<TraceEvent> pending_malformed_;
};

}  // namespace srci_plc
