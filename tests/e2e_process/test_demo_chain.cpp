// SPDX-License-Identifier: Apache-2.0
// The whole chain as separate processes, as an integrator runs it: pnio-sim owns the process
// image and bridges TCP, srci_server cycles against it with its simulated arm, and the srci-plc
// command line is the PLC. Results are checked against the arm's own control channel.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>
#include <regex>
#include <sstream>

#include "arm_channel.h"
#include "process_chain.h"

using namespace srci_test;

namespace {

// Numbers of one command's JSON line, e.g. {"command":"read-position",...,"data":{"j1":0.0,...}}.
std::map<std::string, double> numbers(const std::string& jsonLine) {
    std::map<std::string, double> values;
    static const std::regex pair(R"re("([a-z0-9_]+)":(-?[0-9.eE+-]+))re");
    for (std::sregex_iterator it(jsonLine.begin(), jsonLine.end(), pair), end; it != end; ++it)
        values[(*it)[1]] = std::stod((*it)[2]);
    return values;
}

std::vector<std::map<std::string, double>> commandResults(const std::string& output, const std::string& command) {
    std::vector<std::map<std::string, double>> results;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        if (line.find("\"command\":\"" + command + "\"") != std::string::npos) results.push_back(numbers(line));
    return results;
}

std::vector<double> values(const std::string& answer) {
    std::vector<double> v;
    std::istringstream in(answer.substr(answer.find(' ') + 1));
    for (double x; in >> x;) v.push_back(x);
    return v;
}

class DemoChain : public ProcessChain {
protected:
    void SetUp() override {
        startGateway();
        if (!HasFatalFailure()) startServer();
    }

    PlcRun script(const std::string& text) { return ProcessChain::script(text, {"--json"}); }

    std::string arm(const std::string& request) { return armRequest(dir.file("srciport.sock"), request); }
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
)");
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
    const auto joints = values(arm("joints"));
    ASSERT_EQ(joints.size(), 6u);
    EXPECT_NEAR(joints[0], 20, 0.01);
    EXPECT_NE(arm("flags").find("moving=0"), std::string::npos);

    ASSERT_EQ(script("move-axes 0 10 10 0 70 0 vel=10 --no-wait\nsleep 400\nstop\ndisable\n").code, 0);
    EXPECT_TRUE(eventually([&] { return arm("flags").find("enabled=0") != std::string::npos; }, 10000));
    EXPECT_GT(values(arm("joints"))[0], 1.0) << "the stopped move did not reach its target";
}

TEST_F(DemoChain, MalformedTelegramsDoNotDisturbTheAdapter) {
    const auto rawClient = [&](size_t bytes, int telegrams) {
        int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(std::stoi(port)));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
            std::vector<uint8_t> junk(bytes);
            for (int t = 0; t < telegrams; ++t) {
                for (auto& b : junk) b = static_cast<uint8_t>(rand());
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

    // Without a gateway to talk to, the command line ends with its connection exit code and says why.
    ChildProcess lost(SRCI_PLC_BIN, {"--port", "1", "status"}, dir.path(), dir.file("lost.out"));
    ASSERT_TRUE(lost.waitExit(20000));
    EXPECT_EQ(lost.exitCode(), 3);
    EXPECT_NE(readFile(dir.file("lost.out")).find("srci-plc: connect: nothing listens on 127.0.0.1:1"),
              std::string::npos)
        << readFile(dir.file("lost.out"));
}

}  // namespace
