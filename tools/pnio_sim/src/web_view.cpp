// SPDX-License-Identifier: Apache-2.0
#include "pnio_sim/web_view.hpp"

#include <arpa/inet.h>

#include <httplib.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "pnio_sim/pndev_shm.hpp"
#include "pnio_sim/web_arm_channel.hpp"
#include "pnio_sim/web_assets.hpp"

namespace pnio_sim::web {

namespace {

Millis to_millis(std::chrono::system_clock::time_point t) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(t.time_since_epoch()).count();
}

Millis now_millis() { return to_millis(std::chrono::system_clock::now()); }

std::string dump(const nlohmann::json& j) { return j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace); }

}  // namespace

bool parse_web_address(const std::string& text, WebAddress& out, std::string& error) {
    const size_t colon = text.rfind(':');
    const std::string host = colon == std::string::npos ? "127.0.0.1" : text.substr(0, colon);
    const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
    in_addr a{};
    if (inet_pton(AF_INET, host.c_str(), &a) != 1) {
        error = "--web needs PORT or IPV4:PORT, e.g. 127.0.0.1:8080; '" + host + "' is no IPv4 address";
        return false;
    }
    char* end = nullptr;
    const long p = std::strtol(port.c_str(), &end, 10);
    if (port.empty() || *end != '\0' || p < 0 || p > 65535) {
        error = "--web needs a port 0..65535, not '" + port + "'";
        return false;
    }
    out.host = host;
    out.port = static_cast<uint16_t>(p);
    return true;
}

WebView::WebView(const WebAddress& address, const std::string& arm_socket, Log log)
    : log_(std::move(log)), server_(std::make_unique<httplib::Server>()) {
    if (!arm_socket.empty()) {
        arm_ = std::make_unique<ArmChannel>(arm_socket);
        arm_sample_.path = arm_socket;
    }
    board_.slow = std::make_shared<SlowState>();
    serve_routes();
    const int port = address.port == 0 ? server_->bind_to_any_port(address.host)
                                       : (server_->bind_to_port(address.host, address.port) ? address.port : -1);
    if (port <= 0)
        throw std::runtime_error("live view: cannot listen on " + address.host + ":" + std::to_string(address.port));
    port_ = static_cast<uint16_t>(port);
    sampler_ = std::thread([this] { sample_loop(); });
    http_ = std::thread([this] { server_->listen_after_bind(); });
}

WebView::~WebView() {
    {
        std::lock_guard lock(frame_mutex_);  // no waiter can miss the wake-up
        stopping_ = true;
    }
    frame_cv_.notify_all();
    server_->stop();
    if (http_.joinable()) http_.join();
    if (sampler_.joinable()) sampler_.join();
}

void WebView::on_exchange(const TapExchange& e) {
    monitor_.exchange(e.plc_to_robot, e.robot_to_plc, kTelegramSize, to_millis(e.answered));
    publish();
}

void WebView::on_connection(bool connected, const std::string& why, std::chrono::system_clock::time_point when) {
    monitor_.connection(connected, why, to_millis(when));
    publish();
}

void WebView::publish() {
    // The copy of the slow part is made before the lock and only when it changed.
    std::shared_ptr<const SlowState> slow;
    if (monitor_.slow_version() != published_slow_) {
        slow = std::make_shared<const SlowState>(monitor_.slow());
        published_slow_ = monitor_.slow_version();
    }
    std::lock_guard lock(board_mutex_);
    board_.link = monitor_.link();
    board_.cyclic = monitor_.cyclic();
    if (slow) {
        board_.slow = std::move(slow);
        board_.slow_version = published_slow_;
    }
}

ViewSnapshot WebView::snapshot() const {
    std::lock_guard lock(board_mutex_);
    ViewSnapshot s = board_;
    s.arm = arm_sample_;
    return s;
}

std::string WebView::encode_update(const ViewSnapshot& s, bool with_slow, uint64_t seq) const {
    const Millis now = now_millis();
    nlohmann::json j = {{"seq", seq},
                        {"time", now},
                        {"link", link_json(s.link, now)},
                        {"robot", robot_json(s.cyclic, s.arm, s.slow.get(), now)}};
    if (with_slow && s.slow) j["commands"] = slow_json(*s.slow);
    return dump(j);
}

