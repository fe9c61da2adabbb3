// pnio-sim: stands in for the PROFINET I/O manager. It owns the shared process
// image and bridges one PLC client on TCP to its SRCI areas.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "pnio_sim/gateway.hpp"
#include "pnio_sim/process_image.hpp"
#include "pnio_sim/web_view.hpp"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void on_signal(int) { g_stop = 1; }

const char* kHelp = R"(pnio-sim - PROFINET I/O manager stand-in for the SRCI robot adapter

Usage: pnio-sim [--bind ADDR] [--port N] [--no-status] [--web [ADDR:]PORT]
                [--arm-socket PATH] [--help]

Creates the shared process image (System V shared memory key 204, 1860 bytes)
and its semaphore (key 5001, initial value 1), holds two attachments to it (the
robot adapter waits for that), and bridges one TCP client to the SRCI areas:
the client sends exactly 256 bytes (one PLC->robot telegram, no framing),
pnio-sim copies them to offset 1348 and answers with the 256 bytes at offset
1604. It never sends unasked. A new client replaces the old one; a client that
leaves a telegram incomplete for 200 ms is dropped. While no client is
connected the PLC->robot area is all zero.

Options:
  --bind ADDR   IPv4 address to listen on (default 127.0.0.1)
  --port N      TCP port (default 5000; 0 picks a free port)
  --no-status   no once-a-second status line
  --web [ADDR:]PORT  serve a live view of the link and the robot on
                http://ADDR:PORT/ (ADDR defaults to 127.0.0.1; PORT 0 picks one)
  --arm-socket PATH  the simulated arm's control channel (srciport.sock); the
                live view reads the joints there when the PLC does not request
                the cyclic joint and Cartesian blocks
  --help        this text

Prints "pnio-sim: listening on ADDR:PORT" once ready. SIGINT/SIGTERM remove
the segment and the semaphore and exit 0. A segment still attached by a live
process makes pnio-sim refuse to start; one left by a crash (no attachments)
is removed and reported.

Example:
  pnio-sim --port 5000 &
  srci-plc --port 5000 status
)";

struct Options {
    std::string bind = "127.0.0.1";
    long port = 5000;
    bool status = true;
    std::string web;
    std::string arm_socket;
};

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::fputs(kHelp, stdout);
            std::exit(0);
        } else if (a == "--no-status") {
            o.status = false;
        } else if ((a == "--web" || a == "--arm-socket") && i + 1 < argc) {
            (a == "--web" ? o.web : o.arm_socket) = argv[++i];
        } else if ((a == "--bind" || a == "--port") && i + 1 < argc) {
            const std::string v = argv[++i];
            if (a == "--bind") {
                o.bind = v;
                continue;
            }
            char* end = nullptr;
            errno = 0;
            o.port = std::strtol(v.c_str(), &end, 10);
            if (v.empty() || *end != '\0' || errno != 0 || o.port < 0 || o.port > 65535) {
                std::fprintf(stderr, "pnio-sim: --port needs a number 0..65535, not '%s'\n", v.c_str());
                return false;
            }
        } else {
            std::fprintf(stderr, "pnio-sim: unknown or incomplete option '%s' (see --help)\n", a.c_str());
            return false;
        }
    }
    return true;
}

void log_line(const std::string& s) { std::fprintf(stderr, "pnio-sim: %s\n", s.c_str()); }

class StatusLine {
public:
    explicit StatusLine(bool enabled) : enabled_(enabled), tty_(isatty(STDOUT_FILENO) == 1) {}
    void operator()(const pnio_sim::GatewayStats& s) {
        if (!enabled_) return;
        const uint64_t rate = s.telegrams - last_;
        last_ = s.telegrams;
        char line[160];
        std::snprintf(line, sizeof line, "pnio-sim: %-12s %5llu tel/s  PLC lifesign %2u  robot lifesign %2u  clients %u",
                      s.connected ? "connected" : "disconnected", static_cast<unsigned long long>(rate),
                      s.plc_lifesign, s.robot_lifesign, s.clients);
        if (tty_) std::printf("\r%s   ", line);
        else std::printf("%s\n", line);
        std::fflush(stdout);
    }

private:
    bool enabled_;
    bool tty_;
    uint64_t last_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Options opt;
    if (!parse(argc, argv, opt)) return 2;

    struct sigaction sa {};
    sa.sa_handler = on_signal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    try {
        pnio_sim::ProcessImage image(pnio_sim::kShmKey, pnio_sim::kSemKey, log_line);
        try {
            pnio_sim::Gateway gateway(image, opt.bind, static_cast<uint16_t>(opt.port), log_line);
            image.describe("pnio-sim " + opt.bind + ":" + std::to_string(gateway.port()), gateway.address());
            image.set_connection_state(false);
            std::printf("pnio-sim: listening on %s:%u\n", opt.bind.c_str(), gateway.port());
            std::fflush(stdout);
            std::unique_ptr<pnio_sim::web::WebView> web;
            if (!opt.web.empty()) {
                web = pnio_sim::web::start_web_view(opt.web, opt.arm_socket, log_line);
                gateway.add_tap(web.get());
            } else if (!opt.arm_socket.empty()) {
                log_line("--arm-socket is only used by the live view (--web); ignored");
            }
            StatusLine status(opt.status);
            gateway.run(g_stop, [&](const pnio_sim::GatewayStats& s) { status(s); });
        } catch (const std::exception& e) {
            log_line(e.what());
            return 1;  // image destructor still removes segment and semaphore
        }
        image.remove();
        if (opt.status) std::printf("\n");
        log_line("stopped; shared memory segment and semaphore removed");
    } catch (const pnio_sim::ImageError& e) {
        log_line(std::string("cannot start: ") + e.what());
        return 1;
    }
    return 0;
}
