// SPDX-License-Identifier: Apache-2.0
// The live view's model of the link and its JSON: commands and their state history, messages,
// limits, the joint source and the arm drawing, fed with hand-built telegram pairs.
#include <gtest/gtest.h>

#include <cmath>

#include "pnio_sim/web_arm_channel.hpp"
#include "pnio_sim/web_arm_model.hpp"
#include "pnio_sim/web_link_monitor.hpp"
#include "pnio_sim/web_state_json.hpp"
#include "pnio_sim/web_view.hpp"
#include "srciport/kinematics.h"
#include "telegram_pairs.hpp"

using namespace pnio_sim::web;
using namespace telegram_pairs;
using nlohmann::json;

namespace {

struct Link {
    LinkMonitor m;
    Millis now = 1'000'000;
    uint16_t seq = 0;
    uint16_t ack = 0;

    Link() { m.connection(true, "test client", now); }
    void exchange(const std::vector<uint8_t>& p, const Robot& r) {
        const auto b = r.bytes();
        m.exchange(p.data(), b.data(), 256, now += 4);
    }
    // One exchange; the PLC's fragments travel under a new SEQ, the robot's under a new ACK.
    void step(std::vector<srci_plc::Fragment> out, Robot r = {}) {
        if (!out.empty()) ++seq;
        r.ack = ++ack;
        last_plc = plc(seq, std::move(out), r.tn);
        exchange(last_plc, r);
    }
    // The PLC sends the same telegram again: the robot has not acknowledged it yet.
    void repeat() {
        Robot r;
        r.ack = ack;
        exchange(last_plc, r);
    }
    void answer(std::vector<srci_plc::Fragment> in, uint16_t tn = 0x0006) {
        Robot r;
        r.tn = tn;
        r.fragments = std::move(in);
        step({}, r);
    }
    std::vector<uint8_t> last_plc;
    json commands() const { return slow_json(m.slow()); }
};

std::vector<std::string> history(const json& c) {
    std::vector<std::string> h;
    for (const auto& s : c["history"]) h.push_back(s["state"]);
    return h;
}

}  // namespace

TEST(LiveViewModel, FollowsAMoveFromBufferedToDoneAndKeepsItAsFinished) {
    Link l;
    l.step({command(3, 2101)});
    // The PLC repeats its telegram until acknowledged: one command, however often it is seen.
    l.repeat();
    l.repeat();
    ASSERT_EQ(l.commands()["inFlight"].size(), 1u);
    EXPECT_EQ(l.commands()["inFlight"][0]["name"], "MoveAxesAbsolute");
    EXPECT_EQ(l.commands()["inFlight"][0]["state"], "Sent");
    l.answer({response(3, 2)});
    l.answer({response(3, 4)});
    l.answer({response(3, 4)});  // progress reports repeat the state
    EXPECT_EQ(history(l.commands()["inFlight"][0]), (std::vector<std::string>{"Buffered", "Active"}));
    l.answer({response(3, 10)});
    const json c = l.commands();
    EXPECT_TRUE(c["inFlight"].empty());
    ASSERT_EQ(c["finished"].size(), 1u);
    EXPECT_EQ(c["finished"][0]["state"], "Done");
    EXPECT_EQ(c["finished"][0]["cmdId"], 3);
    EXPECT_EQ(history(c["finished"][0]), (std::vector<std::string>{"Buffered", "Active", "Done"}));
    EXPECT_EQ(c["finished"][0]["note"], "");

    // The PLC reuses the freed CmdID at once while the robot still repeats the old Done under the
    // same ACK: that Done belongs to the old command, not to the new one.
    Robot stale;
    stale.ack = l.ack;
    stale.fragments = {response(3, 10)};
    l.exchange(plc(++l.seq, {command(3, 2103)}), stale);
    ASSERT_EQ(l.commands()["inFlight"].size(), 1u);
    EXPECT_EQ(l.commands()["inFlight"][0]["state"], "Sent");
}

