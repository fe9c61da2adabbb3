// SPDX-License-Identifier: Apache-2.0
// The live view in a real browser while the demo tour runs through the whole chain: pnio-sim with
// --web, srci_server with its simulated arm, and srci-plc running the demo script. Everything is
// read from the page's DOM, as a person would read the screen.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <regex>
#include <thread>

#include "devtools_pipe.hpp"
#include "process_chain.h"

using namespace srci_test;
using nlohmann::json;

namespace {

// What the page shows right now: TelegramState, joint 1, and the two command tables.
const char* const kReadPage = R"js(JSON.stringify({
  telegramState: document.getElementById('telegram-state').textContent,
  joint1: (document.querySelector('#joint-1 .value') || {}).textContent || '',
  inFlight: [...document.querySelectorAll('#in-flight tbody tr[data-name]')].map(r => [r.dataset.name, r.dataset.state]),
  finished: [...document.querySelectorAll('#finished tbody tr[data-name]')].map(r => [r.dataset.name, r.dataset.state])
}))js";

bool is_move(const std::string& name) { return name.rfind("Move", 0) == 0; }

}  // namespace

using LiveViewInBrowser = ProcessChain;

TEST_F(LiveViewInBrowser, ShowsTheDemoTourAsItRuns) {
    const char* other = std::getenv("LIVE_VIEW_BROWSER");  // another build than Debian's chromium
    const std::string chromium = other && *other ? other : "/usr/bin/chromium";
    if (access(chromium.c_str(), X_OK) != 0) GTEST_SKIP() << "no browser: " << chromium << " is not installed";
    startGateway({"--web", "127.0.0.1:0", "--arm-socket", dir.file("srciport.sock")});
    const std::regex live_view(R"(live view on (http://\S+))");
    std::smatch url;
    std::string out;
    ASSERT_TRUE(
        eventually([&] { return std::regex_search(out = readFile(dir.file("pnio.out")), url, live_view); }, 15000))
        << out;
    startServer();

    web_test::HeadlessBrowser browser(chromium, dir.file("profile"), dir.file("browser.log"));
    std::string why;
    if (!browser.open(url[1], why))
        GTEST_SKIP() << "the browser cannot run here (" << why << "); the HTTP and stream tests still cover the view. "
                     << readFile(dir.file("browser.log")).substr(0, 2000);

    ChildProcess demo(SRCI_PLC_BIN, {"--port", port, "run", DEMO_SCRIPT}, dir.path(), dir.file("demo.out"));
    bool initialized = false, joint1_moved = false, move_done = false, shot = false;
    std::string joint1_in_move;  // joint 1 as last seen while a move was active
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(4);
    while (std::chrono::steady_clock::now() < deadline) {
        const bool running = demo.running();
        const json page = json::parse(browser.evaluate(kReadPage), nullptr, false);
        if (page.is_object()) {
            initialized |= page["telegramState"] == "INITIALIZED";
            bool moving = false;
            for (const auto& c : page["inFlight"]) moving |= is_move(c[0]) && c[1] == "Active";
            const std::string j1 = page["joint1"];
            if (moving && !joint1_in_move.empty() && j1 != joint1_in_move) joint1_moved = true;
            joint1_in_move = moving ? j1 : "";
            for (const auto& c : page["finished"]) move_done |= is_move(c[0]) && c[1] == "Done";
            // The picture for the README: a move under way with some history below it.
            if (!shot && moving && page["finished"].size() >= 12) shot = browser.screenshot(SCREENSHOT_PATH);
        }
        if (!running) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    if (!shot) shot = browser.screenshot(SCREENSHOT_PATH);
    ASSERT_TRUE(demo.waitExit(1000)) << "the demo did not finish in time";
    EXPECT_EQ(demo.exitCode(), 0) << readFile(dir.file("demo.out"));
    EXPECT_TRUE(initialized) << "the page never read TelegramState INITIALIZED";
    EXPECT_TRUE(joint1_moved) << "joint 1 did not change on the page while a move was active";
    EXPECT_TRUE(move_done) << "no finished move appeared as Done";
    EXPECT_TRUE(shot) << "no screenshot";
    std::cout << "screenshot: " << SCREENSHOT_PATH << "\n";
}
