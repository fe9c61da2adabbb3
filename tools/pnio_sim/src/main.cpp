// SPDX-License-Identifier: Apache-2.0
// pnio-sim: stands in for the PROFINET I/O manager. It owns the shared process
// image and bridges one PLC client on TCP to its SRCI areas.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <grp.h>

#include <CLI/CLI.hpp>

#include "pnio_sim/gateway.hpp"
#include "pnio_sim/process_image.hpp"
#include "pnio_sim/trace_recorder.hpp"
#include "pnio_sim/web_view.hpp"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void on_signal(int) { g_stop = 1; }

const char* kAbout = R"(pnio-sim - PROFINET I/O manager stand-in for the SRCI robot adapter

Creates the shared process image (System V shared memory key 204, 1860 bytes)
and its semaphore (key 5001, initial value 1), holds two attachments to it (the
robot adapter waits for that), and bridges one TCP client to the SRCI areas:
the client sends exactly 256 bytes (one PLC->robot telegram, no framing),
pnio-sim copies them to offset 1348 and answers with the 256 bytes at offset
1604. It never sends unasked. A new client replaces the old one; a client that
leaves a telegram incomplete for 200 ms is dropped. While no client is
connected the PLC->robot area is all zero.)";

const char* kFooter = R"(Prints "pnio-sim: listening on ADDR:PORT" once ready.

Segment and semaphore are readable and writable by their owner only (0600);
with --group NAME also by that group (0660), for an adapter that runs as
another user of the group.

Restarting: a segment of the right size that the running adapter still uses
is taken over with its semaphore, so the adapter carries on with the new
pnio-sim. SIGINT/SIGTERM remove segment and semaphore only when no other
process is attached any more. A segment held by another pnio-sim makes
pnio-sim refuse to start; leftovers of a crash are reused or removed and
reported.

Example:
  pnio-sim --port 5000 &
  srci-plc --port 5000 status)";

struct Options {
    std::string bind = "127.0.0.1";
    long port = 5000;
    bool status = true;
    std::string group;
    std::string trace;
    long trace_max_mb = 0;
    std::string web;
    std::string arm_socket;
};

// All options in one place, so that further gateway options are one line each.
// Returns -1 to go on, otherwise the exit code (help, version, usage error).
int parse(int argc, char** argv, Options& o) {
    CLI::App app{kAbout, "pnio-sim"};
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("pnio-sim ") + SRCI_VERSION);
    app.add_option("--bind", o.bind, "IPv4 address to listen on")->capture_default_str();
    app.add_option("--port", o.port, "TCP port (0 picks a free port)")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_flag("!--no-status", o.status, "no once-a-second status line");
    app.add_option("--group", o.group, "give this group read/write access to segment and semaphore (0660)");
    app.add_option("--trace", o.trace,
                   "record every telegram, both directions, in FILE (pcapng; open it in Wireshark with "
                   "tools/wireshark/srci.lua, or run 'srci-plc trace FILE')")
        ->option_text("FILE");
    app.add_option("--trace-max-mb", o.trace_max_mb,
                   "rotate the trace at N MiB: FILE moves to FILE.1 (same extension, e.g. trace.1.pcapng), "
                   "so two files remain")
        ->option_text("N")
        ->check(CLI::Range(1L, 1000000L))
        ->needs("--trace");
    app.add_option("--web", o.web,
                   "serve a live view of the link and the robot on http://ADDR:PORT/ (ADDR defaults to "
                   "127.0.0.1; PORT 0 picks one)")
        ->option_text("[ADDR:]PORT");
    app.add_option("--arm-socket", o.arm_socket,
                   "the simulated arm's control channel (srciport.sock); the live view reads the joints "
                   "there when the PLC does not request the cyclic joint and Cartesian blocks")
        ->option_text("PATH");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    return -1;
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
        std::snprintf(line, sizeof line,
                      "pnio-sim: %-12s %5llu tel/s  PLC lifesign %2u  robot lifesign %2u  clients %u",
                      s.connected ? "connected" : "disconnected", static_cast<unsigned long long>(rate), s.plc_lifesign,
                      s.robot_lifesign, s.clients);
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
    if (const int code = parse(argc, argv, opt); code >= 0) return code == 0 ? 0 : 2;
    pnio_sim::ImageAccess access;
    if (!opt.group.empty()) {
        const group* g = getgrnam(opt.group.c_str());
        if (g == nullptr) {
            std::fprintf(stderr, "pnio-sim: --group: no group named '%s'\n", opt.group.c_str());
            return 2;
        }
        access.mode = 0660;
        access.gid = static_cast<int>(g->gr_gid);
    }

    struct sigaction sa {};
    sa.sa_handler = on_signal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    try {
        pnio_sim::ProcessImage image(pnio_sim::kShmKey, pnio_sim::kSemKey, log_line, access);
        try {
            pnio_sim::Gateway gateway(image, opt.bind, static_cast<uint16_t>(opt.port), log_line);
            image.describe("pnio-sim " + opt.bind + ":" + std::to_string(gateway.port()), gateway.address());
            image.set_connection_state(false);
            std::printf("pnio-sim: listening on %s:%u\n", opt.bind.c_str(), gateway.port());
            std::fflush(stdout);
            std::unique_ptr<pnio_sim::TraceRecorder> trace;
            if (!opt.trace.empty()) {
                trace =
                    std::make_unique<pnio_sim::TraceRecorder>(opt.trace, uint64_t(opt.trace_max_mb) << 20, log_line);
                gateway.add_tap(trace.get());
                log_line("recording every telegram to " + opt.trace);
            }
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
            return 1;  // the image destructor still detaches (and removes when unused)
        }
        const std::string what = image.remove();
        if (opt.status) std::printf("\n");
        log_line("stopped; " + what);
    } catch (const pnio_sim::ImageError& e) {
        log_line(std::string("cannot start: ") + e.what());
        return 1;
    }
    return 0;
}
