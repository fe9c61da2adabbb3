// SPDX-License-Identifier: Apache-2.0
// A PLC client talking to the adapter straight through the process image, standing in for the
// I/O manager: each exchange writes the PLC telegram and waits for the adapter's next answer.
// Include where SRCI_SERVER_BIN names the adapter.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <variant>

#include "arm_channel.h"
#include "child_process.h"
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

// srci_server in its own directory against a process image held here, and a PLC on that image.
class ServerOverShm : public ::testing::Test {
protected:
    // True once the first answer shows: start-up powers the arm before the first cycle.
    bool startServer() {
        std::memset(image.robotToPlc(), 0, 256);
        server = std::make_unique<ChildProcess>(SRCI_SERVER_BIN, std::vector<std::string>{}, dir.path(),
                                                dir.file("out.txt"));
        return eventually(
            [&] {
                uint8_t telegram[256];
                image.readRobotTelegram(telegram);
                return telegram[1] != 0;
            },
            30000);
    }

    void connect(srci_plc::ClientOptions options = {}) {
        transport = std::make_unique<ShmTransport>(image);
        options.lifesign_timeout_ms = 2000;
        client = std::make_unique<srci_plc::Client>(*transport, options);
        client->connect();
    }

    ProcessImage image{2};
    TempDir dir;
    std::unique_ptr<ChildProcess> server;
    std::unique_ptr<ShmTransport> transport;
    std::unique_ptr<srci_plc::Client> client;
};

}  // namespace srci_test
