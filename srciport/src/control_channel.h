// SPDX-License-Identifier: Apache-2.0
// Line-based request/answer server on a Unix stream socket, served by its own thread.
// Each received line (at most kMaxLine bytes) is handed to the handler; its answer is sent
// back followed by a newline. Longer lines and lines with control bytes are answered with an
// error and never reach the handler.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace srciport {

class ControlChannel {
public:
    static constexpr size_t kMaxLine = 256;
    static constexpr int kMaxClients = 8;
    using Handler = std::function<std::string(std::string_view)>;

    ControlChannel() = default;
    ~ControlChannel() { stop(); }
    ControlChannel(const ControlChannel&) = delete;
    ControlChannel& operator=(const ControlChannel&) = delete;

    // Binds `path` (replacing a stale socket) and starts serving. False if binding fails.
    bool start(const std::string& path, Handler handler);
    void stop();
    bool running() const { return thread_.joinable(); }

private:
    void serve();

    Handler handler_;
    std::string path_;
    int listenFd_ = -1;
    int wakeFd_[2] = {-1, -1};
    std::thread thread_;
};

}  // namespace srciport
