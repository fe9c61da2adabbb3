// SPDX-License-Identifier: Apache-2.0
// pnio-sim restarted under a running srci_server: the adapter keeps its process image and a
// new PLC client initialises and moves the arm through the new gateway.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <regex>

#include "child_process.h"
#include "process_image.h"

using namespace srci_test;

namespace {

// The adapter's output can be long when it fails; the end tells what happened.
std::string tail(const std::string& s) { return s.size() > 2000 ? s.substr(s.size() - 2000) : s; }

struct Chain {
    TempDir dir;
    std::unique_ptr<ChildProcess> pnio;
    std::unique_ptr<ChildProcess> server;
    std::string port;
    int starts = 0;

    // Each start writes its own file, so an old "listening on" line is never mistaken for the new one.
    std::string pnio_out() { return readFile(dir.file("pnio" + std::to_string(starts) + ".out")); }

    bool start_pnio() {
        ++starts;
        pnio = std::make_unique<ChildProcess>(PNIO_SIM_BIN, std::vector<std::string>{"--port", "0", "--no-status"},
                                              dir.path(), dir.file("pnio" + std::to_string(starts) + ".out"));
        const std::regex listening(R"(listening on [0-9.]+:([0-9]+))");
        return eventually(
            [&] {
                std::smatch m;
                const std::string out = pnio_out();
                if (!std::regex_search(out, m, listening)) return false;
                port = m[1];
                return true;
            },
            10000);
    }

    int plc(std::vector<std::string> args, std::string* output = nullptr) {
        args.insert(args.begin(), {"--port", port});
        ChildProcess client(SRCI_PLC_BIN, args, dir.path(), dir.file("plc.out"));
        const int code = client.waitExit(120000) ? client.exitCode() : -1;
        if (output) *output = readFile(dir.file("plc.out"));
        return code;
    }
};

}  // namespace

TEST(PnioSimRestart, AdapterCarriesOnWithTheNewGateway) {
    ProcessImage::removeStale();
    Chain c;
    ASSERT_TRUE(c.start_pnio()) << c.pnio_out();
    c.server = std::make_unique<ChildProcess>(SRCI_SERVER_BIN, std::vector<std::string>{}, c.dir.path(),
                                              c.dir.file("server.out"));
    ASSERT_TRUE(eventually([&] { return c.plc({"status"}) == 0; }, 40000)) << tail(readFile(c.dir.file("server.out")));

    c.pnio->signal(SIGTERM);
    ASSERT_TRUE(c.pnio->waitExit(10000));
    EXPECT_NE(c.pnio_out().find("left for"), std::string::npos) << c.pnio_out();
    ASSERT_TRUE(c.start_pnio()) << c.pnio_out();
    EXPECT_NE(c.pnio_out().find("reusing the shared memory segment of the running adapter"), std::string::npos)
        << c.pnio_out();

    std::string out;
    ASSERT_TRUE(eventually([&] { return c.plc({"status"}) == 0; }, 20000)) << tail(readFile(c.dir.file("server.out")));
    std::ofstream(c.dir.file("move.srci")) << "reset\nenable\nmove-axes 10 0 0 0 90 0 vel=50\nread-position\n";
    ASSERT_EQ(c.plc({"--json", "run", c.dir.file("move.srci")}, &out), 0) << out;
    EXPECT_NE(out.find("\"j1\":10"), std::string::npos) << out;
    EXPECT_TRUE(c.server->running());
    const std::string log = readFile(c.dir.file("server.out"));
    EXPECT_EQ(log.find("sem_p error"), std::string::npos) << tail(log);
}
