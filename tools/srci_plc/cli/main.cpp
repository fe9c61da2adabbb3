// SPDX-License-Identifier: Apache-2.0
// srci-plc: a PLC stand-in that speaks SRCI to the robot through the raw
// lockstep TCP gateway (pnio-sim).
#include <unistd.h>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>

#include "cli_options.hpp"
#include "command_runner.hpp"
#include "result_printer.hpp"
#include "script.hpp"
#include "srci_plc/client.hpp"
#include "srci_plc/error_names.hpp"
#include "trace_command.hpp"

namespace {

using namespace srci_plc;
using namespace srci_plc::cli;

constexpr int kExitOk = 0;
constexpr int kExitCommandFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitConnection = 3;
constexpr int kExitInterrupted = 130;

// First Ctrl-C: the running wait ends and the robot is stopped. Second: exit at once.
std::atomic<int> g_interrupts{0};
std::atomic<bool> g_stop_requested{false};

extern "C" void on_interrupt(int) {
    if (g_interrupts.fetch_add(1) >= 1) {
        const char text[] = "\nsrci-plc: second interrupt, exiting without waiting for the robot\n";
        (void)!::write(STDERR_FILENO, text, sizeof text - 1);
        ::_exit(kExitInterrupted);
    }
    g_stop_requested = true;
}

void install_interrupt_handler() {
    struct sigaction sa {};
    sa.sa_handler = on_interrupt;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
}

std::vector<ScriptLine> load_commands(const GlobalOptions& opt) {
    if (opt.command[0] != "run") return {ScriptLine{"command line", checked_command(opt.command)}};
    if (opt.command.size() != 2) throw UsageError("run needs exactly one FILE");
    return load_script(opt.command[1]);
}

// Dumps a telegram pair only when something besides lifesign, clock and cyclic
// position changed, so the log shows the protocol rather than the cycle.
class TelegramDumper {
public:
    explicit TelegramDumper(size_t rx_cyclic_end) : rx_cyclic_end_(rx_cyclic_end) {}
    void operator()(const std::vector<uint8_t>& tx, const std::vector<uint8_t>& rx) {
        std::vector<uint8_t> t = tx, r = rx;
        t[1] = 0;
        for (size_t i = 12; i < 18; ++i) t[i] = 0;
        t.back() = 0;
        r[1] = 0;
        for (size_t i = 4; i < rx_cyclic_end_ && i < r.size(); ++i) r[i] = 0;
        r.back() = 0;
        if (t == last_tx_ && r == last_rx_) return;
        last_tx_ = std::move(t);
        last_rx_ = std::move(r);
        std::cerr << hex_dump("P->R", tx) << "\n" << hex_dump("R->P", rx) << "\n";
    }

private:
    size_t rx_cyclic_end_;
    std::vector<uint8_t> last_tx_, last_rx_;
};

void print_outcome(const GlobalOptions& opt, const Outcome& o) {
    std::cout << (opt.json ? format_json(o) : format_text(o)) << std::endl;
}

void print_failure(const GlobalOptions& opt, const std::string& what, const std::string& message) {
    Outcome o;
    o.command = what;
    o.ok = false;
    o.note = message;
    if (opt.json) print_outcome(opt, o);
    std::cerr << "srci-plc: " << what << ": " << message << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    GlobalOptions opt;
    std::vector<ScriptLine> commands;
    try {
        opt = parse_global_options(argc, argv);
        if (opt.help) {
            std::cout << opt.help_text;
            return kExitOk;
        }
        // Reading a trace needs no robot: it never connects.
        if (opt.command[0] == "trace")
            return srci_plc::cli::run_trace_command({opt.command.begin() + 1, opt.command.end()}, opt.json, std::cout,
                                                    std::cerr);
        commands = load_commands(opt);
    } catch (const UsageError& e) {
        std::cerr << "srci-plc: " << e.what() << std::endl;
        return kExitUsage;
    }

    ClientOptions co;
    co.version = opt.version_1_3 ? kVersion1_3 : kVersion1_5;
    co.tn_rob_to_plc = opt.no_cyclic ? 0 : telegram_number::kDefaultRobToPlc;
    co.lifesign_timeout_ms = opt.lifesign_timeout_ms;
    co.cycle_ms = opt.cycle_ms;
    co.answer_at_once = opt.answer_at_once;
    co.step_timeout_ms = std::min(5000, opt.timeout_ms);
    size_t cyclic_end = 10;
    for (unsigned bit = 0; bit < 16; ++bit)
        if (co.tn_rob_to_plc & (1u << bit)) cyclic_end += robot_block_size(bit);
    if (opt.verbose) co.on_exchange = TelegramDumper(cyclic_end);
    co.on_message = [&opt](const RobotMessage& m) {
        if (opt.json) std::cout << format_message_json(m) << std::endl;
        else std::cerr << format_message_text(m) << std::endl;
    };

    const auto progress = [](const AcrEntry& e, double elapsed_ms) {
        if (progress_line_due(e, elapsed_ms)) std::cerr << format_progress(e, elapsed_ms) << std::endl;
    };
    co.interrupted = [] { return g_stop_requested.exchange(false); };
    co.on_startup_wait = [](const std::string& what, double elapsed_ms) {
        std::fprintf(stderr, "  ... %s (%.0f s)\n", what.c_str(), elapsed_ms / 1000.0);
    };

    std::unique_ptr<TcpTransport> transport;
    std::unique_ptr<Client> client;
    try {
        transport = std::make_unique<TcpTransport>(opt.host, opt.port, 1000);
        client = std::make_unique<Client>(*transport, co);
        client->connect();
    } catch (const std::exception& e) {
        print_failure(opt, "connect", e.what());
        return kExitConnection;
    }

    CommandRunner runner(*client, opt.timeout_ms, opt.force, progress);
    install_interrupt_handler();
    for (const ScriptLine& line : commands) {
        try {
            const Outcome o = runner.run(line.command);
            print_outcome(opt, o);
            if (!o.ok) {
                if (commands.size() > 1) std::cerr << "srci-plc: stopped at " << line.where << std::endl;
                return kExitCommandFailed;
            }
        } catch (const InterruptedError&) {
            std::cerr << "\nsrci-plc: interrupted during " << line.command.name
                      << "; stopping the robot (Ctrl-C again to exit at once)" << std::endl;
            try {
                print_outcome(opt, runner.stop_after_interrupt());
            } catch (const std::exception& e) {
                print_failure(opt, "stop", e.what());
            }
            return kExitInterrupted;
        } catch (const UsageError& e) {
            print_failure(opt, line.command.name, line.where + ": " + e.what());
            return kExitUsage;
        } catch (const ClientError& e) {
            print_failure(opt, line.command.name, e.what());
            return kExitConnection;
        } catch (const TransportError& e) {
            print_failure(opt, line.command.name, e.what());
            return kExitConnection;
        }
    }
    return kExitOk;
}
