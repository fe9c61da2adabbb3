// SPDX-License-Identifier: Apache-2.0
// One request on the simulated arm's control channel (srciport.sock), as srciport-ctl sends it;
// the answer line without its newline, or "" when nobody listens.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace srci_test {

inline std::string armRequest(const std::string& socketPath, const std::string& request) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::snprintf(addr.sun_path, sizeof addr.sun_path, "%s", socketPath.c_str());
    std::string answer;
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
        const std::string line = request + "\n";
        if (write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size()))
            for (char c; read(fd, &c, 1) == 1 && c != '\n';) answer += c;
    }
    close(fd);
    return answer;
}

}  // namespace srci_test
