// SPDX-License-Identifier: Apache-2.0
// The whole chain as separate processes, as an integrator runs it: pnio-sim owns the process
// image and bridges TCP, srci_server cycles against it with its simulated arm, and the srci-plc
// command line is the PLC. The arm's own control channel confirms where it came to rest.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <vector>

#include "arm_channel.h"
#include "process_chain.h"

using namespace srci_test;

namespace {

// The numbers of each JSON line of one command, e.g. {"command":"read-position",...,"data":{"j1":0.0,...}}.
std::vector<std::map<std::string, double>> commandResults(const std::string& output, const std::string& command) {
    static const std::regex pair(R"re("([a-z0-9_]+)":(-?[0-9.eE+-]+))re");
    std::vector<std::map<std::string, double>> results;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("\"command\":\"" + command + "\"") == std::string::npos) continue;
        auto& values = results.emplace_back();
        for (std::sregex_iterator it(line.begin(), line.end(), pair), end; it != end; ++it)
            values[(*it)[1]] = std::stod((*it)[2]);
    }
    return results;
}

class DemoChain : public ProcessChain {
protected:
    void SetUp() override {
        startGateway();
        if (!HasFatalFailure()) startServer();
    }
};

TEST_F(DemoChain, TheDemoTourReachesEveryTarget) {
    const PlcRun run = script(R"(reset
enable
write-tool 1 0 0 100 0 0 0
move-axes 0 10 10 0 70 0 vel=40 acc=40 tool=1
read-position
move-linear 580 -60 546.24 180 0 0 tool=1 frame=0 vel=40 acc=40 blending=4 blend0=5 --no-wait
move-linear 660 -60 546.24 180 0 0 tool=1 frame=0 vel=40 acc=40 blending=4 blend0=5 --no-wait
move-linear 660 60 546.24 180 0 0 tool=1 frame=0 vel=40 acc=40 blending=4 blend0=5 --no-wait
move-linear 580 60 546.24 180 0 0 tool=1 frame=0 vel=40 acc=40 --no-wait
wait-done
read-position
jog joint j1+ rot=5
read-position
move-axes 20 10 10 0 70 0 vel=20 tool=1 --no-wait
sleep 300
pause
sleep 300
continue
wait-done
read-position
)",
                              {"--json"});
    ASSERT_EQ(run.code, 0) << run.output;
    const auto positions = commandResults(run.output, "read-position");
    ASSERT_EQ(positions.size(), 4u) << run.output;
    EXPECT_NEAR(positions[0].at("j2"), 10, 0.01);
    EXPECT_NEAR(positions[0].at("j5"), 70, 0.01);
    EXPECT_NEAR(positions[1].at("x"), 580, 0.05) << "the square ends at its last corner";
    EXPECT_NEAR(positions[1].at("y"), 60, 0.05);
    EXPECT_NEAR(positions[1].at("z"), 546.24, 0.05);
    EXPECT_NEAR(positions[2].at("j1"), positions[1].at("j1") + 5, 0.01) << "the jog moved joint 1 by 5 degrees";
    EXPECT_NEAR(positions[3].at("j1"), 20, 0.01) << "the paused move reached its target after continue";
    EXPECT_NE(armRequest(dir.file("srciport.sock"), "flags").find("moving=0"), std::string::npos);

    // A fresh invocation disables with an EnableRobot of its own.
    const PlcRun stopped =
        script("move-axes 0 10 10 0 70 0 vel=10 --no-wait\nsleep 400\nstop\nread-position\ndisable\n", {"--json"});
    ASSERT_EQ(stopped.code, 0) << stopped.output;
    EXPECT_GT(commandResults(stopped.output, "read-position").at(0).at("j1"), 1.0) << "the stopped move ended short";
    EXPECT_TRUE(eventually(
        [&] { return armRequest(dir.file("srciport.sock"), "flags").find("enabled=0") != std::string::npos; }, 10000));
}

// Garbage from a TCP client reaches the gateway and the adapter's interpreter in the running
// chain; neither process may go, and a real PLC is served at once afterwards.
TEST_F(DemoChain, MalformedTelegramsDoNotDisturbTheAdapter) {
    const auto rawClient = [&](size_t bytes, int telegrams) {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(std::stoi(port)));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
            std::mt19937 random(static_cast<unsigned>(bytes));
            std::vector<uint8_t> junk(bytes);
            for (int t = 0; t < telegrams; ++t) {
                for (auto& b : junk) b = static_cast<uint8_t>(random());
                if (write(fd, junk.data(), junk.size()) < 0) break;
                uint8_t answer[256];
                if (bytes == 256 && read(fd, answer, sizeof answer) <= 0) break;
            }
        }
        close(fd);
    };
    rawClient(100, 1);    // a partial telegram, then gone
    rawClient(256, 200);  // whole telegrams of garbage
    rawClient(3000, 1);   // more than a telegram at once
    EXPECT_TRUE(server->running());
    EXPECT_TRUE(pnio->running());
    const PlcRun good = plc({"status"});
    EXPECT_EQ(good.code, 0) << good.output;
}

// Without a gateway to talk to, the command line ends with its connection exit code and says why.
TEST(PlcCommandLine, WithoutAGatewayItEndsWithItsConnectionExitCode) {
    TempDir dir;
    ChildProcess lost(SRCI_PLC_BIN, {"--port", "1", "status"}, dir.path(), dir.file("lost.out"));
    ASSERT_TRUE(lost.waitExit(20000));
    EXPECT_EQ(lost.exitCode(), 3);
    EXPECT_NE(readFile(dir.file("lost.out")).find("srci-plc: connect: nothing listens on 127.0.0.1:1"),
              std::string::npos)
        << readFile(dir.file("lost.out"));
}

}  // namespace
