// SPDX-License-Identifier: Apache-2.0
// srci-plc command lines, scripts and their execution on a scripted robot.
#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "command_runner.hpp"
#include "fake_robot_peer.hpp"
#include "plc_test.hpp"
#include "result_printer.hpp"

using namespace srci_plc;
using namespace srci_plc::cli;

// Robot texts need not be valid UTF-8 nor free of quotes; a REAL may be NaN, which JSON cannot carry.
TEST(CliOutput, JsonEscapesTextAndNamesErrorCodes) {
    Outcome o;
    o.command = "read-tool";
    o.cmd_type = 5107;
    o.has_result = true;
    o.result.answered = true;
    o.result.cmd_id = 4;
    o.result.header.state = cmd_state::kError;
    o.result.header.severity = 28;
    o.result.header.code = 0x8F11;
    o.info.push_back(DecodedField{"text", FieldType::Chars, std::string("say \"hi\"\n")});
    o.info.push_back(DecodedField{"manufacturer", FieldType::Chars, std::string("Robo\xC0\xFF caf\xE9")});
    o.info.push_back(DecodedField{"x", FieldType::F32, std::numeric_limits<double>::quiet_NaN()});
    o.info.push_back(DecodedField{"y", FieldType::F32, 2.5});
    o.ok = false;
    const auto j = nlohmann::json::parse(format_json(o));  // throws on invalid UTF-8 or escaping
    EXPECT_TRUE(j["data"]["x"].is_null()) << j;
    EXPECT_EQ(j["data"]["y"], 2.5);
    EXPECT_EQ(j["data"]["text"], "say \"hi\"\n");
    EXPECT_EQ(j["data"]["manufacturer"].get<std::string>().substr(0, 4), "Robo");
    EXPECT_EQ(j["code_name"], "ERR_CMD_NOT_IMPLEMENTED");
    EXPECT_EQ(j["ok"], false);
    const std::string t = format_text(o);
    EXPECT_NE(t.find("Error 0x8F11 ERR_CMD_NOT_IMPLEMENTED (error)"), std::string::npos) << t;

    RobotMessage m;
    m.msg_id = 3;
    m.severity = 28;
    m.error_code = 0x0075;
    m.text = "E-Stop \xB0";
    EXPECT_EQ(nlohmann::json::parse(format_message_json(m))["code_name"], "err_pstop_estop");
}

// A read that failed answers with a zeroed record: those zeroes are not the robot's values. A
// failed move's progress is.
TEST(CliOutput, AFailedInstantCommandShowsNoRecordAFailedMoveShowsItsProgress) {
    const struct {
        const char* command;
        uint16_t cmd_type;
        uint8_t state;
        bool shown;
    } rows[] = {
        {"read-tool", cmd_type::kReadToolData, cmd_state::kError, false},
        {"read-tool", cmd_type::kReadToolData, cmd_state::kDone, true},
        {"move-linear", cmd_type::kMoveLinearAbsolute, cmd_state::kError, true},
    };
    for (const auto& row : rows) {
        Outcome o;
        o.command = row.command;
        o.cmd_type = row.cmd_type;
        o.has_result = o.result.answered = true;
        o.result.header.state = row.state;
        o.result.data.push_back(DecodedField{"x", FieldType::F32, 0.0});
        EXPECT_EQ(format_text(o).find(" x=0.000") != std::string::npos, row.shown) << format_text(o);
        EXPECT_EQ(nlohmann::json::parse(format_json(o))["data"].contains("x"), row.shown) << format_json(o);
    }
}

class RunnerTest : public ::testing::Test {
protected:
    void SetUp() override {
        peer.on_command = [this](FakeRobotPeer& p, const ReceivedCommand& c) { robot(p, c); };
        ClientOptions o;
        o.cycle_ms = 0;
        o.interrupted = [this] { return interrupt_after > 0 && --interrupt_after == 0; };
        client = std::make_unique<Client>(peer, o);
        client->connect();
        runner = std::make_unique<CommandRunner>(*client, 5000, false, Client::Progress{});
        forced = std::make_unique<CommandRunner>(*client, 5000, true, Client::Progress{});  // unannounced too
    }

