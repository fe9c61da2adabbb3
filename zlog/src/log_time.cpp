// SPDX-License-Identifier: Apache-2.0
#include <time.h>

#include <string>

#include "zlog/zlogsvr.h"

namespace zlog {

std::string get_time() {
    char buf[32] = {};
    time_t now = time(nullptr);
    struct tm local {};
    if (localtime_r(&now, &local) == nullptr) {
        return std::string();
    }
    size_t n = strftime(buf, sizeof buf, "%Y\\%m\\%d %T ", &local);
    return std::string(buf, n);
}

}  // namespace zlog
