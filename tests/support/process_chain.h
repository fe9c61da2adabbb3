// SPDX-License-Identifier: Apache-2.0
// pnio-sim, srci_server and the srci-plc command line as separate processes in one temporary
// directory, as an integrator runs them. Include where SRCI_SERVER_BIN, PNIO_SIM_BIN and
// SRCI_PLC_BIN name the programs.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "child_process.h"
#include "process_image.h"

namespace srci_test {

struct PlcRun {
    int code = -1;
    std::string output;
};

class ProcessChain : public ::testing::Test {
protected:
    // pnio-sim on a free port; the PLC uses the port it reports.
    void startGateway(const std::vector<std::string>& extraArgs = {}) {
        ProcessImage::removeStale();
        std::vector<std::string> args{"--port", "0", "--no-status"};
        args.insert(args.end(), extraArgs.begin(), extraArgs.end());
        pnio = std::make_unique<ChildProcess>(PNIO_SIM_BIN, args, dir.path(), dir.file("pnio.out"));
        const std::regex listening(R"(listening on [0-9.]+:([0-9]+))");
        std::smatch m;
        ASSERT_TRUE(eventually(
            [&] {
                const std::string out = readFile(dir.file("pnio.out"));
                if (!std::regex_search(out, m, listening)) return false;
                port = m[1];
                return true;
            },
            10000))
            << readFile(dir.file("pnio.out"));
    }

    void startServer() {
        server = std::make_unique<ChildProcess>(SRCI_SERVER_BIN, std::vector<std::string>{}, dir.path(),
                                                dir.file("server.out"));
        ASSERT_TRUE(eventually([&] { return plc({"status"}).code == 0; }, 40000)) << readFile(dir.file("server.out"));
    }

    PlcRun plc(std::vector<std::string> args) {
        args.insert(args.begin(), {"--port", port});
        ChildProcess client(SRCI_PLC_BIN, args, dir.path(), dir.file("plc.out"));
        PlcRun run;
        if (client.waitExit(120000)) run.code = client.exitCode();
        run.output = readFile(dir.file("plc.out"));
        return run;
    }

    // Runs `text` as a srci-plc script, with `options` before the run command.
    PlcRun script(const std::string& text, std::vector<std::string> options = {}) {
        std::ofstream(dir.file("script.srci")) << text;
        options.insert(options.end(), {"run", dir.file("script.srci")});
        return plc(options);
    }

    TempDir dir;
    std::string port;
    std::unique_ptr<ChildProcess> pnio;
    std::unique_ptr<ChildProcess> server;
};

}  // namespace srci_test
