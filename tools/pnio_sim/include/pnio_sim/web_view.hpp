// SPDX-License-Identifier: Apache-2.0
#pragma once
// The live view: a tap on the gateway that follows the SRCI link, and a small HTTP server that
// serves the page and a Server-Sent-Events stream of the decoded state.
//
// Threads: the gateway thread feeds the link monitor and publishes its state under a short lock;
// a sampler thread asks the arm's control channel (when configured and needed), encodes one
// update every kUpdatePeriod and wakes the stream handlers; the HTTP server's own threads write
// to the browsers. Nothing the gateway thread does waits for the network or a browser.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "pnio_sim/telegram_tap.hpp"
#include "pnio_sim/web_link_monitor.hpp"
#include "pnio_sim/web_state_json.hpp"

namespace httplib {
class Server;
}

namespace pnio_sim::web {

constexpr std::chrono::milliseconds kUpdatePeriod{40};  // 25 updates a second
constexpr int kMaxStreams = 4;                          // browsers watching at once

struct WebAddress {
    std::string host = "127.0.0.1";
    uint16_t port = 8080;
};

// "PORT" (loopback) or "IPV4:PORT"; false with error set otherwise.
bool parse_web_address(const std::string& text, WebAddress& out, std::string& error);

class WebView : public TelegramTap {
public:
    using Log = std::function<void(const std::string&)>;

    // Throws std::runtime_error when the address cannot be bound.
    WebView(const WebAddress& address, const std::string& arm_socket, Log log);
    ~WebView() override;
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;

    uint16_t port() const { return port_; }

    void on_exchange(const TapExchange& exchange) override;
    void on_connection(bool connected, const std::string& why, std::chrono::system_clock::time_point when) override;

    ViewSnapshot snapshot() const;
    // One update as the stream sends it: {"seq":N,"link":..,"robot":..[,"commands":..]}.
    std::string encode_update(const ViewSnapshot& s, bool with_slow, uint64_t seq) const;

private:
    struct Frame {
        uint64_t seq = 0;
        uint64_t slow_version = 0;
        std::string fast;  // {"seq":..,"link":..,"robot":..}
        std::string slow;  // the "commands" value, encoded again only when it changed
    };

    void publish();
    void sample_loop();
    void sample_arm(bool need_joints, bool need_pose);
    bool next_frame(uint64_t after, Frame& out);
    void serve_routes();

    Log log_;
    LinkMonitor monitor_;  // gateway thread only
    uint64_t published_slow_ = ~uint64_t{0};

    mutable std::mutex board_mutex_;  // the gateway thread's hand-over
    ViewSnapshot board_;

    std::unique_ptr<class ArmChannel> arm_;  // sampler thread only
    ArmSample arm_sample_;                   // written by the sampler under board_mutex_

    std::mutex frame_mutex_;
    std::condition_variable frame_cv_;
    Frame frame_;
    std::atomic<int> streams_{0};

    std::atomic<bool> stopping_{false};
    std::unique_ptr<httplib::Server> server_;
    uint16_t port_ = 0;
    std::thread sampler_;
    std::thread http_;
};

// Parses --web, starts the view and says where it is ("pnio-sim: live view on http://...").
// Throws std::runtime_error with a message for people when the address is bad or taken.
std::unique_ptr<WebView> start_web_view(const std::string& web_arg, const std::string& arm_socket,
                                        const WebView::Log& log);

}  // namespace pnio_sim::web
