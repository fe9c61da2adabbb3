// SPDX-License-Identifier: Apache-2.0
// Captures recorded by pnio-sim --trace from real runs of the chain (pnio-sim, srci_server,
// srci-plc or the client library), read by tshark with the Lua dissector and by srci-plc trace.
// Every capture must decode without a Lua error or a malformed frame; the decoded fields must be the
// ones that were sent. The short checked-in capture must print exactly its golden tshark -V text.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <regex>
#include <sstream>

#include "plc_command.h"
#include "pnio_sim/trace_pcapng.hpp"
#include "process_chain.h"
#include "srci_plc/byte_order.hpp"
#include "srci_plc/client.hpp"
#include "srci_plc/trace_format.hpp"
#include "telegram_pairs.hpp"

using namespace srci_test;

namespace {

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

// Runs a shell command line; stdout and stderr come back separately.
Outcome shell(const std::string& command, const std::string& dir) {
    const std::string err_file = dir + "/shell.err";
    Outcome r;
    FILE* p = popen((command + " 2>" + err_file).c_str(), "r");
    if (!p) return r;
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) r.out.append(buf, n);
    const int status = pclose(p);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.err = readFile(err_file);
    return r;
}

// tshark refuses nothing as root on Debian but warns about it; that line is not a finding.
std::string without_root_warning(const std::string& err) {
    std::istringstream in(err);
    std::string kept;
    for (std::string line; std::getline(in, line);)
        if (line.find("Running as user \"root\"") == std::string::npos) kept += line + "\n";
    return kept;
}

Outcome tshark(const std::string& file, const std::string& args, const std::string& dir) {
    return shell("TZ=UTC " TSHARK_BIN " -n -r '" + file + "' -X lua_script:" SRCI_LUA " " + args, dir);
}

// A whole capture through the dissector: no Lua error, no malformed frame, nothing on stderr.
void expect_clean_dissection(const std::string& file, const std::string& dir) {
    const Outcome v = tshark(file, "-V", dir);
    EXPECT_EQ(v.code, 0) << v.err;
    EXPECT_EQ(without_root_warning(v.err), "");
    EXPECT_EQ(v.out.find("Lua Error"), std::string::npos) << v.out.substr(v.out.find("Lua Error"), 200);
    EXPECT_EQ(v.out.find("Malformed Packet"), std::string::npos);
    EXPECT_NE(v.out.find("SRCI Standard Robot Command Interface"), std::string::npos);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        if (!l.empty()) out.push_back(l);
    return out;
}

class TraceCapture : public ProcessChain {
protected:
    void SetUp() override {
        trace = dir.file("trace.pcapng");
        startGateway({"--trace", trace});
    }

    // Ends the recording the hard way: a killed pnio-sim must still leave a readable file.
    void kill_recorder() {
        std::this_thread::sleep_for(std::chrono::milliseconds(600));  // two write intervals
        pnio->signal(SIGKILL);
        pnio->waitExit(5000);
        if (server) server->kill();
    }

    // One -T fields row per frame matching filter.
    std::vector<std::string> fields(const std::string& filter, const std::string& names) {
        std::string args = "-Y '" + filter + "' -T fields -E separator=,";
        std::istringstream in(names);
        for (std::string n; in >> n;) args += " -e " + n;
        const Outcome r = tshark(trace, args, dir.path());
        EXPECT_EQ(r.code, 0) << r.err;
        return lines(r.out);
    }

    std::string trace_text() {
        const std::string out = dir.file("trace.txt");
        const Outcome r = shell(std::string(SRCI_PLC_BIN) + " trace '" + trace + "' > '" + out + "'", dir.path());
        EXPECT_EQ(r.code, 0) << r.err;
        return readFile(out);
    }

    std::string trace;
};

::testing::AssertionResult any_contains(const std::vector<std::string>& rows, const std::string& want) {
    for (const auto& r : rows)
        if (r.find(want) != std::string::npos) return ::testing::AssertionSuccess();
    auto failure = ::testing::AssertionFailure() << "no row contains " << want << "; first rows:";
    for (size_t i = 0; i < rows.size() && i < 4; ++i) failure << "\n  " << rows[i];
    return failure;
}

