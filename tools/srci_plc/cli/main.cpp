// srci-plc: a PLC stand-in that speaks SRCI to the robot through the raw
// lockstep TCP gateway (pnio-sim).
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "cli_options.hpp"
#include "command_runner.hpp"
#include "result_printer.hpp"
#include "trace_command.hpp"
#include "srci_plc/client.hpp"
#include "srci_plc/error_names.hpp"

namespace {

using namespace srci_plc;
using namespace srci_plc::cli;

constexpr int kExitOk = 0;
constexpr int kExitCommandFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitConnection = 3;
constexpr size_t kMaxScriptBytes = 1 << 20;

const char* kHelp = R"(srci-plc - PLC-side SRCI client for the robot adapter (talks to pnio-sim)

Usage:
  srci-plc [options] COMMAND [VALUES] [key=value ...] [--no-wait]
  srci-plc [options] run FILE
  srci-plc trace FILE.pcapng [--json]   print a pnio-sim --trace file, one line per event

Every invocation connects once: RESET/INITIALIZE until the robot reports
TelegramState 255, then ReadMessages, ExchangeConfiguration and ReadRobotData.
Each command prints one line: what was sent, the answer (final state, data,
error code and its name) and the time it took. Robot messages and progress of
long waits (one line per second) go to stderr.

Options:
  --host ADDR             gateway address (default 127.0.0.1)
  --port N                gateway port (default 5000)
  --timeout MS            wait per command for its final answer (default 30000);
                          start-up steps wait at most 5000
  --lifesign-timeout MS   LifeSignTimeOut sent in ExchangeConfiguration
                          (default 1000; PLCs use 50, which a non-realtime host
                          cannot keep reliably)
  --cycle MS              telegram cycle (default 4)
  --json                  one JSON object per command instead of text
  --verbose, -v           hex dump of every telegram pair whose content changed
  --force                 send commands the robot does not announce as supported
  --no-cyclic             request no cyclic position data (TelegramNumber 0)
  --srci-1.3              announce SRCI version 1.3 instead of 1.5
  --help, -h              this text

Commands (VALUES are positional, anything else is key=value):
  status                                   telegram state, status word, position
  reset                                    GroupReset (acknowledge errors)
  enable [step_mode=N]                     EnableRobot, waits for Enabled
  disable                                  EnableRobot update with Enable=0
  move-axes J1 J2 J3 J4 J5 J6              MoveAxesAbsolute [deg]
  move-linear X Y Z RX RY RZ               MoveLinearAbsolute [mm, deg]
  move-direct X Y Z RX RY RZ               MoveDirectAbsolute
      motion keys: vel acc (percent, default 10) dec jerk (-1 = robot default)
      tool frame blending blend0 blend1 config turn_mode ori_mode
      config_s config_e config_w move_time e1..e6
      Motion commands wait for Done unless --no-wait is given.
  jog MODE AXIS [inc=MM] [rot=DEG] [override=PCT] [duration=MS] [tool= frame=]
      MODE frame|tool|joint; AXIS x+ y- z+ rx- ry+ rz- j1+..j6- e1+..e6-.
      inc/rot > 0 moves one increment and waits for DistanceReached,
      otherwise the robot jogs for duration ms (default 1000).
  stop                                     GroupStop (FastStop counter +1)
  pause                                    GroupInterrupt (FastStop counter +1)
  continue                                 GroupContinue
  override PCT                             ChangeSpeedOverride
  read-position [tool=N frame=N]           ReadActualPosition (255 = current)
  read-tool N      | write-tool N X Y Z RX RY RZ [id= load= external=]
  read-frame N     | write-frame N X Y Z RX RY RZ [reference=]
  read-load N      | write-load N MASS [X Y Z] [rx= ry= rz= ix= iy= iz=]
  read-dynamics    | write-dynamics VEL ACC [DEC JERK]   reference dynamics
  read-default-dynamics | write-default-dynamics VEL% ACC% [DEC% JERK%]
  read-limits      | write-limits min_j1= .. min_j6= max_j1= .. max_j6= [min_e1= max_e1=]
  read-workarea N  | write-workarea N type= x1= x2= y1= y2= z1= z2= radius= ...
  fk J1 J2 J3 J4 J5 J6 [tool= frame=]      CalculateForwardKinematic
  ik X Y Z RX RY RZ [config=BITS tool= frame=]  CalculateInverseKinematic
  read-robot-data                          ReadRobotData
  exchange-config key=value ...            update of the running ExchangeConfiguration
      keys: log_level wait_at_blending allow_sec_seq allow_dynamic_blending
      delay_time wait_for_cmds lifesign_timeout sync_delay sync_reaction
      data_in_sync data_enable_sync
  sleep MS                                 keep cycling for MS milliseconds
  wait-done                                wait until no motion command is left
  run FILE                                 execute FILE, one command per line
  Any command also takes exec_mode=N and priority=N to override the defaults.

Scripts: one command per line as above, '#' starts a comment, blank lines are
ignored. The whole file is checked before connecting; execution stops at the
first failing line.

Exit status: 0 all commands succeeded, 1 a command ended in Error/Aborted or
timed out, 2 bad command line or script, 3 connection or start-up failure.

Examples:
  srci-plc status
  srci-plc --json read-position
  srci-plc move-axes 0 -30 90 0 60 0 vel=20
  srci-plc jog joint j1+ rot=5
  srci-plc --port 5001 run demo.srci