TEST(LiveViewModel, FinalAnswersCarryTheirSeverityAndCodeByName) {
    struct Case {
        uint8_t state;
        int8_t severity;
        uint16_t code;
        const char* state_name;
        const char* severity_name;
        const char* code_name;
    };
    const Case cases[] = {
        {15, 28, 0x8F11, "Error", "error", "ERR_CMD_NOT_IMPLEMENTED"},
        {14, 5, 0x6C05, "Aborted", "info", "INFO_ABORTED_BY_GROUP_STOP"},
        {10, 0, 0, "Done", "none", nullptr},
    };
    for (const Case& k : cases) {
        Link l;
        l.step({command(1, 2103)});
        l.answer({response(1, k.state, k.severity, k.code)});
        const json f = l.commands()["finished"].at(0);
        EXPECT_EQ(f["state"], k.state_name);
        EXPECT_EQ(f["severity"]["name"], k.severity_name);
        EXPECT_EQ(f["code"]["value"], k.code);
        EXPECT_EQ(f["code"]["name"], k.code_name ? json(k.code_name) : json(nullptr)) << k.state_name;
    }
}

TEST(LiveViewModel, ParameterUpdatesReplacementsAndDisconnectsAreTold) {
    Link l;
    l.step({command(2, 2100)});           // GroupJog
    l.step({command(2, 2100, 0x05, 2)});  // Clear + Complete: new direction bits
    json c = l.commands();
    ASSERT_EQ(c["inFlight"].size(), 1u);
    EXPECT_EQ(c["inFlight"][0]["updates"], 1);
    EXPECT_EQ(c["inFlight"][0]["parSeq"], 2);
    l.step({command(2, 1001)});  // Reset: a new command under the same CmdID
    c = l.commands();
    ASSERT_EQ(c["finished"].size(), 1u);
    EXPECT_EQ(c["finished"][0]["name"], "GroupJog");
    EXPECT_NE(c["finished"][0]["note"].get<std::string>().find("replaced"), std::string::npos);
    EXPECT_EQ(c["inFlight"][0]["name"], "GroupReset");
    l.m.connection(false, "client disconnected", l.now);
    c = l.commands();
    EXPECT_TRUE(c["inFlight"].empty());
    EXPECT_EQ(c["finished"][0]["name"], "GroupReset");
    EXPECT_NE(c["finished"][0]["note"].get<std::string>().find("left"), std::string::npos);
}

TEST(LiveViewModel, KeepsTheLastFiftyFinishedNewestFirst) {
    Link l;
    for (uint16_t i = 0; i < 60; ++i) {
        l.step({command(1, i % 2 ? 5100 : 2101)});
        l.answer({response(1, 10)});
    }
    const json f = l.commands()["finished"];
    ASSERT_EQ(f.size(), kFinishedKept);
    EXPECT_EQ(f[0]["name"], "ReadActualPosition");  // the 60th
    EXPECT_GT(f[0]["finished"].get<Millis>(), f[1]["finished"].get<Millis>());
}

TEST(LiveViewModel, RobotMessagesAreListedOncePerMessageId) {
    Link l;
    l.step({command(1, 9001)});
    std::vector<uint8_t> body(166, 0);
    body[0] = 7;    // MsgID
    body[1] = 1;    // Enabled
    body[10] = 3;   // RA
    body[11] = 28;  // error
    body[12 + 2] = 0x8C;
    body[12 + 3] = 0x03;  // code 0x8C03 (DWORD, big-endian)
    std::memcpy(&body[16], "drive fault", 11);
    l.answer({response(1, 4, 0, 0, body)}, 0);  // without cyclic blocks, as a full message needs the room
    l.answer({response(1, 4, 0, 0, body)}, 0);  // the same message again until acknowledged
    const json m = l.commands()["messages"];
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(m[0]["msgId"], 7);
    EXPECT_EQ(m[0]["type"], "RA");
    EXPECT_EQ(m[0]["severity"]["name"], "error");
    EXPECT_EQ(m[0]["code"]["hex"], "0x8C03");
    EXPECT_EQ(m[0]["text"], "drive fault");
    EXPECT_EQ(l.commands()["inFlight"][0]["state"], "Active");
}

