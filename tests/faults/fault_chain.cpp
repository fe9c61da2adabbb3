// SPDX-License-Identifier: Apache-2.0
#include "fault_chain.h"

#include <sys/shm.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <regex>
#include <sstream>
#include <thread>

#include "arm_channel.h"
#include "process_image.h"

namespace srci_test {

long long nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

FaultChain::FaultChain() {
    ProcessImage::removeStale();
    pnio = std::make_unique<ChildProcess>(PNIO_SIM_BIN, std::vector<std::string>{"--port", "0", "--no-status"},
                                          dir.path(), dir.file("pnio.out"));
    const std::regex listening(R"(listening on [0-9.]+:([0-9]+))");
    eventually(
        [&] {
            std::smatch m;
            const std::string out = readFile(dir.file("pnio.out"));
            if (!std::regex_search(out, m, listening)) return false;
            port = m[1];
            return true;
        },
        10000);
    server =
        std::make_unique<ChildProcess>(SRCI_SERVER_BIN, std::vector<std::string>{}, dir.path(), dir.file("server.out"));
    // The adapter answers once its start-up (power, kinematics) is through.
    eventually([&] { return arm("flags").rfind("ok powered=1", 0) == 0 && imageTelegramState() != 0; }, 40000);
}

FaultChain::~FaultChain() { dropPlc(); }

void FaultChain::connectPlc() {
    dropPlc();
    transport = std::make_unique<srci_plc::TcpTransport>("127.0.0.1", static_cast<uint16_t>(std::stoi(port)), 5000);
    srci_plc::ClientOptions options;
    options.lifesign_timeout_ms = kLifeSignTimeoutMs;
    options.robot_lifesign_timeout_ms = 10000;  // the application fault suspends the robot side
    client = std::make_unique<srci_plc::Client>(*transport, options);
    client->connect();
    commands = std::make_unique<srci_plc::RobotCommands>(*client, 30000);
}

std::string FaultChain::arm(const std::string& request) const {
    return srci_test::armRequest(dir.file("srciport.sock"), request);
}

Joints FaultChain::joints() const {
    Joints j{};
    std::istringstream in(arm("joints"));
    std::string ok;
    in >> ok;
    for (double& v : j) in >> v;
    return j;
}

int FaultChain::imageTelegramState() const {
    const int shm = shmget(ProcessImage::kShmKey, 0, 0);
    if (shm < 0) return -1;
    void* mapped = shmat(shm, nullptr, SHM_RDONLY);
    if (mapped == reinterpret_cast<void*>(-1)) return -1;
    const int state = static_cast<const uint8_t*>(mapped)[ProcessImage::kRobotToPlc + 3];
    shmdt(mapped);
    return state;
}

namespace {

double largestDelta(const Joints& a, const Joints& b) {
    double d = 0;
    for (size_t i = 0; i < a.size(); ++i) d = std::fmax(d, std::fabs(a[i] - b[i]));
    return d;
}

}  // namespace

void FaultChain::cycleFor(int ms) {
    if (client) client->run_for(ms);
    else std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

double FaultChain::cruiseSpeed() {
    const Joints a = joints();
    const long long t = nowMs();
    cycleFor(300);
    return largestDelta(joints(), a) * 1000.0 / static_cast<double>(nowMs() - t);
}

StopTiming FaultChain::watchStop(long long since, bool plcCycles) {
    constexpr long long kStillForMs = 300;
    StopTiming timing;
    Joints last = joints();
    long long stillSince = -1;
    const long long deadline = nowMs() + 20000;
    while (nowMs() < deadline) {
        if (plcCycles && client) client->cycle();
        else std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const long long at = nowMs();
        if (timing.lifesignLostMs < 0 && imageTelegramState() == 165)
            timing.lifesignLostMs = static_cast<double>(at - since);
        const Joints j = joints();
        if (largestDelta(j, last) == 0) {
            if (stillSince < 0) stillSince = at;
            if (at - stillSince >= kStillForMs) {
                timing.standstillMs = static_cast<double>(stillSince - since);
                timing.heldAt = j;
                return timing;
            }
        } else {
            stillSince = -1;
        }
        last = j;
    }
    return timing;
}

}  // namespace srci_test