TEST_F(TraceCapture, TheDemoTourDecodesWithEveryParameterItWasSent) {
    startServer();
    ASSERT_EQ(script("reset\nenable\nwrite-tool 1 0 0 100 0 0 0\nmove-axes 0 10 10 0 70 0 vel=40 acc=40 tool=1\n"
                     "move-linear 580 -60 546.24 180 0 0 tool=1 frame=0 vel=40 acc=40\nread-position\n"
                     "jog joint j1+ rot=5\ndisable\n")
                  .code,
              0);
    kill_recorder();
    expect_clean_dissection(trace, dir.path());
    const struct {
        const char* filter;
        const char* fields;
        const char* expected;
    } cases[] = {
        {"srci.cmd.type == \"MoveLinearAbsolute\"",
         "srci.cmd.x srci.cmd.y srci.cmd.z srci.cmd.vel_rate srci.cmd.tool_no", "580,-60,546.24,4000,1"},
        {"srci.cmd.type == \"MoveAxesAbsolute\"", "srci.cmd.j2 srci.cmd.j5", "10,70"},
        {"srci.cmd.type == \"WriteToolData\"", "srci.cmd.z srci.cmd.tool_no", "100,1"},
        {"srci.cmd.type == \"GroupJog\" && srci.cmd.enable",
         "srci.cmd.jog_mode srci.cmd.inc_rotation srci.cmd.jog_directions", "2,5,X/J1+"},
        {"srci.rsp.cmd_type == \"MoveLinearAbsolute\" && srci.rsp.state == 10", "srci.rsp.progress", "10000"},
        {"srci.rsp.cmd_type == \"ReadActualPosition\"", "srci.rsp.x srci.rsp.z", "580,546.2"},
        {"srci.rsp.cmd_type == \"EnableRobot\" && srci.rsp.enabled", "srci.rsp.state", "4"},
        {"srci.telegram_state == 255", "srci.status.operation_mode", "4"},
        {"srci.rsp.cmd_type == \"ReadRobotData\"", "srci.rsp.robot_id", "SRL_InterpRob"},
    };
    for (const auto& c : cases) EXPECT_TRUE(any_contains(fields(c.filter, c.fields), c.expected)) << c.filter;

    const std::string text = trace_text();
    for (const char* want :
         {"connection connected", "link       TelegramState 255 INITIALIZED", "MoveLinearAbsolute vel=40.00%",
          "x=580.000 y=-60.000 z=546.240", "MoveLinearAbsolute Done", "GroupJog Active enabled=1"})
        EXPECT_NE(text.find(want), std::string::npos) << want << "\n" << text;
}

// Two work-area records do not fit one sequence area together: the client sends the second in two
// parts, and the dissector and srci-plc trace must show it whole.
TEST_F(TraceCapture, AFragmentedCommandIsReassembled) {
    startServer();
    {
        srci_plc::TcpTransport link("127.0.0.1", static_cast<uint16_t>(std::stoi(port)), 5000);
        srci_plc::ClientOptions options;
        options.cycle_ms = 0;
        srci_plc::Client client(link, options);
        client.connect();
        const srci_plc::CommandDef& write = command("write-workarea");
        const uint16_t first = client.submit(write, {{"area", 1}, {"radius", 10}});
        const uint16_t second = client.submit(write, {{"area", 2}, {"radius", 20}});
        client.wait(first, srci_plc::WaitFor::Final, 10000);
        client.wait(second, srci_plc::WaitFor::Final, 10000);
    }
    kill_recorder();
    expect_clean_dissection(trace, dir.path());
    EXPECT_TRUE(any_contains(fields("srci.reassembled.fragments == 2",
                                    "srci.cmd.type srci.cmd.work_area_no srci.cmd.radius srci.reassembled.length"),
                             "WriteWorkArea,2,20,154"));
    EXPECT_TRUE(fields("srci.expert.pointer", "frame.number").empty()) << "the second part continues the first";
    const std::string text = trace_text();
    EXPECT_NE(text.find("WriteWorkArea area=2"), std::string::npos) << text;
}

TEST_F(TraceCapture, ALostLifesignShowsAsTelegramState165AndTheReset) {
    startServer();
    ASSERT_EQ(script("reset\nenable\n").code, 0);  // then the client is gone: the lifesign stops
    std::this_thread::sleep_for(std::chrono::seconds(3));
    ASSERT_EQ(plc({"status"}).code, 0);
    kill_recorder();
    expect_clean_dissection(trace, dir.path());
    EXPECT_FALSE(fields("srci.telegram_state == 165 && srci.expert.telegram_state", "frame.number").empty());
    const std::string text = trace_text();
    const size_t lost = text.find("TelegramState 165 CLIENT_LIFESIGN_TIMEOUT");
    ASSERT_NE(lost, std::string::npos) << text;
    EXPECT_NE(text.find("PLC requests RESET", lost), std::string::npos) << text;
}

// pnio-sim only moves 256-byte telegrams, but Wireshark users also open captures of other
// gateways: telegrams of any length and content, some with a plausible header so that the
// dissector gets deep into them, must decode without a Lua error or an exception.
TEST(TraceRobustness, TelegramsOfAnyLengthNeverBreakTheDissector) {
    TempDir dir;
    std::vector<uint8_t> file;
    pnio_sim::trace::append_section_header(file, "test");
    pnio_sim::trace::append_interface(file);
    std::mt19937 rng(14);
    namespace fmt = srci_plc::trace_format;
    for (uint16_t i = 0; i < 3000; ++i) {
        std::vector<uint8_t> tel(i % 3 == 0 ? 256 : rng() % 300);
        for (auto& b : tel) b = static_cast<uint8_t>(rng());
        if (tel.size() > 12 && rng() % 2) {
            tel[0] = 0x25, tel[8] = static_cast<uint8_t>(rng() % 2), tel[9] = static_cast<uint8_t>(rng() % 3);
            tel[10] = 0, tel[11] = static_cast<uint8_t>(rng() % 2 ? 6 : 2);
        }
        const bool from_plc = rng() % 2;
        pnio_sim::trace::append_udp_packet(file, 1'700'000'000'000'000 + i, from_plc ? fmt::kPlcPort : fmt::kRobotPort,
                                           from_plc ? fmt::kRobotPort : fmt::kPlcPort, tel.data(), tel.size(), i);
    }
    const std::string path = dir.file("random.pcapng");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<long>(file.size()));
    expect_clean_dissection(path, dir.path());
}

