// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>

#include <mutex>
#include <string>

#include "qxutil/dualbuff.h"

namespace qxutil {
namespace {

std::mutex& scopeMutex() {
    static std::mutex m;
    return m;
}

std::string& scopeValue() {
    static std::string scope;
    return scope;
}

void appendSanitised(std::string& out, const std::string& part) {
    for (char c : part) {
        out.push_back(c == '/' ? '_' : c);
    }
}

}  // namespace

void setShmScope(const std::string& scope) {
    std::lock_guard<std::mutex> lock(scopeMutex());
    scopeValue() = scope;
}

std::string shmScope() {
    std::lock_guard<std::mutex> lock(scopeMutex());
    return scopeValue();
}

std::string channelShmName(const char* name) {
    std::string out = "/qxdual.";
    std::string scope = shmScope();
    if (!scope.empty()) {
        appendSanitised(out, scope);
        out.push_back('.');
    }
    appendSanitised(out, name ? std::string(name) : std::string());
    return out;
}

bool removeChannel(const char* name) { return shm_unlink(channelShmName(name).c_str()) == 0; }

}  // namespace qxutil
