// SPDX-License-Identifier: Apache-2.0
// What srci-plc accepts on its command line and how it explains robot codes:
// nothing that would move the robot with values the user did not give.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "command_runner.hpp"
#include "plc_test.hpp"
#include "result_printer.hpp"
#include "script.hpp"
#include "srci_plc/client.hpp"
#include "srci_plc/error_names.hpp"
#include "srci_plc/transport.hpp"

using namespace srci_plc;
using namespace srci_plc::cli;

namespace {

std::string usage_error(const std::string& text) {
    try {
        validate_command(line(text));
    } catch (const UsageError& e) {
        return e.what();
    }
    return "accepted";
}

}  // namespace

TEST(CliValues, MissingExtraOrRefusedValuesAreCaughtAndNamed) {
    const struct {
        const char* line;
        const char* says;  // "": some error
    } cases[] = {
        {"move-axes", "missing J1 J2 J3 J4 J5 J6"},
        {"move-axes 1 2 3", "missing J4 J5 J6"},
        {"move-axes 1 2 3 4 5 6 7", "7 values given, at most 6"},
        {"move-linear 400 0 500 180 0", "missing RZ"},
        {"move-direct 400 vel=20", "missing Y Z RX RY RZ"},
        {"write-tool 1 0 0 100", "missing RX RY RZ"},
        {"write-frame 2", "missing X Y Z RX RY RZ"},
        {"write-load 1", "missing MASS"},
        {"write-load 1 2 3", "missing Y Z"},
        {"jog joint", "missing AXIS"},
        {"fk 0 0", "missing J3 J4 J5 J6"},
        {"override", "missing PCT"},
        {"read-tool", "missing TOOL"},
        {"move-axes 0 vel=200", ""},        // rate above 100 %
        {"move-axes 0 vel=20 vel=30", ""},  // twice
        {"move-axes zero", ""},             // not a number
        {"read-tool 300", ""},              // USINT overflow
        {"jog sideways x+", ""},            // bad mode
        {"jog frame q+", ""},               // bad axis
        {"sleep -5", ""},                   // negative
        {"run other.srci", ""},             // nested script
        {"read-messages", ""},              // owned by the session
        {"teleport 1 2 3", ""},             // unknown
        {"stop now", ""},
        // values by name, as answer lines print them
        {"write-tool 1 x=0 y=0 z=100", "missing RX RY RZ"},
        {"move-axes j1=0 j2=0 j4=0 j5=0 j6=0", "missing J3 J4 J5 J6"},
        {"write-tool 1 0 x=5 y=0 z=0 rx=0 ry=0 rz=0", "x given twice"},
        {"write-tool tool=1 x=0 y=0 z=100 rx=0 ry=0 rz=0", "accepted"},
        {"override override=150", "override must be 0..100"},
        {"sleep ms=100", "accepted"},
        {"sleep ms=-1", "sleep must be 0..3600000 ms"},
        {"sleep 100 ms=100", "sleep takes MS only"},
        {"move-axes 1 2\x01 3 4 5 6", "'2\\x01': control character in the command"},  // a damaged script
        {"move-axes 0 -30 90 0 60 0 vel=20", "accepted"},
        {"move-axes 0 -30 90 0 60 0 vel=20 --no-wait # comment", "accepted"},
        {"jog joint j1+ rot=5", "accepted"},
        {"sleep 100", "accepted"},
        {"write-load 1 2", "accepted"},
        {"write-load 1 2 0 0 50", "accepted"},
        {"write-dynamics 100 100", "accepted"},
        // values the robot would refuse are caught before sending
        {"override -1", "override must be 0..100"},
        {"override 100.5", "override must be 0..100"},
        {"jog frame z+ inc=-10", "inc must be 0 (continuous) or a positive"},
        {"jog joint j2- rot=-5", "rot must be 0 (continuous) or a positive"},
        {"jog frame x+ override=150", "override must be 0..100"},
        {"override 0", "accepted"},
        {"jog frame z+ inc=0", "accepted"},
    };
    for (const auto& c : cases) {
        const std::string error = usage_error(c.line);
        if (*c.says == '\0') EXPECT_NE(error, "accepted") << c.line;
        else EXPECT_NE(error.find(c.says), std::string::npos) << c.line << " -> '" << error << "'";
    }
    EXPECT_TRUE(split_script_line("   # only a comment").empty());
}

TEST(CliOptions, OptionsBeforeOrAfterTheCommandPerCommandHelpAndVersion) {
    const GlobalOptions o = parse({"--port", "5001", "--json", "move-axes", "0", "-30", "vel=20"});
    EXPECT_EQ(o.port, 5001);
    EXPECT_TRUE(o.json);
    EXPECT_EQ(o.command, (std::vector<std::string>{"move-axes", "0", "-30", "vel=20"}));
    const GlobalOptions late = parse({"move-axes", "0", "-30", "90", "-.5", "60", "0", "--json", "--port", "5001"});
    EXPECT_TRUE(late.json);
    EXPECT_EQ(late.port, 5001);
    EXPECT_EQ(late.command, (std::vector<std::string>{"move-axes", "0", "-30", "90", "-0.5", "60", "0"}));
    EXPECT_EQ(parse({"move-linear", "1", "2", "3", "4", "5", "6", "--no-wait"}).command.back(), "--no-wait");

    const struct {
        std::vector<const char*> args;
        const char* contains;
    } help[] = {
        {{"move-axes", "--help"}, "J1 J2 J3 J4 J5 J6"},
        {{"help", "jog"}, "DistanceReached"},
        {{"--help"}, "write-default-dynamics"},
        {{"--version"}, "srci-plc 1."},
    };
    for (const auto& h : help) {
        const GlobalOptions g = parse(h.args);
        EXPECT_TRUE(g.help) << h.args[0];
        EXPECT_NE(g.help_text.find(h.contains), std::string::npos) << h.args[0] << ":\n" << g.help_text;
    }
    const std::vector<const char*> refused[] = {
        {"--port", "70000", "status"}, {"--port"}, {"--timeout", "abc", "status"},
        {"--frobnicate", "status"},    {},         {"help", "teleport"},
        {"status", "--port", "0"},
    };
    for (const auto& args : refused) EXPECT_THROW(parse(args), UsageError) << (args.empty() ? "" : args[0]);
}