void WebView::sample_arm(bool need_joints, bool need_pose) {
    ArmSample a;
    a.path = arm_->path();
    std::string error;
    if (need_joints) {
        if (const auto answer = arm_->request("joints", error)) {
            a.joints = parse_six(*answer);
            if (!a.joints) error = "unexpected answer '" + answer->substr(0, 80) + "'";
        }
    }
    if (need_pose && error.empty()) {
        if (const auto answer = arm_->request("pose", error)) {
            a.pose = parse_six(*answer);
            if (!a.pose || !parse_tool_frame(*answer, a.tool, a.frame)) {
                a.pose.reset();
                error = "unexpected answer '" + answer->substr(0, 80) + "'";
            }
        }
    }
    a.error = error;
    if (a.joints || a.pose) a.at = now_millis();
    std::lock_guard lock(board_mutex_);
    if (!a.joints && !a.pose) a.at = arm_sample_.at;  // keep the age of the last good sample
    arm_sample_ = std::move(a);
}

void WebView::sample_loop() {
    uint64_t seq = 0;
    uint64_t slow_version = ~uint64_t{0};
    std::string slow;
    auto next = std::chrono::steady_clock::now();
    while (!stopping_) {
        next += kUpdatePeriod;
        if (arm_) {
            bool need_joints, need_pose;
            {
                std::lock_guard lock(board_mutex_);
                need_joints = !board_.cyclic.joints;
                need_pose = !board_.cyclic.pose;
            }
            if (need_joints || need_pose) sample_arm(need_joints, need_pose);
        }
        const ViewSnapshot s = snapshot();
        if (s.slow_version != slow_version || slow.empty()) {
            slow = dump(slow_json(*s.slow));
            slow_version = s.slow_version;
        }
        std::string fast = encode_update(s, false, ++seq);
        {
            std::lock_guard lock(frame_mutex_);
            frame_.seq = seq;
            frame_.slow_version = slow_version;
            frame_.fast = std::move(fast);
            frame_.slow = slow;
        }
        frame_cv_.notify_all();
        const auto now = std::chrono::steady_clock::now();
        if (next < now) next = now;  // a loaded machine skips updates instead of bursting
        std::unique_lock lock(frame_mutex_);
        frame_cv_.wait_until(lock, next, [this] { return stopping_.load(); });
    }
}

bool WebView::next_frame(uint64_t after, Frame& out) {
    std::unique_lock lock(frame_mutex_);
    frame_cv_.wait_for(lock, std::chrono::seconds(1), [&] { return stopping_ || frame_.seq > after; });
    if (stopping_ || frame_.seq <= after) return false;
    out = frame_;
    return true;
}

void WebView::serve_routes() {
    server_->Get("/events", [this](const httplib::Request&, httplib::Response& res) {
        if (++streams_ > kMaxStreams) {
            --streams_;
            res.status = 503;
            res.set_content("too many live views open at once (at most " + std::to_string(kMaxStreams) + ")\n",
                            "text/plain");
            return;
        }
        res.set_header("Cache-Control", "no-cache");
        struct Cursor {
            uint64_t seq = 0;
            uint64_t slow_version = ~uint64_t{0};
        };
        auto cursor = std::make_shared<Cursor>();
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, cursor](size_t, httplib::DataSink& sink) {
                Frame f;
                if (!next_frame(cursor->seq, f)) {
                    if (stopping_) return false;
                    static const char kKeepAlive[] = ": waiting for updates\n\n";
                    return sink.write(kKeepAlive, sizeof kKeepAlive - 1);
                }
                cursor->seq = f.seq;
                std::string event = "data: ";
                if (f.slow_version != cursor->slow_version) {
                    cursor->slow_version = f.slow_version;
                    f.fast.pop_back();  // the closing brace
                    event += f.fast + ",\"commands\":" + f.slow + "}";
                } else {
                    event += f.fast;
                }
                event += "\n\n";
                return sink.write(event.data(), event.size());
            },
            [this](bool) { --streams_; });
    });
    server_->Get("/state", [this](const httplib::Request&, httplib::Response& res) {
        res.set_header("Cache-Control", "no-cache");
        res.set_content(encode_update(snapshot(), true, 0), "application/json");
    });
    server_->Get(R"(/.*)", [](const httplib::Request& req, httplib::Response& res) {
        const Asset* a = find_asset(req.path);
        if (!a) {
            res.status = 404;
            res.set_content("not found: " + req.path + "\n", "text/plain");
            return;
        }
        res.set_content(std::string(a->body), std::string(a->content_type).c_str());
    });
}

std::unique_ptr<WebView> start_web_view(const std::string& web_arg, const std::string& arm_socket,
                                        const WebView::Log& log) {
    WebAddress address;
    std::string error;
    if (!parse_web_address(web_arg, address, error)) throw std::runtime_error(error);
    auto view = std::make_unique<WebView>(address, arm_socket, log);
    if (address.host.rfind("127.", 0) != 0)
        log("the live view on " + address.host + " is reachable from other machines and has no password");
    std::printf("pnio-sim: live view on http://%s:%u/\n", address.host.c_str(), view->port());
    std::fflush(stdout);
    return view;
}

}  // namespace pnio_sim::web