    // A robot that enables, jogs by increments and finishes moves at once.
    void robot(FakeRobotPeer& p, const ReceivedCommand& c) {
        const auto& b = c.payload;
        payloads.push_back(b);
        switch (c.cmd_type()) {
            case 1000: {
                const bool on = b.size() > 4 && (b[4] & 1);
                if (on && latched) {  // stays Active, not enabled, and says nothing
                    p.respond(c.cmd_id, 4, c.par_seq(), {0});
                    break;
                }
                if (on && estop) {  // stays Active, not enabled, and says why in a message
                    p.respond(c.cmd_id, 4, c.par_seq(), {0});
                    std::vector<uint8_t> msg(40, 0);
                    msg[0] = 9;      // MsgID
                    msg[1] = 0x01;   // Enabled
                    msg[11] = 28;    // severity error
                    msg[15] = 0x75;  // code 0x00000075
                    p.respond(1, 4, 1, msg);
                    break;
                }
                p.respond(c.cmd_id, on ? 4 : 10, c.par_seq(), {static_cast<uint8_t>(on)});
                break;
            }
            case 2100: {
                const bool on = b[4] & 1;
                const bool dir = b[20] | b[21] | b[22];
                jog_directions.push_back(static_cast<uint8_t>(b[20] | b[21] | b[22]));
                p.respond(c.cmd_id, on ? 4 : 10, c.par_seq(), {static_cast<uint8_t>((on ? 1 : 0) | (dir ? 2 : 0))});
                break;
            }
            case 2101:  // held moves report 42 % done
                p.respond(c.cmd_id, hold_moves ? 4 : 10, c.par_seq(),
                          hold_moves ? std::vector<uint8_t>{1, 0, 0, 0, 0x10, 0x68} : std::vector<uint8_t>(6, 0));
                if (hold_moves) held.push_back(c.cmd_id);
                break;
            case 2003:  // aborts the held moves, then Done
                stops.push_back(c.cmd_id);
                for (uint16_t id : held) p.respond(id, 14, 1, std::vector<uint8_t>(6, 0));
                held.clear();
                p.respond(c.cmd_id, 10, c.par_seq(), {0});
                break;
            case 5205:  // WriteToolData
                p.respond(c.cmd_id, 10, c.par_seq(), {});
                break;
            case 9000:
                answer_startup(p, c);
                configs.push_back(c);
                break;
            default:
                answer_startup(p, c);
                break;
        }
    }

    FakeRobotPeer peer;
    std::unique_ptr<Client> client;
    std::unique_ptr<CommandRunner> runner, forced;
    bool estop = false;
    bool latched = false;
    bool hold_moves = false;   // moves stay Active
    int interrupt_after = -1;  // Ctrl-C after this many polls
    std::vector<uint16_t> stops, held;
    std::vector<uint8_t> jog_directions;
    std::vector<ReceivedCommand> configs;
    std::vector<std::vector<uint8_t>> payloads;  // every command the robot received
};

TEST_F(RunnerTest, EnableThenDisableUpdatesTheSameCommand) {
    const Outcome on = runner->run(line("enable"));
    EXPECT_TRUE(on.ok) << format_text(on);
    EXPECT_TRUE(on.result.enabled);
    const Outcome off = runner->run(line("disable"));
    EXPECT_TRUE(off.ok) << format_text(off);
    EXPECT_EQ(off.result.cmd_id, on.result.cmd_id);
    EXPECT_EQ(off.result.header.state, cmd_state::kDone);
    EXPECT_EQ(off.result.header.par_seq, 2);
}

TEST_F(RunnerTest, IncrementalJogWaitsForDistanceReachedThenReleases) {
    EXPECT_FALSE(runner->run(line("jog joint j3- rot=5")).ok);  // GroupJog not announced
    EXPECT_TRUE(jog_directions.empty());
    const Outcome o = forced->run(line("jog joint j3- rot=5"));
    EXPECT_TRUE(o.ok) << format_text(o);
    ASSERT_EQ(jog_directions.size(), 2u);
    EXPECT_EQ(jog_directions[0], 0x01);  // Z/J3- set
    EXPECT_EQ(jog_directions[1], 0x00);  // released with Enable = 0
    EXPECT_EQ(o.result.header.state, cmd_state::kDone);
}

