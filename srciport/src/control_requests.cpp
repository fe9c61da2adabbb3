// SPDX-License-Identifier: Apache-2.0
// The text protocol of the control channel: one request line, one answer line.
#include "srciport/sim_arm.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace srciport {

namespace {

constexpr const char* kHelp =
    "ok requests: joints | pose | flags | queue | estop on|off | pstop on|off | error CODE "
    "(hex or decimal, 0 clears) | app on|off | profinet up|down | power-delay MS | "
    "enable-delay MS | power-refuse on|off | power-hang on|off | reset | help";

std::vector<std::string> split(std::string_view line) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        const size_t b = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
        if (i > b) out.emplace_back(line.substr(b, i - b));
    }
    return out;
}

// on|off -> 1|0, anything else -1
int onOff(const std::string& s) { return s == "on" ? 1 : (s == "off" ? 0 : -1); }

bool parseLong(const std::string& s, long long lo, long long hi, long long& out) {
    if (s.empty() || s.size() > 20) return false;
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(s.c_str(), &end, 0);
    if (errno != 0 || end != s.c_str() + s.size() || v < lo || v > hi) return false;
    out = v;
    return true;
}

std::string format(const char* fmt, auto... args) {
    char buf[512];
    std::snprintf(buf, sizeof buf, fmt, args...);
    return buf;
}

}  // namespace

std::string SimArm::request(std::string_view line) {
    const std::vector<std::string> t = split(line);
    if (t.empty()) return "error: empty request";
    const std::string& cmd = t[0];
    const size_t argc = t.size() - 1;

    if (argc == 0) {
        SrciPortStat s;
        if (cmd == "help") return kHelp;
        if (cmd == "reset") {
            reset();
            return "ok reset";
        }
        snapshot(s);
        if (cmd == "joints")
            return format("ok %.4f %.4f %.4f %.4f %.4f %.4f", s.act_jpos[0], s.act_jpos[1], s.act_jpos[2],
                          s.act_jpos[3], s.act_jpos[4], s.act_jpos[5]);
        if (cmd == "pose")
            return format("ok %.4f %.4f %.4f %.4f %.4f %.4f tool=%u frame=%u", s.act_cartpos[0], s.act_cartpos[1],
                          s.act_cartpos[2], s.act_cartpos[3], s.act_cartpos[4], s.act_cartpos[5], s.cur_tool_id,
                          s.cur_usrframe_id);
        if (cmd == "flags")
            return format(
                "ok powered=%d enabled=%d moving=%d inst_done=%d paused=%d traj=%d err=0x%X "
                "errtype=%d estop=%d pstop=%d app=%d profinet=%d speed=%.3f",
                s.ra_power_stat ? 1 : 0, s.ra_enable_stat ? 1 : 0, s.ra_is_moving ? 1 : 0, s.ra_is_inst_done ? 1 : 0,
                s.is_inst_paused ? 1 : 0, s.cur_trajId, static_cast<unsigned>(s.errCode), s.errType, s.isEStop ? 1 : 0,
                s.isPStop ? 1 : 0, s.isAppConnected ? 1 : 0, s.profinet_state, s.speed_ratio);
        if (cmd == "queue")
            return format("ok active=%zu queued=%zu traj=%d inst_done=%d full=%d", activeSegments(), queuedMoves(),
                          s.cur_trajId, s.ra_is_inst_done ? 1 : 0, s.is_inst_queue_full ? 1 : 0);
    } else if (argc == 1) {
        const std::string& arg = t[1];
        const int sw = onOff(arg);
        if (cmd == "estop" || cmd == "pstop" || cmd == "app" || cmd == "power-refuse" || cmd == "power-hang") {
            if (sw < 0) return "error: expected on or off";
            if (cmd == "estop") setEStop(sw);
            else if (cmd == "pstop") setPStop(sw);
            else if (cmd == "app") setAppConnected(sw);
            else if (cmd == "power-refuse") setPowerRefuse(sw);
            else setPowerHang(sw);
            return "ok " + cmd + " " + arg;
        }
        if (cmd == "profinet") {
            if (arg == "up") setProfinetState(SRCIPORT_PROFINET_RUNNING);
            else if (arg == "down") setProfinetState(0);
            else return "error: expected up or down";
            return "ok profinet " + arg;
        }
        if (cmd == "error") {
            long long code = 0;
            if (!parseLong(arg, 0, 0x7FFFFFFF, code)) return "error: bad code";
            injectError(static_cast<int32_t>(code));
            return format("ok error 0x%llX", code);
        }
        if (cmd == "power-delay" || cmd == "enable-delay") {
            long long ms = 0;
            if (!parseLong(arg, 0, 600000, ms)) return "error: bad milliseconds (0..600000)";
            if (cmd == "power-delay") setPowerDelay(static_cast<double>(ms) / 1000.0);
            else setEnableDelay(static_cast<double>(ms) / 1000.0);
            return format("ok %s %lld", cmd.c_str(), ms);
        }
    }
    static const char* const known[] = {"joints",       "pose",         "flags",      "queue",    "estop",
                                        "pstop",        "error",        "app",        "profinet", "power-delay",
                                        "enable-delay", "power-refuse", "power-hang", "reset",    "help"};
    for (const char* k : known)
        if (cmd == k) return "error: wrong arguments for " + cmd + " (try help)";
    return "error: unknown request (try help)";
}

}  // namespace srciport