TEST(LiveViewModel, DecodesEitherPlacementOfToolAndFrameAndTheRobotsLatchedLayout) {
    Link l;
    // A first client initialises with the Cartesian and joint blocks; the robot latches that layout.
    srci_plc::PlcTelegram init;
    init.control = srci_plc::Control::Initialize;
    Robot r;
    r.state = 254;
    l.exchange(srci_plc::encode_plc_telegram(init), r);
    r.state = 255;
    l.exchange(srci_plc::encode_plc_telegram(init), r);
    // The next client sends bytes 18-19 without asking for the Cartesian block and wants joints only;
    // the robot answers in its latched layout until it initialises again.
    srci_plc::PlcTelegram t;
    t.seq = 1;
    t.tn_rob_to_plc = 0x0004;
    t.tool_frame_always = true;
    t.fragments = {command(4, 1000)};
    r.state = 254;
    r.joints = {12.5f, 0, 0, 0, 0, 0};
    l.exchange(srci_plc::encode_plc_telegram(t), r);
    EXPECT_EQ(l.m.link().decode_errors, 0u) << l.m.link().last_decode_error;
    ASSERT_EQ(l.commands()["inFlight"].size(), 1u);
    EXPECT_EQ(l.commands()["inFlight"][0]["name"], "EnableRobot");
    ASSERT_TRUE(l.m.cyclic().joints);
    EXPECT_FLOAT_EQ((*l.m.cyclic().joints)[0], 12.5f);
}

TEST(LiveViewModel, MalformedTelegramsAreCountedNotTrusted) {
    Link l;
    auto p = plc(1, {command(1, 2101)});
    be16(p, 22, 240);  // sequence payload length beyond the telegram
    l.exchange(p, Robot{});
    EXPECT_EQ(l.m.link().decode_errors, 1u);
    EXPECT_TRUE(l.commands()["inFlight"].empty());
    std::vector<uint8_t> junk(256);
    for (size_t i = 0; i < junk.size(); ++i) junk[i] = static_cast<uint8_t>(i * 151 + 7);
    for (int i = 0; i < 50; ++i) l.m.exchange(junk.data(), junk.data(), 256, l.now += 4);
    EXPECT_GT(l.m.link().decode_errors, 1u);
}

TEST(LiveViewJson, LinkShowsStateByNameLifesignsAndStatusFlags) {
    Link l;
    Robot r;
    r.status = 0x1181 | 0x20;  // moving, enabled, error pending, executing, auto-ext
    r.override_raw = 5000;
    l.step({}, r);
    json j = link_json(l.m.link(), l.now);
    EXPECT_EQ(j["telegramState"]["name"], "INITIALIZED");
    EXPECT_TRUE(j["lifesign"]["robot"]["alive"]);
    EXPECT_TRUE(j["status"]["enabled"]);
    EXPECT_TRUE(j["status"]["moving"]);
    EXPECT_TRUE(j["status"]["errorPending"]);
    EXPECT_FALSE(j["status"]["paused"]);
    EXPECT_EQ(j["status"]["sequence"], "executing");
    EXPECT_EQ(j["status"]["operationMode"], "auto-ext");
    EXPECT_DOUBLE_EQ(j["override"].get<double>(), 50.0);
    // Nothing changed for longer than the alive window: both lifesigns stand still.
    j = link_json(l.m.link(), l.now + kLifesignAliveMs + 1);
    EXPECT_FALSE(j["lifesign"]["plc"]["alive"]);
    EXPECT_FALSE(j["lifesign"]["robot"]["alive"]);
}

TEST(LiveViewJson, NamesTheSourceOfJointsAndPose) {
    CyclicRobot cyclic;
    cyclic.joints = std::array<float, 6>{10, 20, 30, 40, 50, 60};
    ArmSample arm;
    arm.path = "/tmp/x/srciport.sock";
    arm.joints = std::array<double, 6>{1, 2, 3, 4, 5, 6};
    arm.pose = std::array<double, 6>{500, 0, 600, 180, 0, 0};
    arm.tool = 2;
    arm.frame = 3;
    arm.at = 5000;
    struct Case {
        bool cyclic_joints;
        bool arm_configured;
        Millis now;
        const char* source;  // nullptr: no joints
        double j1;
    };
    const Case cases[] = {
        {true, true, 5000, "cyclic JointPosition block", 10},
        {false, true, 5000, "arm control channel /tmp/x/srciport.sock", 1},
        {false, true, 5000 + kArmSampleMaxAgeMs + 1, nullptr, 0},  // a stale sample is not the pose
        {false, false, 5000, nullptr, 0},
    };
    for (const Case& k : cases) {
        CyclicRobot c = cyclic;
        if (!k.cyclic_joints) c.joints.reset();
        ArmSample a = arm;
        if (!k.arm_configured) a.path.clear();
        const json j = robot_json(c, a, nullptr, k.now);
        if (!k.source) {
            EXPECT_TRUE(j["joints"].is_null());
            EXPECT_TRUE(j["chain"].is_null());
            EXPECT_FALSE(j["jointMissing"].get<std::string>().empty());
            continue;
        }
        EXPECT_EQ(j["jointSource"], k.source);
        EXPECT_DOUBLE_EQ(j["joints"][0].get<double>(), k.j1);
        EXPECT_EQ(j["chain"].size(), 7u);
    }
    const json j = robot_json({}, arm, nullptr, 5000);
    EXPECT_EQ(j["tool"], 2);
    EXPECT_EQ(j["frame"], 3);
    EXPECT_DOUBLE_EQ(j["tcp"][2].get<double>(), 600);
}