TEST_F(RunnerTest, MotionWaitDoneAndConfigurationUpdates) {
    // The scripted robot does not announce MoveAxesAbsolute.
    const Outcome refused = runner->run(line("move-axes 1 2 3 4 5 6"));
    EXPECT_FALSE(refused.ok);
    EXPECT_FALSE(refused.has_result);
    EXPECT_TRUE(forced->run(line("move-axes 1 2 3 4 5 6 --no-wait")).ok);
    const Outcome w = forced->run(line("wait-done"));
    EXPECT_TRUE(w.ok) << format_text(w);

    const Outcome cfg = runner->run(line("exchange-config lifesign_timeout=300"));
    EXPECT_TRUE(cfg.ok) << format_text(cfg);
    ASSERT_EQ(configs.size(), 2u);
    EXPECT_EQ((configs[1].payload[10] << 8) | configs[1].payload[11], 300);
    EXPECT_EQ(configs[1].first_action, 0x05);
    EXPECT_EQ(configs[1].par_seq(), 2);
}

// What an answer line prints as sent ("#5 write-tool tool=1 x=0 ... ->") runs again when pasted
// back, and sends the same command.
TEST_F(RunnerTest, APrintedCommandSendsTheSameWhenPastedBack) {
    const struct {
        const char* typed;
        const char* printed;
        std::size_t stamp;  // bytes of the client's date and time after the header, which differ
    } rows[] = {
        {"write-tool 3 0 0 100 0 90 0 load=2", "write-tool tool=3 x=0 y=0 z=100 rx=0 ry=90 rz=0 load=2", 6},
        {"move-axes 1 2 3 4 5 6 vel=20", "move-axes j1=1 j2=2 j3=3 j4=4 j5=5 j6=6 vel=20", 0},
        {"jog joint j3- rot=5", "jog joint j3- rot=5", 0},
        {"jog frame x+ duration=200", "jog frame x+ duration=200", 0},
    };
    const auto sentPart = [](const std::string& text) {
        const std::size_t from = text.find(' ') + 1;
        return text.substr(from, text.find(" ->") - from);
    };
    for (const auto& row : rows) {
        const std::size_t before = payloads.size();
        EXPECT_EQ(sentPart(format_text(forced->run(line(std::string(row.typed) + " --no-wait")))), row.printed);
        const std::size_t between = payloads.size();
        const Outcome again = forced->run(line(std::string(row.printed) + " --no-wait"));
        EXPECT_TRUE(again.ok) << format_text(again);
        EXPECT_EQ(sentPart(format_text(again)), row.printed);
        ASSERT_EQ(payloads.size() - between, between - before) << row.printed;
        for (std::size_t i = 0; i < between - before; ++i) {
            for (std::vector<uint8_t>* p : {&payloads[before + i], &payloads[between + i]})
                std::fill_n(p->begin() + 4, row.stamp, uint8_t{0});
            EXPECT_EQ(payloads[between + i], payloads[before + i]) << row.printed;
        }
    }
    EXPECT_EQ(sentPart(format_text(runner->run(line("disable")))), "disable");
}

// The message of a latched stop may have gone to an earlier connection; the status word still
// shows the pending error, and the timed-out enable says what to do about it.
TEST_F(RunnerTest, EnableThatNeverComesNamesAPendingErrorTheStatusWordShows) {
    latched = true;
    CommandRunner quick(*client, 300, false, Client::Progress{});
    for (const bool pending : {false, true}) {
        peer.status = pending ? 1u << 5 : 0u;
        const Outcome o = quick.run(line("enable"));
        EXPECT_TRUE(o.result.timed_out) << format_text(o);
        EXPECT_EQ(o.note.find("while an error is pending") != std::string::npos, pending) << o.note;
        EXPECT_EQ(o.note.find("srci-plc reset") != std::string::npos, pending) << o.note;
    }
}

