// SPDX-License-Identifier: Apache-2.0
// srci_server killed with SIGKILL at random moments while a PLC writes tools, frames and loads,
// then restarted: srci.ini is never lost, every record is whole, every key holds its last
// acknowledged or its in-flight value, and every restart comes up. SRCI_KILL_ROUNDS sets the
// number of kills (20 by default; the soak run makes 200).
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <thread>

#include "INI/iniHandler.h"
#include "plc_over_shm.h"

using namespace srci_test;
using srci_plc::WaitFor;

namespace {

using Values = std::map<std::string, double>;  // INI key -> value

// One PLC write: the command, its parameters, and the INI keys it must reach.
struct Write {
    std::string command, section;
    srci_plc::ParamValues params;
    Values keys;
};

Write makeWrite(std::mt19937& rng, int serial) {
    const int kind = static_cast<int>(rng() % 3), index = 1 + static_cast<int>(rng() % 15);
    // Distinct halves in every key, exact in a float: a torn record cannot pass for a whole one.
    const auto v = [&](int k) { return static_cast<double>((serial * 16 + k) % 4000) / 2.0 - 500.0; };
    const auto pose = [&](Write& w) {
        const char* names[6] = {"x", "y", "z", "rx", "ry", "rz"};
        for (int k = 0; k < 6; ++k) w.params[names[k]] = w.keys[names[k]] = v(k);
    };
    Write w;
    if (kind == 0) {
        w = {"write-tool", "tool" + std::to_string(index), {{"tool", index}}, {}};
        pose(w);
        w.params["load"] = w.keys["loadId"] = 1 + serial % 15;
    } else if (kind == 1) {
        w = {"write-frame", "userFrame" + std::to_string(index), {{"frame", index}, {"reference", 0}}, {}};
        pose(w);
    } else {
        w = {"write-load", "load" + std::to_string(index), {{"load", index}}, {}};
        for (const char* k : {"x", "y", "z"}) w.params[k] = w.keys[k] = v(k[0]);
        w.params["mass"] = w.keys["mass"] = 1.0 + (serial % 50) / 2.0;
    }
    return w;
}

class KilledWriter : public ServerOverShm {
protected:
    // Every section of the store is there with every key, and every record the PLC wrote holds
    // wholly its acknowledged or wholly its in-flight values.
    void checkFile(int round) {
        SCOPED_TRACE("after kill " + std::to_string(round));
        ASSERT_TRUE(std::filesystem::is_regular_file(dir.file("srci.ini"))) << "srci.ini lost";
        const INI ini(dir.file("srci.ini"));
        for (int i = 1; i <= 15; ++i)
            for (const char* prefix : {"tool", "userFrame", "load"})
                ASSERT_TRUE(ini.hasKey(prefix + std::to_string(i), "x")) << prefix << i;
        for (auto& [section, values] : acked) {
            Values now;
            for (const auto& [key, value] : values) now[key] = ini.getDouble(section, key);
            if (inFlight && inFlight->section == section && now == inFlight->keys) {
                values = now;  // it reached the file before the kill
                continue;
            }
            EXPECT_EQ(now, values) << section << " is neither its acknowledged nor its in-flight record";
        }
        inFlight.reset();
    }

    std::map<std::string, Values> acked;
    std::optional<Write> inFlight;
};

TEST_F(KilledWriter, EveryKillLeavesTheFileWholeAndEveryRestartComesUp) {
    const char* env = std::getenv("SRCI_KILL_ROUNDS");
    const int rounds = env != nullptr ? std::atoi(env) : 20;
    const unsigned seed = static_cast<unsigned>(std::random_device{}());
    std::printf("%d kills, seed %u\n", rounds, seed);
    std::mt19937 rng(seed);
    int serial = 0, acknowledged = 0;

    for (int round = 0; round < rounds; ++round) {
        if (round % 10 == 0) std::printf("kill %d of %d, %d writes acknowledged so far\n", round, rounds, acknowledged);
        if (!startServer()) {
            ADD_FAILURE() << "restart " << round << " did not come up: " << readFile(dir.file("out.txt"));
            break;
        }
        // Every fifth kill lands during start-up, when the store writes every record back.
        const bool duringStartUp = round % 5 == 4;
        if (!duringStartUp) connect();
        // The kill lands a random time after a random write was sent: while the adapter handles
        // it, which is when srci.ini is being written, or just after.
        std::atomic<bool> killed{false}, sending{false};
        std::thread killer([&, warmUpMs = static_cast<int>(rng() % 300), delayUs = static_cast<int>(rng() % 40000)] {
            std::this_thread::sleep_for(std::chrono::milliseconds(warmUpMs));
            const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            while (!duringStartUp && !sending && std::chrono::steady_clock::now() < giveUp)
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            std::this_thread::sleep_for(std::chrono::microseconds(delayUs));
            server->signal(SIGKILL);
            killed = true;
        });
        while (!duringStartUp && !killed) {
            Write w = makeWrite(rng, ++serial);
            inFlight = w;
            sending = true;
            try {
                const auto result = client->execute(command(w.command.c_str()), w.params, WaitFor::Final, 5000);
                sending = false;
                if (!result.ok()) break;  // the answer of a dying server
                acked[w.section] = w.keys;
                inFlight.reset();
                ++acknowledged;
            } catch (const std::exception&) {
                break;  // the adapter stopped answering: it was killed
            }
        }
        killer.join();
        client.reset();
        server->kill();
        checkFile(round);
        if (HasFatalFailure()) break;
    }
    // A lost file or a failed restart has already failed the test with its own message.
    std::printf("%d kills, %d writes acknowledged\n", rounds, acknowledged);
    EXPECT_GT(acknowledged, rounds) << "the writer never got going";
    // A last start reads everything back.
    ASSERT_TRUE(startServer());
    checkFile(rounds);
}

}  // namespace
