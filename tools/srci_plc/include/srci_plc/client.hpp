// SPDX-License-Identifier: Apache-2.0
#pragma once
// PLC-side SRCI session: drives the cyclic exchange, the start-up handshake and
// the command register on top of a Transport.
#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "srci_plc/acr.hpp"
#include "srci_plc/outbox.hpp"
#include "srci_plc/robot_telegram.hpp"
#include "srci_plc/transport.hpp"

namespace srci_plc {

class ClientError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user asked to stop (Ctrl-C); the wait that noticed it ends with this.
class InterruptedError : public ClientError {
public:
    using ClientError::ClientError;
};

struct RobotMessage {
    uint8_t msg_id = 0;
    uint8_t type = 0;
    int8_t severity = 0;
    uint32_t error_code = 0;
    std::string text;
};

struct ClientOptions {
    uint8_t version = kVersion1_5;
    uint8_t axes_group = 0;
    uint16_t tn_rob_to_plc = telegram_number::kDefaultRobToPlc;
    bool tool_frame_always = false;
    uint8_t tool_no = 255;  // cyclic Cartesian position in this tool/frame
    uint8_t frame_no = 255;
    uint16_t lifesign_timeout_ms = 1000;  // sent in ExchangeConfiguration
    uint8_t message_level = 20;
    ParamValues exchange_config;  // further ExchangeConfiguration fields
    int cycle_ms = 4;
    // Read the robot's answer to a telegram as soon as it comes instead of at the next period:
    // answers are a period fresher, for a second wake-up per cycle (the one that receives).
    bool answer_at_once = false;
    int step_timeout_ms = 5000;  // each start-up step
    int robot_lifesign_timeout_ms = 2000;
    bool reset_on_connect = true;  // wipe a previous session's commands
    std::function<void(const std::vector<uint8_t>& tx, const std::vector<uint8_t>& rx)> on_exchange;
    std::function<void(const RobotMessage&)> on_message;
    // Called once a second while the start-up waits for the robot to initialise.
    std::function<void(const std::string& what, double elapsed_ms)> on_startup_wait;
    // Polled every cycle of a wait; true ends the wait with InterruptedError.
    std::function<bool()> interrupted;
};

enum class WaitFor : uint8_t {
    Answer,   // any answer to the last transmission
    Enabled,  // Enabled flag (or a final state)
    Final,    // Done / Aborted / Error
};

struct CommandResult {
    uint16_t cmd_id = 0;
    const CommandDef* def = nullptr;
    bool answered = false;
    bool timed_out = false;
    ResponseHeader header;
    std::vector<DecodedField> data;
    std::vector<uint8_t> raw;  // response payload as received
    double elapsed_ms = 0;
    bool enabled = false;  // Enabled flag of enable-type answers
    bool ok() const;       // answered, no error state, no error severity
};

class Client {
public:
    Client(Transport& transport, ClientOptions options);

    // Runs RESET/INITIALIZE, then ReadMessages, ExchangeConfiguration and
    // ReadRobotData. Throws ClientError when a step fails or times out.
    void connect();

    // Transmits a new command; returns its CmdID. Throws ClientError if the
    // register is full or the session is not initialized.
    uint16_t submit(const CommandDef& def, const ParamValues& values);
    // Parameter update of a running command: whole payload again, ParSeq + 1.
    void update(uint16_t cmd_id, const ParamValues& values);

    using Progress = std::function<void(const AcrEntry&, double elapsed_ms)>;
    CommandResult wait(uint16_t cmd_id, WaitFor what, int timeout_ms, const Progress& progress = {});
    CommandResult wait_until(uint16_t cmd_id, const std::function<bool(const AcrEntry&)>& done, int timeout_ms,
                             const Progress& progress = {});
    // submit + wait
    CommandResult execute(const CommandDef& def, const ParamValues& values, WaitFor what, int timeout_ms,
                          const Progress& progress = {});

    // Waits until no motion command is left in the register.
    bool wait_motion_idle(int timeout_ms, const Progress& progress = {});
    void run_for(int ms);
    void cycle();

    bool initialized() const { return initialized_; }
    const RobotTelegram& last_telegram() const { return rx_; }
    // When the last telegram left and when its answer was taken in.
    std::chrono::steady_clock::time_point last_sent_at() const { return sent_at_; }
    std::chrono::steady_clock::time_point last_answer_at() const { return answer_at_; }
    const std::vector<DecodedField>& robot_data() const { return robot_data_; }
    const std::vector<uint8_t>& supported_functions() const { return supported_; }
    bool supports(const CommandDef& def) const;
    // A motion command or a jog is still in the register.
    bool motion_pending();
    uint16_t exchange_config_id() const { return exchange_config_id_; }
    const Acr& acr() const { return acr_; }
    uint16_t length_acr() const { return length_acr_; }
    const std::vector<RobotMessage>& messages() const { return messages_; }
    // Final answers of commands nobody waited for; cleared by the call.
    std::vector<CommandResult> take_completed();
    static bool enabled_flag(const AcrEntry& e);

private:
    void process_answer();
    void handle_response(uint16_t cmd_id, std::vector<uint8_t> payload);
    void handle_message(AcrEntry& entry);
    void drive_control();
    void check_interrupt() const;
    void advance_sequence_if_acked();
    CommandResult snapshot(uint16_t cmd_id, const AcrEntry& e, double elapsed_ms) const;
    uint16_t start_step(uint16_t cmd_type, const ParamValues& values);

    Transport& transport_;
    ClientOptions opt_;
    Acr acr_;
    Outbox outbox_;
    ResponseAssembler assembler_;
    RobotTelegram rx_;
    std::vector<uint8_t> rx_bytes_;
    bool have_rx_ = false;
    // Start of the next cycle on a fixed grid of cycle_ms, so the link runs at exactly that period.
    std::chrono::steady_clock::time_point next_cycle_{};
    std::chrono::steady_clock::time_point sent_at_{};
    std::chrono::steady_clock::time_point answer_at_{};
    uint8_t lifesign_ = 0;
    uint8_t fast_stop_ = 0;
    Control control_ = Control::None;
    bool reset_first_ = false;
    uint16_t seq_ = 0;
    std::vector<Fragment> seq_fragments_;
    uint16_t prev_ack_ = 0;
    bool initialized_ = false;
    bool connecting_ = false;
    uint8_t last_robot_lifesign_byte_ = 0;
    long long robot_lifesign_changed_ms_ = 0;
    unsigned bad_telegrams_ = 0;
    uint16_t read_messages_id_ = 0;
    uint16_t exchange_config_id_ = 0;
    uint8_t last_acked_msg_ = 0;
    uint16_t length_acr_ = 0;
    std::vector<DecodedField> robot_data_;
    std::vector<uint8_t> supported_;
    std::vector<RobotMessage> messages_;
    std::vector<CommandResult> completed_;
    size_t capacity_ = 0;
};

}  // namespace srci_plc
