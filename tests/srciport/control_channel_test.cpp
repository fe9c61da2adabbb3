// SPDX-License-Identifier: Apache-2.0
#include "sim_fixture.h"

#include "arm_channel.h"
#include "child_process.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

using namespace srciport;
namespace fs = std::filesystem;

namespace {

sockaddr_un unixAddress(const std::string& path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::snprintf(addr.sun_path, sizeof addr.sun_path, "%s", path.c_str());
    return addr;
}

// Connects, sends raw bytes, reads `lines` answer lines.
std::vector<std::string> exchange(const std::string& path, const std::string& bytes, int lines) {
    std::vector<std::string> out;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un addr = unixAddress(path);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) == 0 &&
        ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size())) {
        std::string cur;
        for (char c; static_cast<int>(out.size()) < lines && ::recv(fd, &c, 1, 0) == 1;) {
            if (c == '\n') out.push_back(std::exchange(cur, {}));
            else cur.push_back(c);
        }
    }
    ::close(fd);
    return out;
}

}  // namespace

using ControlRequestTest = SimArmTest;

TEST_F(ControlRequestTest, RequestsChangeAndReportState) {
    for (const std::string request : {"estop on", "pstop on", "app on", "profinet down", "error 0xF0018"})
        EXPECT_EQ(arm.request(request), "ok " + request);
    stat.poll();
    EXPECT_EQ(stat.isEStop, 1);
    EXPECT_EQ(stat.isPStop, 1);
    EXPECT_EQ(stat.isAppConnected, 1);
    EXPECT_NE(stat.profinet_state, SRCIPORT_PROFINET_RUNNING);
    EXPECT_EQ(stat.errCode, 0xF0018);
    EXPECT_EQ(stat.errType, -1);
    const std::string flags = arm.request("flags");
    EXPECT_EQ(flags.rfind("ok ", 0), 0u);
    for (const char* part :
         {"estop=1", "pstop=1", "app=1", "err=0xF0018", "errtype=-1", "traj=-1", "powered=0", "inst_done=1"})
        EXPECT_NE(flags.find(part), std::string::npos) << part << " in " << flags;
    // joints / pose / queue answer with numbers
    double q[6];
    const std::string j = arm.request("joints");
    ASSERT_EQ(std::sscanf(j.c_str(), "ok %lf %lf %lf %lf %lf %lf", &q[0], &q[1], &q[2], &q[3], &q[4], &q[5]), 6);
    EXPECT_EQ(q[4], 90.0);
    EXPECT_EQ(arm.request("pose").rfind("ok ", 0), 0u);
    EXPECT_EQ(arm.request("queue").rfind("ok active=0 queued=0", 0), 0u);
    EXPECT_EQ(arm.request("error 66"), "ok error 0x42");
    EXPECT_EQ(arm.request("  estop   off  "), "ok estop off");
    EXPECT_EQ(arm.request("reset"), "ok reset");
    stat.poll();
    EXPECT_EQ(stat.isPStop, 0);
    EXPECT_EQ(stat.errCode, 0);
    EXPECT_EQ(stat.profinet_state, SRCIPORT_PROFINET_RUNNING);
}

TEST_F(ControlRequestTest, BadRequestsAreErrors) {
    for (const char* bad : {"", "   ", "bogus", "estop", "estop maybe", "estop on off", "error", "error 0x", "error -5",
                            "error 99999999999999999999", "error 12abc", "power-delay -1", "power-delay 600001",
                            "profinet sideways", "joints 1"}) {
        const std::string a = arm.request(bad);
        EXPECT_EQ(a.rfind("error: ", 0), 0u) << "'" << bad << "' -> " << a;
    }
    EXPECT_EQ(arm.request("help").rfind("ok ", 0), 0u);
    stat.poll();
    EXPECT_EQ(stat.errCode, 0);
}

TEST_F(ControlRequestTest, SocketServesLinesAndSurvivesJunk) {
    const srci_test::TempDir dir;
    const fs::path old = fs::current_path();
    fs::current_path(dir.path());
    // a stale socket from an earlier run is replaced
    {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const sockaddr_un addr = unixAddress("srciport.sock");
        ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr), 0);
        ::close(fd);
    }
    const mode_t oldMask = ::umask(0);
    const bool started = arm.startControlChannel("srciport.sock");
    ::umask(oldMask);
    ASSERT_TRUE(started);
    struct stat st {};
    ASSERT_EQ(::lstat("srciport.sock", &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0600u) << "owner only even under umask 0";
    EXPECT_FALSE(arm.startControlChannel("srciport.sock")) << "one channel at a time";

    auto a = exchange("srciport.sock", "flags\napp on\r\n", 2);
    ASSERT_EQ(a.size(), 2u);
    EXPECT_EQ(a[0].rfind("ok powered=0", 0), 0u);
    EXPECT_EQ(a[1], "ok app on");
    stat.poll();
    EXPECT_EQ(stat.isAppConnected, 1);

    // an over-long line is one error; the connection keeps working afterwards
    a = exchange("srciport.sock", std::string(5000, 'x') + "\nhelp\n", 2);
    ASSERT_EQ(a.size(), 2u);
    EXPECT_EQ(a[0], "error: line too long");
    EXPECT_EQ(a[1].rfind("ok ", 0), 0u);
    a = exchange("srciport.sock", std::string("es\0top on\n\xff\xfe\n", 13) + "joints\n", 3);
    ASSERT_EQ(a.size(), 3u);
    EXPECT_EQ(a[0], "error: bad characters");
    EXPECT_EQ(a[1], "error: bad characters");
    EXPECT_EQ(a[2].rfind("ok ", 0), 0u);
    // a client that disconnects mid-line does not disturb the next one
    exchange("srciport.sock", "estop o", 0);
    EXPECT_EQ(srci_test::armRequest("srciport.sock", "estop on"), "ok estop on");

    const std::string ctl = SRCIPORT_CTL_PATH;
    EXPECT_EQ(std::system((ctl + " estop off > ctl.out").c_str()), 0);
    EXPECT_EQ(srci_test::readFile("ctl.out"), "ok estop off\n");
    EXPECT_NE(std::system((ctl + " nonsense > /dev/null").c_str()), 0);
    EXPECT_EQ(std::system((ctl + " --help > /dev/null").c_str()), 0);
    EXPECT_EQ(cmd.exitProtect(0), 0) << "the stop input was released through the channel";

    arm.stopControlChannel();
    EXPECT_FALSE(fs::exists("srciport.sock"));
    // a regular file in the way is left alone and the channel does not start
    std::ofstream("srciport.sock") << "not a socket";
    EXPECT_FALSE(arm.startControlChannel("srciport.sock"));
    EXPECT_TRUE(fs::is_regular_file("srciport.sock"));
    fs::current_path(old);
}
