// SPDX-License-Identifier: Apache-2.0
// A PLC client talking to the adapter straight through the process image, standing in for the
// I/O manager: each exchange writes the PLC telegram and waits for the adapter's next answer.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <variant>

#include "plc_command.h"
#include "process_image.h"
#include "srci_plc/client.hpp"
#include "srci_plc/command_catalog.hpp"

namespace srci_test {

class ShmTransport : public srci_plc::Transport {
public:
    explicit ShmTransport(ProcessImage& image) : image_(image) {}

    void exchange(const std::vector<uint8_t>& tx, std::vector<uint8_t>& rx) override {
        image_.writePlcTelegram(tx.data());
        const auto deadline = Clock::now() + std::chrono::milliseconds(500);
        uint8_t answer[256];
        for (;;) {
            image_.readRobotTelegram(answer);
            if (answer[1] != lastLifesign_) break;  // the adapter's lifesign moves every telegram
            if (Clock::now() > deadline) throw srci_plc::TransportError("the adapter stopped answering");
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        const auto now = Clock::now();
        if (seen_) maxGapMs_ = std::max(maxGapMs_, std::chrono::duration<double, std::milli>(now - last_).count());
        seen_ = true;
        last_ = now;
        lastLifesign_ = answer[1];
        rx.assign(answer, answer + std::min<size_t>(rx.empty() ? 256 : rx.size(), 256));
    }

    // Longest time between two fresh answers since the last reset.
    double maxGapMs() const { return maxGapMs_; }
    void resetGap() {
        maxGapMs_ = 0;
        seen_ = false;
    }

private:
    using Clock = std::chrono::steady_clock;
    ProcessImage& image_;
    uint8_t lastLifesign_ = 0;
    bool seen_ = false;
    Clock::time_point last_;
    double maxGapMs_ = 0;
};

inline double field(const srci_plc::CommandResult& r, const std::string& name) {
    for (const auto& f : r.data)
        if (f.name == name && std::holds_alternative<double>(f.value)) return std::get<double>(f.value);
    return -1e300;
}

// One request line to the simulated arm's control channel; returns the answer line.
inline std::string armRequest(const std::string& socketPath, const std::string& line) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strncpy(addr.sun_path, socketPath.c_str(), sizeof addr.sun_path - 1);
    std::string answer;
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
        const std::string request = line + "\n";
        if (write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
            char c;
            while (read(fd, &c, 1) == 1 && c != '\n') answer += c;
        }
    }
    close(fd);
    return answer;
}

}  // namespace srci_test