  demo.srci:
    reset
    enable
    move-axes 0 -30 90 0 60 0 vel=20
    move-linear 400 0 500 180 0 180 --no-wait
    wait-done
    read-position
    disable
)";

struct ScriptLine {
    std::string where;
    CommandLine command;
};

std::vector<ScriptLine> load_commands(const GlobalOptions& opt) {
    std::vector<ScriptLine> lines;
    if (opt.command[0] != "run") {
        CommandLine c = parse_command_words(opt.command);
        validate_command(c);
        lines.push_back(ScriptLine{"command line", std::move(c)});
        return lines;
    }
    if (opt.command.size() != 2) throw UsageError("run needs exactly one FILE");
    const std::string& file = opt.command[1];
    std::ifstream in(file, std::ios::binary);
    if (!in) throw UsageError("cannot open script " + file);
    std::ostringstream buf;
    buf << in.rdbuf();
    const std::string text = buf.str();
    if (text.size() > kMaxScriptBytes) throw UsageError(file + ": script larger than 1 MiB");
    std::istringstream lines_in(text);
    std::string line;
    for (int number = 1; std::getline(lines_in, line); ++number) {
        const std::string where = file + ":" + std::to_string(number);
        try {
            const auto words = split_script_line(line);
            if (words.empty()) continue;
            CommandLine c = parse_command_words(words);
            validate_command(c);
            lines.push_back(ScriptLine{where, std::move(c)});
        } catch (const UsageError& e) {
            throw UsageError(where + ": " + e.what());
        }
    }
    if (lines.empty()) throw UsageError(file + ": no commands");
    return lines;
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
            std::cout << kHelp;
            return kExitOk;
        }
        if (opt.command[0] == "trace")
            return run_trace_command({opt.command.begin() + 1, opt.command.end()}, opt.json, std::cout, std::cerr);
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
    co.step_timeout_ms = std::min(5000, opt.timeout_ms);
    size_t cyclic_end = 10;
    for (unsigned bit = 0; bit < 16; ++bit)
        if (co.tn_rob_to_plc & (1u << bit)) cyclic_end += robot_block_size(bit);
    if (opt.verbose) co.on_exchange = TelegramDumper(cyclic_end);
    co.on_message = [](const RobotMessage& m) {
        const char* name = error_code_name(static_cast<uint16_t>(m.error_code));
        std::fprintf(stderr, "robot message #%u %s code 0x%04X%s%s: %s\n", m.msg_id, severity_name(m.severity),
                     static_cast<unsigned>(m.error_code), name ? " " : "", name ? name : "", m.text.c_str());
    };

    const auto progress = [](const AcrEntry& e, double elapsed_ms) {
        std::string extra;
        for (const auto& f : decode_fields(e.def->response, e.last_payload))
            if (f.name == "progress") {
                char buf[32];
                std::snprintf(buf, sizeof buf, " %.2f%%", std::get<double>(f.value));
                extra = buf;
            }
        std::fprintf(stderr, "  ... %s: %s%s (%.0f s)\n", e.def->name.c_str(),
                     e.responses ? cmd_state_name(e.last.state) : "waiting for answer", extra.c_str(),
                     elapsed_ms / 1000.0);
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
    for (const ScriptLine& line : commands) {
        try {
            const Outcome o = runner.run(line.command);
            print_outcome(opt, o);
            if (!o.ok) {
                if (commands.size() > 1) std::cerr << "srci-plc: stopped at " << line.where << std::endl;
                return kExitCommandFailed;
            }
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
