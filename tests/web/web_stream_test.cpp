// SPDX-License-Identifier: Apache-2.0
// The live view's HTTP side in-process: the page and its files, one-shot state, the event stream
// and the arm's control channel as joint source, with telegrams handed to the tap directly.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <httplib.h>

#include <atomic>
#include <thread>

#include "pnio_sim/web_view.hpp"
#include "telegram_pairs.hpp"

using namespace pnio_sim::web;
using namespace telegram_pairs;
using nlohmann::json;

namespace {

class Served : public ::testing::Test {
protected:
    void start(const std::string& arm_socket = "") {
        view = std::make_unique<WebView>(WebAddress{"127.0.0.1", 0}, arm_socket, [](const std::string&) {});
        client = std::make_unique<httplib::Client>("127.0.0.1", view->port());
        client->set_read_timeout(10, 0);
    }
    void feed(std::vector<srci_plc::Fragment> out, Robot r = {}) {
        if (!out.empty()) ++seq;
        r.ack = ++ack;
        const auto p = plc(seq, std::move(out), r.tn);
        const auto b = r.bytes();
        const auto now = std::chrono::system_clock::now();
        view->on_exchange({p.data(), b.data(), now, now});
    }
    // Events of a fresh stream until `enough` says so (or 100 of them).
    template <class F>
    std::vector<json> events_until(F enough) {
        std::vector<json> out;
        std::string buffer;
        client->Get("/events", [&](const char* data, size_t len) {
            buffer.append(data, len);
            for (size_t end; (end = buffer.find("\n\n")) != std::string::npos;) {
                const std::string event = buffer.substr(0, end);
                buffer.erase(0, end + 2);
                if (event.rfind("data: ", 0) == 0) out.push_back(json::parse(event.substr(6)));
            }
            return out.size() < 100 && (out.empty() || !enough(out));
        });
        return out;
    }
    std::vector<json> events(size_t count) {
        return events_until([count](const std::vector<json>& e) { return e.size() >= count; });
    }

    std::unique_ptr<WebView> view;
    std::unique_ptr<httplib::Client> client;
    uint16_t seq = 0;
    uint16_t ack = 0;
};

}  // namespace

TEST_F(Served, ServesThePageItsFilesAndNothingElse) {
    start();
    struct Case {
        const char* path;
        int status;
        const char* type;
        const char* contains;
    };
    const Case cases[] = {
        {"/", 200, "text/html", "id=\"telegram-state\""},
        {"/app.js", 200, "text/javascript", "EventSource('/events')"},
        {"/style.css", 200, "text/css", "grid-template-columns"},
        {"/secret", 404, "text/plain", "not found"},
        {"/../etc/passwd", 404, "text/plain", ""},
    };
    for (const Case& k : cases) {
        const auto res = client->Get(k.path);
        ASSERT_TRUE(res) << k.path;
        EXPECT_EQ(res->status, k.status) << k.path;
        EXPECT_EQ(res->get_header_value("Content-Type").rfind(k.type, 0), 0u) << k.path;
        EXPECT_NE(res->body.find(k.contains), std::string::npos) << k.path;
    }
    const auto page = client->Get("/");
    EXPECT_EQ(page->body.find("http"), std::string::npos) << "the page loads nothing from elsewhere";
}

