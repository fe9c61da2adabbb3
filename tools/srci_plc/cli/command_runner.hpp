// SPDX-License-Identifier: Apache-2.0
#pragma once
// Executes srci-plc commands (one CLI invocation or one script line) on a
// connected client session.
#include <string>
#include <utility>
#include <vector>

#include "cli_options.hpp"
#include "srci_plc/robot_commands.hpp"

namespace srci_plc::cli {

struct Outcome {
    std::string command;
    std::vector<std::pair<std::string, std::string>> words;  // named words before them (jog's mode and axis)
    std::vector<std::pair<std::string, double>> sent;        // parameters as given
    uint16_t cmd_type = 0;
    bool has_result = false;
    CommandResult result;
    std::vector<DecodedField> info;  // data that is not a command answer (status, wait-done)
    std::string note;
    bool ok = true;
    double elapsed_ms = 0;
};

// Checks a command line without talking to the robot; throws UsageError.
void validate_command(const CommandLine& line);

class CommandRunner {
public:
    CommandRunner(Client& client, int timeout_ms, bool force, Client::Progress progress);
    Outcome run(const CommandLine& line);
    // After an interrupted wait: GroupStop when something moves, waiting at most kStopWaitMs.
    Outcome stop_after_interrupt();
    static constexpr int kStopWaitMs = 1000;

private:
    Outcome run_status();
    Outcome run_jog(const CommandLine& line);
    Outcome run_wait_done();
    Outcome run_sleep(const CommandLine& line);
    Outcome execute(const CommandLine& line);
    Outcome finish(Outcome o, const CommandResult& r);
    std::string enable_refusal() const;

    Client& client_;
    RobotCommands commands_;
    int timeout_ms_;
};

}  // namespace srci_plc::cli