// One telegram pair per case, built by hand: each expert item fires on what it is meant to catch
// and stays silent on a clean pair.
TEST(TraceExperts, EachExpertItemMarksWhatItIsMeantToCatch) {
    namespace fmt = srci_plc::trace_format;
    // SEQ 9 with one new command of `cmd_type`; the header's P->R length as the case needs.
    const auto plc = [](uint16_t cmd_type, uint16_t length) {
        auto bytes = telegram_pairs::plc(9, {telegram_pairs::command(1, cmd_type)}, 0, 3);
        srci_plc::put_u16be(&bytes[2], length);
        return bytes;
    };
    // Robot answer to SEQ 9: one fragment for CmdID 1 with State/severity/code.
    const auto robot = [](uint8_t state, uint8_t severity, uint16_t code, uint16_t seq_len, uint16_t frag_len,
                          uint8_t footer) {
        std::vector<uint8_t> r(256, 0);
        r[0] = 0x25, r[1] = 0x10, r[3] = 255, r[255] = footer;
        srci_plc::put_u16be(&r[10], 9);
        srci_plc::put_u16be(&r[12], seq_len);
        srci_plc::put_u16be(&r[14], 1);
        r[17] = 0x05;
        srci_plc::put_u16be(&r[20], frag_len);
        r[22] = static_cast<uint8_t>(0x10 | state), r[23] = severity;
        srci_plc::put_u16be(&r[24], code);
        return r;
    };
    const char* kAll =
        "srci.expert.unknown_cmd || srci.expert.error_severity || srci.expert.lifesign_mismatch || "
        "srci.expert.overrun || srci.expert.length";
    const struct {
        const char* what;
        std::vector<uint8_t> p2r, r2p;
        const char* filter;
        bool fires;
    } cases[] = {
        {"clean pair", plc(1001, 256), robot(10, 0, 0, 12, 4, 0x10), kAll, false},
        {"Error with severity 20", plc(1001, 256), robot(15, 20, 0x8F11, 12, 4, 0x10), "srci.expert.error_severity",
         true},
        {"Error without code", plc(1001, 256), robot(15, 28, 0, 12, 4, 0x10), "srci.expert.error_severity", true},
        {"proper Error", plc(1001, 256), robot(15, 28, 0x8F11, 12, 4, 0x10), "srci.expert.error_severity", false},
        {"unknown CmdType", plc(4242, 256), robot(10, 0, 0, 12, 4, 0x10), "srci.expert.unknown_cmd", true},
        {"torn robot telegram", plc(1001, 256), robot(10, 0, 0, 12, 4, 0x20), "srci.expert.lifesign_mismatch", true},
        {"fragment overrun", plc(1001, 256), robot(10, 0, 0, 12, 50, 0x10), "srci.expert.overrun", true},
        {"sequence beyond telegram", plc(1001, 256), robot(10, 0, 0, 300, 4, 0x10), "srci.expert.length", true},
        {"header length wrong", plc(1001, 200), robot(10, 0, 0, 12, 4, 0x10), "srci.expert.length", true},
    };
    TempDir dir;
    for (const auto& c : cases) {
        std::vector<uint8_t> file;
        pnio_sim::trace::append_section_header(file, "test");
        pnio_sim::trace::append_interface(file);
        pnio_sim::trace::append_udp_packet(file, 1, fmt::kPlcPort, fmt::kRobotPort, c.p2r.data(), c.p2r.size(), 1);
        pnio_sim::trace::append_udp_packet(file, 2, fmt::kRobotPort, fmt::kPlcPort, c.r2p.data(), c.r2p.size(), 2);
        const std::string path = dir.file("case.pcapng");
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(file.data()), static_cast<long>(file.size()));
        const Outcome r = tshark(path, std::string("-Y '") + c.filter + "' -T fields -e frame.number", dir.path());
        EXPECT_EQ(r.code, 0) << c.what << ": " << r.err;
        EXPECT_EQ(!lines(r.out).empty(), c.fires) << c.what;
    }
}

TEST(TraceGolden, TheShortCaptureDissectsToItsGoldenText) {
    TempDir dir;
    const Outcome r = tshark(TRACE_DATA_DIR "/short.pcapng", "-V -O srci", dir.path());
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(without_root_warning(r.err), "");
    // Regenerate after a deliberate change: TZ=UTC tshark -n -r short.pcapng -X lua_script:srci.lua -V -O srci
    EXPECT_EQ(r.out, readFile(TRACE_DATA_DIR "/short.tshark-V.txt"));
}

}  // namespace