TEST_F(RunnerTest, EnableThatCannotSucceedSaysWhyAtTheFirstRefusal) {
    estop = true;
    const Outcome o = runner->run(line("enable"));
    EXPECT_FALSE(o.ok);
    EXPECT_FALSE(o.result.timed_out) << format_text(o);  // not 5 s of "Active"
    EXPECT_NE(o.note.find("robot refused to enable: 0x0075 err_pstop_estop"), std::string::npos) << o.note;
    EXPECT_NE(o.note.find("srci-plc reset"), std::string::npos) << o.note;
}

TEST(CliProgress, ShowsTheRobotsProgressAndDistanceToGo) {
    const struct {
        const char* command;
        uint8_t state;
        std::vector<uint8_t> payload;  // response payload including the 4-byte header
        const char* says;
    } cases[] = {
        {"move-linear",
         cmd_state::kActive,
         {0, 0, 0, 0, 1, 0, 0, 0, 0x10, 0x68, 0x42, 0xF7, 0x00, 0x00},
         "move-linear: Active 42.0%, 123.5 mm to go (2 s)"},
        {"move-axes", cmd_state::kActive, {0, 0, 0, 0, 1, 0, 0, 0, 0x26, 0xAC}, "move-axes: Active 99.0% (2 s)"},
        {"enable", cmd_state::kActive, {0, 0, 0, 0, 0}, "enable: Active, not enabled yet (2 s)"},
    };
    for (const auto& c : cases) {
        AcrEntry e;
        e.def = find_command(c.command);
        e.responses = 1;
        e.last.state = c.state;
        e.last_payload = c.payload;
        EXPECT_EQ(format_progress(e, 2000), std::string("  ... ") + c.says);
    }
}

// A robot that never says why it does not enable gets the usual causes once, then a line every 5 s.
TEST(CliProgress, ARefusedEnableIsExplainedOnceAndThenQuiet) {
    AcrEntry e;
    e.def = find_command("enable");
    e.responses = 1;
    e.last.state = cmd_state::kActive;
    e.last_payload = {0, 0, 0, 0, 0};
    EXPECT_NE(format_progress(e, 1000).find("emergency or protective stop on?"), std::string::npos);
    int printed = 0;
    for (int s = 1; s <= 30; ++s) printed += progress_line_due(e, s * 1000.0) ? 1 : 0;
    EXPECT_EQ(printed, 7);  // 1 s, then 5, 10, ..., 30 s
    e.last_payload[4] = 1;  // enabled: nothing to explain
    EXPECT_TRUE(progress_line_due(e, 7000));
    e.def = find_command("move-axes");
    EXPECT_TRUE(progress_line_due(e, 7000));
}

TEST_F(RunnerTest, InterruptDuringAMoveStopsTheRobotBeforeExiting) {
    hold_moves = true;
    interrupt_after = 20;
    EXPECT_THROW(forced->run(line("move-axes 1 2 3 4 5 6")), InterruptedError);
    const Outcome o = forced->stop_after_interrupt();
    ASSERT_EQ(stops.size(), 1u);
    EXPECT_TRUE(o.ok) << format_text(o);
    EXPECT_EQ(o.note, "interrupted: robot stopped (GroupStop Done)");

    interrupt_after = 5;  // nothing in motion any more: no second GroupStop
    hold_moves = false;
    EXPECT_THROW(runner->run(line("sleep 10000")), InterruptedError);
    EXPECT_EQ(forced->stop_after_interrupt().note, "interrupted; nothing was moving");
    EXPECT_EQ(stops.size(), 1u);
}

TEST_F(RunnerTest, AWaitingMoveShowsTheProgressTheRobotReports) {
    hold_moves = true;
    std::vector<std::string> lines;
    CommandRunner watched(*client, 1500, true,
                          [&](const AcrEntry& e, double ms) { lines.push_back(format_progress(e, ms)); });
    const Outcome o = watched.run(line("move-axes 1 2 3 4 5 6"));
    EXPECT_TRUE(o.result.timed_out);  // the scripted move never ends
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines[0].find("move-axes: Active 42.0%"), std::string::npos) << lines[0];
}
