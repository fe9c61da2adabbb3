// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/client.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

#include "srci_plc/byte_order.hpp"

namespace srci_plc {

namespace {

long long now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// The client lifesign never returns to 0 while the session runs.
uint8_t next_lifesign(uint8_t v) { return v >= 15 ? 1 : static_cast<uint8_t>(v + 1); }

// SEQ runs 0..254; 255 is never used.
uint16_t next_seq(uint16_t s) { return s >= 254 ? 0 : static_cast<uint16_t>(s + 1); }

std::string state_text(uint8_t s) { return std::to_string(s) + " " + telegram_state_name(s); }

}  // namespace

bool CommandResult::ok() const {
    return answered && !timed_out && header.state != cmd_state::kError && header.state != cmd_state::kAborted &&
           header.severity < 28;
}

Client::Client(Transport& transport, ClientOptions options) : transport_(transport), opt_(std::move(options)) {
    PlcTelegram shape;
    shape.tn_rob_to_plc = opt_.tn_rob_to_plc;
    shape.tool_frame_always = opt_.tool_frame_always;
    try {
        capacity_ = plc_sequence_capacity(shape);
    } catch (const std::invalid_argument& e) {
        throw ClientError(e.what());
    }
}

bool Client::enabled_flag(const AcrEntry& e) {
    if (e.def == nullptr || e.last_payload.size() <= e.def->enabled_byte) return false;
    return (e.last_payload[e.def->enabled_byte] & 1u) != 0;
}

// Like a PLC task: take the robot's last answer into account, write the outputs, and let the
// answer to them wait in the socket until the next period, so a cycle costs one wake-up.
void Client::cycle() {
    const auto period = std::chrono::milliseconds(opt_.cycle_ms);
    // Reading at once, the wait for the period comes first, so that the answer is seen as soon as
    // it is read.
    if (opt_.answer_at_once && opt_.cycle_ms > 0) std::this_thread::sleep_until(next_cycle_);
    // A little late (the last answer's processing), the cycle keeps the grid; a whole period late
    // (the caller was busy), it starts a new grid instead of racing to catch up.
    const auto cycle_start = std::chrono::steady_clock::now();
    if (cycle_start - next_cycle_ >= period) next_cycle_ = cycle_start;
    acr_.release_finished();
    // A command submitted since the last answer rides in this very telegram.
    if (have_rx_) advance_sequence_if_acked();
    lifesign_ = next_lifesign(lifesign_);

    PlcTelegram t;
    t.version = opt_.version;
    t.fast_stop = fast_stop_;
    t.lifesign = lifesign_;
    t.axes_group = opt_.axes_group;
    t.control = control_;
    t.tn_rob_to_plc = opt_.tn_rob_to_plc;
    t.tool_frame_always = opt_.tool_frame_always;
    t.tool_no = opt_.tool_no;
    t.frame_no = opt_.frame_no;
    const Timestamp ts = local_timestamp_now();
    t.client_date = ts.date;
    t.client_time = ts.time;
    t.seq = seq_;
    t.fragments = seq_fragments_;
    const std::vector<uint8_t> tx = encode_plc_telegram(t);
    std::vector<uint8_t> rx(t.length_rob_to_plc);
    sent_at_ = std::chrono::steady_clock::now();
    transport_.send(tx);
    if (opt_.cycle_ms > 0) {
        next_cycle_ += period;
        if (!opt_.answer_at_once) std::this_thread::sleep_until(next_cycle_);
    }
    transport_.receive(rx);
    answer_at_ = std::chrono::steady_clock::now();
    if (opt_.on_exchange) opt_.on_exchange(tx, rx);

    // The robot lifesign is only supervised once it has started (byte 1 != 0).
    const long long now = now_ms();
    if (!have_rx_ || rx[1] != last_robot_lifesign_byte_) {
        last_robot_lifesign_byte_ = rx[1];
        robot_lifesign_changed_ms_ = now;
    } else if (rx[1] != 0 && now - robot_lifesign_changed_ms_ > opt_.robot_lifesign_timeout_ms) {
        throw ClientError("robot lifesign stopped changing for " + std::to_string(now - robot_lifesign_changed_ms_) +
                          " ms (connection lost, 0x8AAD)");
    }

    RobotTelegram decoded;
    std::string error;
    bool usable = decode_robot_telegram(rx.data(), rx.size(), opt_.tn_rob_to_plc, decoded, error);
    if (usable && !decoded.lifesign_consistent) {
        usable = false;
        error = "header and footer lifesign differ (torn telegram)";
    }
    if (!usable) {
        if (++bad_telegrams_ >= 50) throw ClientError("robot telegrams unusable: " + error);
    } else {
        bad_telegrams_ = 0;
        rx_ = std::move(decoded);
        rx_bytes_ = std::move(rx);
        process_answer();
    }
}

void Client::process_answer() {
    const bool first = !have_rx_;
    have_rx_ = true;
    if (initialized_ && !connecting_ && rx_.telegram_state != telegram_state::kInitialized) initialized_ = false;

    // Responses are only valid in the first telegram that carries a new ACK.
    if (!first && rx_.ack != prev_ack_) {
        acr_.for_each_used([&](uint16_t, AcrEntry& e) {
            if (e.sent_seq == rx_.ack) e.transmitted = true;
        });
        for (const Fragment& f : rx_.fragments) {
            std::vector<uint8_t> payload;
            std::string error;
            if (assembler_.feed(f, payload, error)) handle_response(f.cmd_id, std::move(payload));
        }
    }
    prev_ack_ = rx_.ack;
    if (connecting_) drive_control();
}

void Client::drive_control() {
    const uint8_t s = rx_.telegram_state;
    if (s == telegram_state::kInitialized) {
        control_ = reset_first_ ? Control::Reset : Control::None;
        return;
    }
    reset_first_ = false;
    if (s == telegram_state::kReadyForInit) control_ = Control::Initialize;
    // A fresh session has no use for the robot's old register: reset rather than resume.
    else if (s == telegram_state::kResumable || (s >= telegram_state::kFirstError && s <= telegram_state::kLastError))
        control_ = Control::Reset;
    else control_ = Control::None;
}

void Client::advance_sequence_if_acked() {
    if (rx_.ack != seq_) return;
    seq_ = next_seq(seq_);
    seq_fragments_ = outbox_.take(capacity_);
    for (const Fragment& f : seq_fragments_) {
        if (!(f.action & fragment_action::kComplete)) continue;
        if (AcrEntry* e = acr_.find(f.cmd_id)) {
            e->sent_seq = seq_;
            e->transmitted = false;
        }
    }
}

void Client::handle_response(uint16_t cmd_id, std::vector<uint8_t> payload) {
    AcrEntry* e = acr_.find(cmd_id);
    if (e == nullptr || !e->transmitted || e->release_pending) return;
    ResponseHeader h;
    if (!decode_response_header(payload, h)) return;
    e->last = h;
    e->last_payload = std::move(payload);
    ++e->responses;
    if (cmd_id == read_messages_id_) handle_message(*e);
    if (cmd_state::is_final(h.state)) {
        e->release_pending = true;
        if (e->def->cmd_type == cmd_type::kGroupReset && h.state == cmd_state::kDone) fast_stop_ = 0;
        completed_.push_back(snapshot(cmd_id, *e, 0));
    }
}

void Client::handle_message(AcrEntry& e) {
    const auto& p = e.last_payload;
    if (p.size() < 20 || p[4] == 0 || p[4] == last_acked_msg_ || cmd_state::is_final(e.last.state)) return;
    RobotMessage m;
    m.msg_id = p[4];
    m.type = p[14];
    m.severity = static_cast<int8_t>(p[15]);
    m.error_code = get_u32be(&p[16]);
    for (size_t i = 20; i < p.size() && p[i] != 0; ++i)
        m.text.push_back((p[i] >= 0x20 && p[i] < 0x7F) ? static_cast<char>(p[i]) : '?');
    messages_.push_back(m);
    if (opt_.on_message) opt_.on_message(m);
    last_acked_msg_ = m.msg_id;
    update(read_messages_id_, {{"msg_id", m.msg_id}});
}

uint16_t Client::submit(const CommandDef& def, const ParamValues& values) {
    if (!initialized_)
        throw ClientError("session not initialized (TelegramState " + state_text(rx_.telegram_state) + ")");
    std::vector<uint8_t> payload;
    try {
        payload = encode_command(def, values, 1, local_timestamp_now());
    } catch (const std::invalid_argument& e) {
        throw ClientError(def.name + ": " + e.what());
    }
    const uint16_t id = acr_.allocate(def, values);
    if (id == 0) throw ClientError("no free CmdID: all " + std::to_string(acr_.size()) + " register slots busy");
    outbox_.push(id, std::move(payload), false);
    if (def.cmd_type == cmd_type::kGroupStop || def.cmd_type == cmd_type::kGroupInterrupt)
        fast_stop_ = static_cast<uint8_t>(fast_stop_ + 1);
    return id;
}

void Client::update(uint16_t cmd_id, const ParamValues& values) {
    AcrEntry* e = acr_.find(cmd_id);
    if (e == nullptr || e->release_pending) throw ClientError("CmdID " + std::to_string(cmd_id) + " is not running");
    ParamValues merged = e->values;
    for (const auto& [k, v] : values) merged[k] = v;
    const uint8_t par_seq = static_cast<uint8_t>((e->par_seq + 1) & 0x0F);
    std::vector<uint8_t> payload;
    try {
        payload = encode_command(*e->def, merged, par_seq, local_timestamp_now());
    } catch (const std::invalid_argument& ex) {
        throw ClientError(e->def->name + ": " + ex.what());
    }
    e->values = std::move(merged);
    e->par_seq = par_seq;
    e->responses = 0;
    e->transmitted = false;
    e->sent_seq = -1;
    outbox_.push(cmd_id, std::move(payload), true);
}

CommandResult Client::snapshot(uint16_t cmd_id, const AcrEntry& e, double elapsed_ms) const {
    CommandResult r;
    r.cmd_id = cmd_id;
    r.def = e.def;
    r.answered = e.responses > 0;
    r.header = e.last;
    if (r.answered) {
        r.data = decode_fields(e.def->response, e.last_payload);
        r.raw = e.last_payload;
    }
    r.enabled = enabled_flag(e);
    r.elapsed_ms = elapsed_ms;
    return r;
}

void Client::check_interrupt() const {
    if (opt_.interrupted && opt_.interrupted()) throw InterruptedError("interrupted");
}

bool Client::motion_pending() {
    bool busy = false;
    acr_.for_each_used([&](uint16_t, AcrEntry& e) {
        busy = busy ||
               (!e.release_pending && (e.def->kind == CommandKind::Motion || e.def->cmd_type == cmd_type::kGroupJog));
    });
    return busy;
}

CommandResult Client::wait_until(uint16_t cmd_id, const std::function<bool(const AcrEntry&)>& done, int timeout_ms,
                                 const Progress& progress) {
    const long long start = now_ms();
    long long next_progress = start + 1000;
    for (;;) {
        cycle();
        check_interrupt();
        const long long now = now_ms();
        const AcrEntry* e = acr_.find(cmd_id);
        if (e == nullptr) throw ClientError("CmdID " + std::to_string(cmd_id) + " vanished from the register");
        if (e->responses > 0 && done(*e)) {
            CommandResult r = snapshot(cmd_id, *e, static_cast<double>(now - start));
            if (e->release_pending) {
                // The caller reports this one itself.
                auto it = std::find_if(completed_.begin(), completed_.end(),
                                       [&](const CommandResult& c) { return c.cmd_id == cmd_id; });
                if (it != completed_.end()) completed_.erase(it);
            }
            return r;
        }
        if (!initialized_ && !connecting_)
            throw ClientError("initialization lost: TelegramState " + state_text(rx_.telegram_state));
        if (now - start >= timeout_ms) {
            CommandResult r = snapshot(cmd_id, *e, static_cast<double>(now - start));
            r.timed_out = true;
            return r;
        }
        if (progress && now >= next_progress) {
            progress(*e, static_cast<double>(now - start));
            next_progress += 1000;
        }
    }
}

CommandResult Client::wait(uint16_t cmd_id, WaitFor what, int timeout_ms, const Progress& progress) {
    return wait_until(
        cmd_id,
        [what](const AcrEntry& e) {
            const bool final = cmd_state::is_final(e.last.state);
            switch (what) {
                case WaitFor::Answer:
                    return true;
                case WaitFor::Final:
                    return final;
                case WaitFor::Enabled:
                    return final || enabled_flag(e) ||
                           (e.def->cmd_type == cmd_type::kExchangeConfiguration && e.last.state == cmd_state::kActive);
            }
            return true;
        },
        timeout_ms, progress);
}

CommandResult Client::execute(const CommandDef& def, const ParamValues& values, WaitFor what, int timeout_ms,
                              const Progress& progress) {
    return wait(submit(def, values), what, timeout_ms, progress);
}

bool Client::wait_motion_idle(int timeout_ms, const Progress& progress) {
    const long long start = now_ms();
    long long next_progress = start + 1000;
    for (;;) {
        const AcrEntry* busy = nullptr;
        acr_.for_each_used([&](uint16_t, AcrEntry& e) {
            if (!busy && e.def->kind == CommandKind::Motion && !e.release_pending) busy = &e;
        });
        if (busy == nullptr) return true;
        const long long now = now_ms();
        if (now - start >= timeout_ms) return false;
        if (progress && now >= next_progress) {
            progress(*busy, static_cast<double>(now - start));
            next_progress += 1000;
        }
        cycle();
        check_interrupt();
        if (!initialized_) throw ClientError("initialization lost: TelegramState " + state_text(rx_.telegram_state));
    }
}

void Client::run_for(int ms) {
    const long long end = now_ms() + ms;
    while (now_ms() < end) {
        cycle();
        check_interrupt();
    }
}

std::vector<CommandResult> Client::take_completed() {
    std::vector<CommandResult> out;
    out.swap(completed_);
    return out;
}

bool Client::supports(const CommandDef& def) const {
    if (def.support_bit < 0 || supported_.empty()) return true;
    const size_t byte = static_cast<size_t>(def.support_bit / 8);
    return byte < supported_.size() && ((supported_[byte] >> (def.support_bit % 8)) & 1u);
}

uint16_t Client::start_step(uint16_t type, const ParamValues& values) {
    const CommandDef* def = find_command(type);
    if (def == nullptr) throw ClientError("internal: command " + std::to_string(type) + " missing");
    return submit(*def, values);
}

void Client::connect() {
    connecting_ = true;
    reset_first_ = opt_.reset_on_connect;
    const long long start = now_ms();
    const long long deadline = start + opt_.step_timeout_ms;
    long long next_report = start + 1000;
    for (;;) {
        cycle();
        if (have_rx_ && rx_.telegram_state == telegram_state::kInitialized && control_ == Control::None) break;
        const bool silent = !have_rx_ || (rx_bytes_.size() > 1 && rx_bytes_[1] == 0);
        const long long now = now_ms();
        if (now > deadline) {
            connecting_ = false;
            if (silent)
                throw ClientError("start-up: the gateway answers but no robot adapter does (no robot lifesign for " +
                                  std::to_string(opt_.step_timeout_ms) + " ms): start srci_server");
            throw ClientError("start-up: robot stays in TelegramState " + state_text(rx_.telegram_state) + " after " +
                              std::to_string(opt_.step_timeout_ms) + " ms");
        }
        if (opt_.on_startup_wait && now >= next_report) {
            opt_.on_startup_wait(
                silent ? std::string("waiting for the robot adapter (no lifesign yet)")
                       : "waiting for the robot to initialise (TelegramState " + state_text(rx_.telegram_state) + ")",
                static_cast<double>(now - start));
            next_report += 1000;
        }
    }
    connecting_ = false;
    if ((rx_.version >> 5) != (opt_.version >> 5))
        throw ClientError("SRCI major version of the robot differs (0x80A4): robot sends version byte " +
                          std::to_string(rx_.version));
    initialized_ = true;

    const auto require = [&](const CommandResult& r, const char* step) {
        if (r.timed_out) throw ClientError(std::string("start-up: ") + step + " not answered in time");
        if (!r.ok()) {
            throw ClientError(std::string("start-up: ") + step + " failed: " + cmd_state_name(r.header.state) +
                              " code 0x" + [&] {
                                  char b[8];
                                  std::snprintf(b, sizeof b, "%04X", r.header.code);
                                  return std::string(b);
                              }());
        }
    };

    read_messages_id_ =
        start_step(cmd_type::kReadMessages, {{"msg_id", 0}, {"enable", 1}, {"level", opt_.message_level}});
    const CommandResult rm = wait(read_messages_id_, WaitFor::Enabled, opt_.step_timeout_ms);
    require(rm, "ReadMessages");
    if (!rm.enabled) throw ClientError("start-up: ReadMessages did not report Enabled");

    ParamValues ec = opt_.exchange_config;
    ec.emplace("lifesign_timeout", opt_.lifesign_timeout_ms);
    ec.emplace("enable", 1);
    exchange_config_id_ = start_step(cmd_type::kExchangeConfiguration, ec);
    const CommandResult cfg = wait(exchange_config_id_, WaitFor::Enabled, opt_.step_timeout_ms);
    require(cfg, "ExchangeConfiguration");
    for (const auto& f : cfg.data) {
        if (f.name == "length_acr") {
            length_acr_ = static_cast<uint16_t>(std::get<double>(f.value));
            if (length_acr_ > 0) acr_.limit(std::min<size_t>(Acr::kMaxSize, length_acr_));
        }
    }

    const CommandResult rd = wait(start_step(cmd_type::kReadRobotData, {}), WaitFor::Final, opt_.step_timeout_ms);
    require(rd, "ReadRobotData");
    robot_data_ = rd.data;
    // Keep the raw bitmap: it decides which commands the robot accepts.
    constexpr size_t kSupportedOffset = 96, kSupportedSize = 19;
    if (rd.raw.size() >= kSupportedOffset + kSupportedSize)
        supported_.assign(rd.raw.begin() + kSupportedOffset, rd.raw.begin() + kSupportedOffset + kSupportedSize);
}

}  // namespace srci_plc