TEST(LiveViewJson, LimitsComeFromThePlcOnceItReadThem) {
    Link l;
    json r = robot_json({}, {}, &l.m.slow(), l.now);
    EXPECT_EQ(r["limitSource"], "simulated arm defaults");
    EXPECT_DOUBLE_EQ(r["limits"][0]["soft"][1].get<double>(), 165);
    EXPECT_DOUBLE_EQ(r["limits"][0]["hard"][1].get<double>(), 170);
    l.step({command(5, 5106)});
    std::vector<uint8_t> body(103, 0);  // ReadRobotSWLimits answer after its header
    be_float(body, 10 - 4, -100.f);     // min J1
    be_float(body, 38 - 4 + 4, 77.f);   // max J2
    l.answer({response(5, 10, 0, 0, body)});
    r = robot_json({}, {}, &l.m.slow(), l.now);
    EXPECT_EQ(r["limitSource"], "read by the PLC");
    EXPECT_DOUBLE_EQ(r["limits"][0]["soft"][0].get<double>(), -100);
    EXPECT_DOUBLE_EQ(r["limits"][1]["soft"][1].get<double>(), 77);
}

TEST(LiveViewArm, TheDrawnChainEndsAtTheArmsFlange) {
    const JointValues poses[] = {{0, 0, 0, 0, 0, 0}, {30, -20, 45, 10, 60, -90}, {-120, 80, -100, 170, -110, 400}};
    srciport::Kinematics k;
    for (const JointValues& q : poses) {
        const auto chain = link_chain(q);
        const srciport::Transform flange = k.forward(q);
        EXPECT_NEAR(chain[6][0], flange.pos.x, 1e-6);
        EXPECT_NEAR(chain[6][1], flange.pos.y, 1e-6);
        EXPECT_NEAR(chain[6][2], flange.pos.z, 1e-6);
        EXPECT_NEAR(chain[1][2], 400, 1e-9) << "the shoulder sits on the base column";
    }
}

TEST(LiveViewOptions, WebAddressIsLoopbackUnlessGiven) {
    struct Case {
        const char* text;
        bool ok;
        const char* host;
        uint16_t port;
    };
    const Case cases[] = {
        {"8080", true, "127.0.0.1", 8080},
        {"0.0.0.0:9000", true, "0.0.0.0", 9000},
        {"127.0.0.1:0", true, "127.0.0.1", 0},
        {"localhost:8080", false, "", 0},
        {"127.0.0.1:70000", false, "", 0},
        {"127.0.0.1:", false, "", 0},
        {"", false, "", 0},
    };
    for (const Case& k : cases) {
        WebAddress a;
        std::string error;
        EXPECT_EQ(parse_web_address(k.text, a, error), k.ok) << k.text;
        if (!k.ok) {
            EXPECT_FALSE(error.empty());
            continue;
        }
        EXPECT_EQ(a.host, k.host);
        EXPECT_EQ(a.port, k.port);
    }
}

TEST(LiveViewArm, ControlChannelAnswersAreParsedStrictly) {
    EXPECT_TRUE(parse_six("ok 1 2 3 4 5 6.5"));
    EXPECT_DOUBLE_EQ((*parse_six("ok 1 2 3 4 5 6.5"))[5], 6.5);
    EXPECT_FALSE(parse_six("ok 1 2 3"));
    EXPECT_FALSE(parse_six("error: unknown request"));
    int tool = -1, frame = -1;
    EXPECT_TRUE(parse_tool_frame("ok 1 2 3 4 5 6 tool=4 frame=2", tool, frame));
    EXPECT_EQ(tool, 4);
    EXPECT_EQ(frame, 2);
    EXPECT_FALSE(parse_tool_frame("ok 1 2 3 4 5 6", tool, frame));
}
