// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/trace_events.hpp"

#include "srci_plc/byte_order.hpp"
#include "srci_plc/command_catalog.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srci_plc/trace_format.hpp"
#include "srci_plc/trace_udp.hpp"
#include "srci_plc/wire_constants.hpp"

namespace srci_plc {

namespace fmt = trace_format;

const char* trace_event_kind_name(TraceEventKind kind) {
    switch (kind) {
        case TraceEventKind::Connection:
            return "connection";
        case TraceEventKind::Link:
            return "link";
        case TraceEventKind::Command:
            return "command";
        case TraceEventKind::Update:
            return "update";
        case TraceEventKind::Answer:
            return "answer";
        case TraceEventKind::Message:
            return "message";
        case TraceEventKind::Malformed:
            return "malformed";
    }
    return "?";
}

void TraceDecoder::feed(const CapturedPacket& packet, std::vector<TraceEvent>& out) {
    UdpDatagram d;
    std::string why;
    if (!udp_in_frame(packet.data.data(), packet.data.size(), packet.link_type, d, why)) {
        ++foreign_;
        return;
    }
    if (d.src_port == fmt::kEventPort && d.dst_port == fmt::kEventPort) {
        flush_malformed(out);
        if (d.size == 0) return;
        TraceEvent e;
        e.kind = TraceEventKind::Connection;
        e.time_us = packet.time_us;
        e.state = d.payload[0];
        for (size_t i = 1; i < d.size; ++i)
            e.text.push_back((d.payload[i] >= 0x20 && d.payload[i] < 0x7F) ? static_cast<char>(d.payload[i]) : '?');
        if (d.payload[0] == fmt::kEventClientConnected) e.text = "connected: " + e.text;
        else if (d.payload[0] == fmt::kEventClientDropped) e.text = "dropped: " + e.text;
        else if (d.payload[0] == fmt::kEventExchangesSkipped) e.text = "trace gap: " + e.text;
        if (d.payload[0] != fmt::kEventExchangesSkipped) forget_link();
        out.push_back(std::move(e));
        return;
    }
    if (d.src_port == fmt::kPlcPort && d.dst_port == fmt::kRobotPort) {
        ++telegrams_;
        plc_telegram(packet.time_us, d.payload, d.size, out);
    } else if (d.src_port == fmt::kRobotPort && d.dst_port == fmt::kPlcPort) {
        ++telegrams_;
        robot_telegram(packet.time_us, d.payload, d.size, out);
    } else {
        ++foreign_;
    }
}

void TraceDecoder::forget_link() {
    last_seq_.reset();
    last_ack_.reset();
    telegram_state_.reset();
    control_ = 0;
    last_msg_id_ = 0;
    commands_.clear();
    command_parts_.clear();
    answer_parts_.clear();
}

void TraceDecoder::plc_telegram(uint64_t t, const uint8_t* data, size_t size, std::vector<TraceEvent>& out) {
    PlcTelegram v;
    std::string error;
    if (!decode_plc_telegram(data, size, tool_frame_always_, v, error)) {
        malformed(t, "PLC telegram: " + error, out);
        return;
    }
    const uint8_t footer_lifesign = data[size - 1] & 0x0F;
    if (v.lifesign != footer_lifesign) {
        malformed(t,
                  "PLC telegram: header lifesign " + std::to_string(v.lifesign) + ", footer " +
                      std::to_string(footer_lifesign) + " (torn telegram)",
                  out);
        return;
    }
    flush_malformed(out);
    tn_rob_to_plc_ = v.tn_rob_to_plc;
    const auto control = static_cast<uint8_t>(v.control);
    if (control != control_) {
        control_ = control;
        static const char* const kControl[] = {"NONE", "INITIALIZE", "RESUME", "RESET", "ACK_ERROR", "CLIENT_ERROR"};
        TraceEvent e;
        e.kind = TraceEventKind::Link;
        e.time_us = t;
        e.text =
            std::string("PLC requests ") + (control < 6 ? kControl[control] : "control " + std::to_string(control));
        out.push_back(std::move(e));
    }
    if (last_seq_ == v.seq) return;  // a repeat: the robot has not acknowledged yet
    last_seq_ = v.seq;
    for (const Fragment& f : v.fragments) {
        if (f.action & fragment_action::kReset) commands_.erase(f.cmd_id);
        std::vector<uint8_t> payload;
        error.clear();
        if (!command_parts_.feed(f, payload, error)) {
            if (!error.empty()) malformed(t, "PLC fragment: " + error, out);
            continue;
        }
        if (payload.size() < 2) continue;
        TraceEvent e;
        e.time_us = t;
        e.cmd_id = f.cmd_id;
        e.cmd_type = get_u16be(payload.data());
        const bool running = commands_.count(f.cmd_id) != 0;
        e.kind = (running && !(f.action & fragment_action::kReset)) ? TraceEventKind::Update : TraceEventKind::Command;
        if (const CommandDef* def = find_command(e.cmd_type)) e.fields = decode_fields(def->request, payload);
        commands_[f.cmd_id].cmd_type = e.cmd_type;
        out.push_back(std::move(e));
    }
}

void TraceDecoder::robot_telegram(uint64_t t, const uint8_t* data, size_t size, std::vector<TraceEvent>& out) {
    RobotTelegram r;
    std::string error;
    if (!decode_robot_telegram(data, size, tn_rob_to_plc_, r, error)) {
        malformed(t, "robot telegram: " + error, out);
        return;
    }
    if (!r.lifesign_consistent) {
        malformed(t, "robot telegram: header and footer lifesign differ (torn telegram)", out);
        return;
    }
    flush_malformed(out);
    if (telegram_state_ != r.telegram_state) {
        TraceEvent e;
        e.kind = TraceEventKind::Link;
        e.time_us = t;
        e.state = r.telegram_state;
        e.text = "TelegramState " + std::to_string(r.telegram_state) + " " + telegram_state_name(r.telegram_state);
        if (telegram_state_)
            e.text += " (was " + std::to_string(*telegram_state_) + " " + telegram_state_name(*telegram_state_) + ")";
        telegram_state_ = r.telegram_state;
        out.push_back(std::move(e));
    }
    if (last_ack_ == r.ack) return;  // the same sequence content as before
    last_ack_ = r.ack;
    for (const Fragment& f : r.fragments) {
        std::vector<uint8_t> payload;
        error.clear();
        if (answer_parts_.feed(f, payload, error)) answer(t, f.cmd_id, payload, out);
        else if (!error.empty()) malformed(t, "robot fragment: " + error, out);
    }
}

void TraceDecoder::answer(uint64_t t, uint16_t cmd_id, const std::vector<uint8_t>& payload,
                          std::vector<TraceEvent>& out) {
    ResponseHeader h;
    if (!decode_response_header(payload, h)) {
        malformed(t, "answer for CmdID " + std::to_string(cmd_id) + " shorter than its header", out);
        return;
    }
    CommandTrack& c = commands_[cmd_id];
    const CommandDef* def = find_command(c.cmd_type);
    if (c.cmd_type == cmd_type::kReadMessages && def && payload.size() >= 20 && payload[4] != 0 &&
        payload[4] != last_msg_id_) {
        last_msg_id_ = payload[4];
        TraceEvent m;
        m.kind = TraceEventKind::Message;
        m.time_us = t;
        m.cmd_id = cmd_id;
        m.severity = static_cast<int8_t>(payload[15]);
        m.code = get_u32be(&payload[16]);
        for (size_t i = 20; i < payload.size() && payload[i] != 0; ++i)
            m.text.push_back((payload[i] >= 0x20 && payload[i] < 0x7F) ? static_cast<char>(payload[i]) : '?');
        m.fields = decode_fields(def->response, payload);
        out.push_back(std::move(m));
    }
    if (c.state == h.state && c.par_seq == h.par_seq) return;
    c.state = h.state;
    c.par_seq = h.par_seq;
    TraceEvent e;
    e.kind = TraceEventKind::Answer;
    e.time_us = t;
    e.cmd_id = cmd_id;
    e.cmd_type = c.cmd_type;
    e.state = h.state;
    e.severity = h.severity;
    e.code = h.code;
    if (def && c.cmd_type != cmd_type::kReadMessages) e.fields = decode_fields(def->response, payload);
    out.push_back(std::move(e));
    if (cmd_state::is_final(h.state)) commands_.erase(cmd_id);
}

void TraceDecoder::malformed(uint64_t t, const std::string& why, std::vector<TraceEvent>& out) {
    if (pending_malformed_ && pending_malformed_->text == why) {
        ++pending_malformed_->count;
        return;
    }
    flush_malformed(out);
    TraceEvent e;
    e.kind = TraceEventKind::Malformed;
    e.time_us = t;
    e.text = why;
    pending_malformed_ = std::move(e);
}

void TraceDecoder::flush_malformed(std::vector<TraceEvent>& out) {
    if (!pending_malformed_) return;
    out.push_back(std::move(*pending_malformed_));
    pending_malformed_.reset();
}

void TraceDecoder::finish(std::vector<TraceEvent>& out) { flush_malformed(out); }

}  // namespace srci_plc
