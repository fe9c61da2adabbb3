// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/web_link_monitor.hpp"

#include <algorithm>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/command_catalog.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/robot_telegram.hpp"

namespace pnio_sim::web {

namespace {

namespace ct = srci_plc::cmd_type;
namespace cs = srci_plc::cmd_state;

double field(const std::vector<srci_plc::DecodedField>& fields, const std::string& name) {
    for (const auto& f : fields)
        if (f.name == name)
            if (const double* v = std::get_if<double>(&f.value)) return *v;
    return 0;
}

std::string text_field(const std::vector<srci_plc::DecodedField>& fields, const std::string& name) {
    for (const auto& f : fields)
        if (f.name == name)
            if (const std::string* v = std::get_if<std::string>(&f.value)) return *v;
    return {};
}

// Software limits as the PLC read or wrote them; payload decoded with the client's layout.
JointLimits limits_from(const srci_plc::Layout& layout, const std::vector<uint8_t>& payload, std::string source) {
    const auto fields = srci_plc::decode_fields(layout, payload);
    JointLimits l;
    for (int j = 0; j < 6; ++j) {
        l.soft[static_cast<size_t>(j)] = {field(fields, "min_j" + std::to_string(j + 1)),
                                          field(fields, "max_j" + std::to_string(j + 1))};
    }
    l.source = std::move(source);
    return l;
}

}  // namespace

void LinkMonitor::exchange(const uint8_t* plc, const uint8_t* robot, size_t len, Millis now) {
    ++link_.exchanges;
    link_.last_exchange = now;
    std::string error;
    srci_plc::PlcTelegram p;
    // Clients differ on whether bytes 18-19 travel without the cyclic Cartesian position; the
    // layout that decodes cleanly is the one this client uses.
    bool ok = srci_plc::decode_plc_telegram(plc, len, tool_frame_always_, p, error);
    if (!ok) {
        std::string other_error;
        if (srci_plc::decode_plc_telegram(plc, len, !tool_frame_always_, p, other_error)) {
            tool_frame_always_ = !tool_frame_always_;
            ok = true;
        }
    }
    if (!ok) {
        ++link_.decode_errors;
        link_.last_decode_error = "PLC telegram: " + error;
        return;
    }
    if (p.lifesign != link_.plc_lifesign) link_.plc_lifesign_changed = now;
    link_.plc_lifesign = p.lifesign;
    link_.plc_version = p.version;
    link_.control = static_cast<uint8_t>(p.control);
    link_.tn_plc_to_rob = p.tn_plc_to_rob;
    link_.tn_rob_to_plc = p.tn_rob_to_plc;
    if (static_cast<int>(p.seq) != last_seq_) {
        last_seq_ = p.seq;
        for (const auto& f : p.fragments) plc_fragment(f, now);
    }

    // The robot lays its telegram out as the PLC asked when it last initialised the link, and keeps
    // that layout until the next initialisation, also for a new client that asks for other data.
    // TelegramState sits before any optional data, so it is readable before the layout is known.
    if (p.control == srci_plc::Control::Initialize) init_layout_ = p.tn_rob_to_plc;
    const uint8_t robot_state = robot[3];
    if (robot_state == srci_plc::telegram_state::kInitialized && previous_robot_state_ != robot_state && init_layout_) {
        latched_layout_ = *init_layout_;
        init_layout_.reset();
    }
    previous_robot_state_ = robot_state;
    // Without an initialisation seen, the PLC's request is the best guess, then what decoded last.
    const uint16_t layout = latched_layout_ ? *latched_layout_ : p.tn_rob_to_plc;
    srci_plc::RobotTelegram r;
    if (srci_plc::decode_robot_telegram(robot, len, layout, r, error)) {
        robot_layout_ = layout;
    } else if (latched_layout_ || robot_layout_ == layout ||
               !srci_plc::decode_robot_telegram(robot, len, robot_layout_, r, error)) {
        ++link_.decode_errors;
        link_.last_decode_error = "robot telegram: " + error;
        return;
    }
    if (r.lifesign != link_.robot_lifesign) link_.robot_lifesign_changed = now;
    link_.robot_lifesign = r.lifesign;
    link_.robot_version = r.version;
    link_.telegram_state = r.telegram_state;
    link_.status = r.status;
    link_.override_raw = r.override_raw;
    cyclic_.joints.reset();
    cyclic_.pose.reset();
    if (r.joints) {
        std::array<float, 6> j{};
        std::copy_n(r.joints->joints.begin(), 6, j.begin());
        cyclic_.joints = j;
    }
    if (r.cartesian) {
        cyclic_.pose = r.cartesian->pose;
        cyclic_.used_tool = r.cartesian->used_tool_no;
        cyclic_.used_frame = r.cartesian->used_frame_no;
    }
    if (static_cast<int>(r.ack) != last_ack_) {
        last_ack_ = r.ack;
        for (const auto& f : r.fragments) robot_fragment(f, now);
    }
}

void LinkMonitor::connection(bool connected, const std::string& why, Millis now) {
    link_.connected = connected;
    link_.connection_note = why;
    link_.connection_changed = now;
    // Commands of a client that went away will never hear their final state through this link.
    while (!slow_.in_flight.empty())
        finish(0, now, connected ? "a new PLC client connected" : "the PLC client left before a final state");
    forget_transfers();
    ++slow_version_;
}

void LinkMonitor::forget_transfers() {
    last_seq_ = -1;
    last_ack_ = -1;
    first_action_.clear();
    plc_parts_.clear();
    robot_parts_.clear();
}

void LinkMonitor::plc_fragment(const srci_plc::Fragment& f, Millis now) {
    if (f.pointer == 0) first_action_[f.cmd_id] = f.action;
    std::vector<uint8_t> payload;
    std::string error;
    if (!plc_parts_.feed(f, payload, error)) {
        if (!error.empty()) {
            ++link_.decode_errors;
            link_.last_decode_error = "PLC command: " + error;
        }
        return;
    }
    if (payload.size() < 4) {
        ++link_.decode_errors;
        link_.last_decode_error = "PLC command of CmdID " + std::to_string(f.cmd_id) + " shorter than its header";
        return;
    }
    const uint8_t first = first_action_[f.cmd_id];
    first_action_.erase(f.cmd_id);
    auto it = std::find_if(slow_.in_flight.begin(), slow_.in_flight.end(),
                           [&](const CommandRecord& c) { return c.cmd_id == f.cmd_id; });
    if (it != slow_.in_flight.end() && !(first & srci_plc::fragment_action::kReset)) {
        // A replacement payload: the PLC updated the parameters of the running command.
        it->request = std::move(payload);
        it->par_seq = it->request[3] >> 4;
        ++it->updates;
        ++slow_version_;
        return;
    }
    if (it != slow_.in_flight.end())
        finish(static_cast<size_t>(it - slow_.in_flight.begin()), now, "replaced by a new command under its CmdID");
    start_command(f.cmd_id, std::move(payload), now);
}

void LinkMonitor::start_command(uint16_t id, std::vector<uint8_t> payload, Millis now) {
    CommandRecord c;
    c.cmd_id = id;
    c.cmd_type = srci_plc::get_u16be(payload.data());
    c.exec_mode = payload[2] & 0x0F;
    c.par_seq = payload[3] >> 4;
    c.sent = now;
    c.request = std::move(payload);
    auto pos = std::lower_bound(slow_.in_flight.begin(), slow_.in_flight.end(), id,
                                [](const CommandRecord& r, uint16_t v) { return r.cmd_id < v; });
    slow_.in_flight.insert(pos, std::move(c));
    ++slow_version_;
}

void LinkMonitor::finish(size_t index, Millis now, const std::string& note) {
    CommandRecord c = std::move(slow_.in_flight[index]);
    slow_.in_flight.erase(slow_.in_flight.begin() + static_cast<long>(index));
    c.finished = now;
    c.note = note;
    c.request.clear();
    c.request.shrink_to_fit();
    slow_.finished.push_front(std::move(c));
    if (slow_.finished.size() > kFinishedKept) slow_.finished.pop_back();
    ++slow_version_;
}

void LinkMonitor::robot_fragment(const srci_plc::Fragment& f, Millis now) {
    std::vector<uint8_t> payload;
    std::string error;
    if (!robot_parts_.feed(f, payload, error)) {
        if (!error.empty()) {
            ++link_.decode_errors;
            link_.last_decode_error = "robot response: " + error;
        }
        return;
    }
    auto it = std::find_if(slow_.in_flight.begin(), slow_.in_flight.end(),
                           [&](const CommandRecord& c) { return c.cmd_id == f.cmd_id; });
    if (it == slow_.in_flight.end()) return;  // a command sent before the view started watching
    response(*it, payload, now);
    if (!it->history.empty() && cs::is_final(it->history.back().state))
        finish(static_cast<size_t>(it - slow_.in_flight.begin()), now, "");
}

void LinkMonitor::response(CommandRecord& c, const std::vector<uint8_t>& payload, Millis now) {
    srci_plc::ResponseHeader h;
    if (!srci_plc::decode_response_header(payload, h)) {
        ++link_.decode_errors;
        link_.last_decode_error = "response of CmdID " + std::to_string(c.cmd_id) + " shorter than its header";
        return;
    }
    if (c.history.empty() || c.history.back().state != h.state) c.history.push_back({h.state, now});
    c.severity = h.severity;
    c.code = h.code;
    ++slow_version_;

    const srci_plc::CommandDef* def = srci_plc::find_command(c.cmd_type);
    if (c.cmd_type == ct::kReadMessages && def) {
        const auto fields = srci_plc::decode_fields(def->response, payload);
        const auto msg_id = static_cast<uint8_t>(field(fields, "msg_id"));
        const bool repeat = !slow_.messages.empty() && slow_.messages.front().msg_id == msg_id;
        if (msg_id != 0 && !repeat) {
            RobotMessage m;
            m.msg_id = msg_id;
            m.type = static_cast<uint8_t>(field(fields, "type"));
            m.severity = static_cast<int8_t>(field(fields, "severity"));
            m.code = static_cast<uint32_t>(field(fields, "code"));
            m.text = text_field(fields, "text");
            m.received = now;
            slow_.messages.push_front(std::move(m));
            if (slow_.messages.size() > kMessagesKept) slow_.messages.pop_back();
        }
    }
    if (h.state == cs::kDone && def && c.cmd_type == ct::kReadRobotSWLimits)
        slow_.limits = limits_from(def->response, payload, "read by the PLC");
    if (h.state == cs::kDone && def && c.cmd_type == ct::kWriteRobotSWLimits)
        slow_.limits = limits_from(def->request, c.request, "written by the PLC");
}

}  // namespace pnio_sim::web