// Scripts written on a PLC programmer's laptop: a byte order mark, Windows line ends, comments.
TEST(CliScript, TakesEditorFilesAsMeantAndNamesTheLineItRefuses) {
    const auto script =
        parse_script("\xEF\xBB\xBFstatus\r\n# a comment\r\n\r\nmove-axes 1 2 3 4 5 6 vel=20\r\n", "t.srci");
    ASSERT_EQ(script.size(), 2u);
    EXPECT_EQ(script[0].command.name, "status");
    EXPECT_EQ(script[1].where, "t.srci:4");
    EXPECT_EQ(script[1].command.positional.size(), 6u);
    const struct {
        std::string text;
        const char* says;
    } refused[] = {
        {"status\nmove-axes 1 2\n", "t.srci:2: move-axes J1 J2 J3 J4 J5 J6: missing J3 J4 J5 J6"},
        {"# nothing\n\n", "t.srci: no commands"},
        {std::string(kMaxScriptBytes + 1, '#'), "t.srci: script larger than 1 MiB"},
    };
    for (const auto& r : refused) EXPECT_EQ(error_of<UsageError>([&] { parse_script(r.text, "t.srci"); }), r.says);
    // A file that never ends is refused, not read for ever.
    EXPECT_EQ(error_of<UsageError>([] { load_script("/dev/zero"); }), "/dev/zero: script larger than 1 MiB");
    EXPECT_EQ(error_of<UsageError>([] { load_script("/nonexistent/t.srci"); }),
              "cannot open script /nonexistent/t.srci");
}

TEST(ErrorCodes, NamesMeaningsAndHintsForTypicalCauses) {
    const struct {
        uint32_t code;
        const char* says;
    } cases[] = {
        {0x0075, "0x0075 err_pstop_estop: protective or emergency stop active (release the emergency stop"},
        {0x0021, "err_move_joint: controller refused the joint move (target outside the software limits"},
        {0x0030, "err_disable_when_moving: the robot was disabled while it moved, and the motion was dropped"},
        {0x8C13, "write frame reference invalid (reference=0 (world) or a frame that refers to the world"},
        {0x10002, "0x10002 err_ini_no_section: section missing in srci.ini"},
        {0x8D10, "ERR_CMD_SPECIFIC_INVALID_PARAMETER_INCREMENTAL_TRANSLATION: invalid parameter: incremental"},
        {0x6F02, "robot not enabled (run `srci-plc enable`)"},
        {0x1234, "0x1234: code unknown to this client"},
    };
    for (const auto& c : cases)
        EXPECT_NE(describe_error_code(c.code).find(c.says), std::string::npos) << describe_error_code(c.code);
}

// Every code the adapter can report, read from its own list, has a name here.
TEST(ErrorCodes, EveryCodeOfTheAdapterIsKnown) {
    std::ifstream in(SRCI_ERRCODE_HEADER);
    ASSERT_TRUE(in) << SRCI_ERRCODE_HEADER;
    std::stringstream text;
    text << in.rdbuf();
    const std::string s = text.str();
    const std::regex entry(R"((\w+) = (0x[0-9A-Fa-f]+)[,;])");
    int checked = 0;
    for (std::sregex_iterator it(s.begin(), s.end(), entry), end; it != end; ++it) {
        const std::string name = (*it)[1];
        if (name == "ERR_CMD_NONE") continue;
        const auto code = static_cast<uint32_t>(std::stoul((*it)[2], nullptr, 16));
        EXPECT_NE(error_code_name(code), nullptr) << name;
        ++checked;
    }
    EXPECT_GT(checked, 200);
}

namespace {

// What pnio-sim answers while no adapter runs: its empty image.
class EmptyGateway : public Transport {
public:
    void exchange(const std::vector<uint8_t>&, std::vector<uint8_t>& rx) override {
        std::fill(rx.begin(), rx.end(), 0);
    }
};

}  // namespace

TEST(CliStartup, SaysWhatIsMissingAndReportsEverySecondWhileWaiting) {
    EmptyGateway gateway;
    ClientOptions o;
    o.cycle_ms = 1;
    o.step_timeout_ms = 2200;
    std::vector<std::string> waits;
    o.on_startup_wait = [&](const std::string& what, double) { waits.push_back(what); };
    Client client(gateway, o);
    const std::string error = error_of<ClientError>([&] { client.connect(); });
    EXPECT_NE(error.find("no robot adapter does"), std::string::npos) << error;
    EXPECT_NE(error.find("start srci_server"), std::string::npos) << error;
    ASSERT_GE(waits.size(), 1u);  // once a second, never more often
    EXPECT_LE(waits.size(), 2u);
    EXPECT_EQ(waits[0], "waiting for the robot adapter (no lifesign yet)");

    // Port 1 needs root to listen on and nothing does.
    EXPECT_EQ(error_of<TransportError>([] { TcpTransport t("127.0.0.1", 1, 100); }),
              "nothing listens on 127.0.0.1:1: start pnio-sim");
}
