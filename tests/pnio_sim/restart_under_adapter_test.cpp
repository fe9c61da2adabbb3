// SPDX-License-Identifier: Apache-2.0
// pnio-sim restarted under a running srci_server: the adapter keeps its process image and a
// new PLC client initialises and moves the arm through the new gateway.
#include <csignal>
#include <regex>

#include "process_chain.h"

using namespace srci_test;

using PnioSimRestart = ProcessChain;

TEST_F(PnioSimRestart, AdapterCarriesOnWithTheNewGateway) {
    startGateway();
    startServer();
    pnio->signal(SIGTERM);
    ASSERT_TRUE(pnio->waitExit(10000));
    std::string out = readFile(dir.file("pnio.out"));
    EXPECT_NE(out.find("left for"), std::string::npos) << out;

    // Started by hand: startGateway() would remove the image the adapter still uses. Its own output
    // file, so that the old "listening on" line is never taken for the new one.
    pnio = std::make_unique<ChildProcess>(PNIO_SIM_BIN, std::vector<std::string>{"--port", "0", "--no-status"},
                                          dir.path(), dir.file("pnio2.out"));
    const std::regex listening(R"(listening on [0-9.]+:([0-9]+))");
    std::smatch m;
    ASSERT_TRUE(
        eventually([&] { return std::regex_search(out = readFile(dir.file("pnio2.out")), m, listening); }, 10000))
        << out;
    port = m[1];
    EXPECT_NE(out.find("reusing the shared memory segment of the running adapter"), std::string::npos) << out;

    ASSERT_TRUE(eventually([&] { return plc({"status"}).code == 0; }, 20000)) << readFile(dir.file("server.out"));
    const PlcRun run = script("reset\nenable\nmove-axes 10 0 0 0 90 0 vel=50\nread-position\n", {"--json"});
    ASSERT_EQ(run.code, 0) << run.output;
    EXPECT_NE(run.output.find("\"j1\":10"), std::string::npos) << run.output;
    EXPECT_TRUE(server->running());
    const std::string log = readFile(dir.file("server.out"));
    EXPECT_EQ(log.find("sem_p error"), std::string::npos) << log;
}