TEST_F(Served, StateAndStreamCarryTheDecodedLink) {
    start();
    Robot r;
    r.joints = {33.0f, 0, 0, 0, 90, 0};
    feed({command(4, 2101)}, r);
    const auto res = client->Get("/state");
    ASSERT_TRUE(res);
    const json state = json::parse(res->body);
    EXPECT_EQ(state["link"]["telegramState"]["name"], "INITIALIZED");
    EXPECT_EQ(state["commands"]["inFlight"][0]["name"], "MoveAxesAbsolute");
    EXPECT_EQ(state["robot"]["jointSource"], "cyclic JointPosition block");

    // Stream: the first event of a viewer brings the commands, the next ones only the fast part,
    // until the commands change. Updates flow whether or not telegrams do.
    // The stream may start with a frame from just before the command arrived: then one more
    // event carries the commands, but never more than that.
    auto ev = events(4);
    ASSERT_EQ(ev.size(), 4u);
    EXPECT_TRUE(ev[0].contains("commands"));
    EXPECT_LE(ev[1].contains("commands") + ev[2].contains("commands") + ev[3].contains("commands"), 1);
    EXPECT_LT(ev[0]["seq"].get<uint64_t>(), ev[1]["seq"].get<uint64_t>());
    EXPECT_DOUBLE_EQ(ev[3]["robot"]["joints"][0].get<double>(), 33.0);

    r.fragments = {response(4, 10)};
    feed({}, r);
    ev = events_until([](const std::vector<json>& e) { return !e.back()["commands"]["finished"].empty(); });
    ASSERT_FALSE(ev.back()["commands"]["finished"].empty());
    EXPECT_EQ(ev.back()["commands"]["finished"][0]["state"], "Done");
}

namespace {

// A stand-in for the arm's control channel: answers joints and pose like the simulated arm.
class FakeArm {
public:
    explicit FakeArm(std::string path) : path_(std::move(path)) {
        fd_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un a{};
        a.sun_family = AF_UNIX;
        std::snprintf(a.sun_path, sizeof a.sun_path, "%s", path_.c_str());
        ::unlink(path_.c_str());
        if (::bind(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || ::listen(fd_, 2) != 0) return;
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeArm() {
        ::shutdown(fd_, SHUT_RDWR);
        ::shutdown(client_, SHUT_RDWR);
        ::close(fd_);
        if (thread_.joinable()) thread_.join();
        ::unlink(path_.c_str());
    }
    std::atomic<int> requests{0};

private:
    void serve() {
        const int c = client_ = ::accept(fd_, nullptr, nullptr);
        if (c < 0) return;
        std::string line;
        for (char ch; ::read(c, &ch, 1) == 1;) {
            if (ch != '\n') {
                line += ch;
                continue;
            }
            ++requests;
            const std::string answer = line == "joints" ? "ok 11.5 2 3 4 5 6\n"
                                       : line == "pose" ? "ok 500 1 600 180 0 0 tool=3 frame=1\n"
                                                        : "error: unknown request\n";
            if (::write(c, answer.data(), answer.size()) < 0) break;
            line.clear();
        }
        ::close(c);
    }
    std::string path_;
    int fd_ = -1;
    std::atomic<int> client_{-1};
    std::thread thread_;
};

}  // namespace

TEST_F(Served, WithoutCyclicBlocksTheArmsControlChannelIsAskedAndNamed) {
    const std::string path = "/tmp/live-view-arm-" + std::to_string(::getpid()) + ".sock";
    FakeArm arm(path);
    start(path);
    Robot r;
    r.tn = 0;  // the PLC asked for no cyclic position data
    feed({}, r);
    json robot;
    for (int i = 0; i < 500 && robot["jointSource"].is_null(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        robot = json::parse(client->Get("/state")->body)["robot"];
    }
    EXPECT_EQ(robot["jointSource"], "arm control channel " + path);
    EXPECT_DOUBLE_EQ(robot["joints"][0].get<double>(), 11.5);
    EXPECT_EQ(robot["tcpSource"], "arm control channel " + path);
    EXPECT_EQ(robot["tool"], 3);

    // With the cyclic blocks back, the channel is left alone.
    r.tn = 0x0006;
    r.joints = {7, 0, 0, 0, 0, 0};
    feed({}, r);
    // From the third event of a stream opened now on, every update began after the feed.
    events(3);
    const int asked = arm.requests;
    events(3);
    EXPECT_EQ(arm.requests, asked);
    robot = json::parse(client->Get("/state")->body)["robot"];
    EXPECT_EQ(robot["jointSource"], "cyclic JointPosition block");
}
