// SPDX-License-Identifier: Apache-2.0
#pragma once
// A client of the simulated arm's control channel (a Unix socket, one request line, one answer
// line). The live view asks it for the joints and the pose when the PLC's telegrams do not carry
// them. Every call is bounded by a short timeout; a lost channel is reconnected at most once a
// second.
#include <array>
#include <chrono>
#include <optional>
#include <string>

namespace pnio_sim::web {

class ArmChannel {
public:
    explicit ArmChannel(std::string path) : path_(std::move(path)) {}
    ~ArmChannel();
    ArmChannel(const ArmChannel&) = delete;
    ArmChannel& operator=(const ArmChannel&) = delete;

    // The answer line without its newline, or nullopt with error set.
    std::optional<std::string> request(const std::string& line, std::string& error);
    const std::string& path() const { return path_; }

private:
    bool connect_socket(std::string& error);
    void close_socket();

    std::string path_;
    int fd_ = -1;
    std::chrono::steady_clock::time_point next_attempt_{};
};

// "ok 1 2 3 4 5 6" -> the six numbers; "ok x y z rx ry rz tool=N frame=M" -> pose, tool, frame.
std::optional<std::array<double, 6>> parse_six(const std::string& answer);
bool parse_tool_frame(const std::string& answer, int& tool, int& frame);

}  // namespace pnio_sim::web
