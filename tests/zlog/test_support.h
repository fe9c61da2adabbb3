// SPDX-License-Identifier: Apache-2.0
// Shared fixtures for the logging tests: private shm scopes, channel reads, and the scratch
// directories and file reads of the shared test support.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "child_process.h"
#include "qxutil/dualbuff.h"

namespace zlog_test {

using srci_test::readFile;
using srci_test::TempDir;

// Puts the process into a shm scope of its own for the lifetime of the object and unlinks
// the listed channels (under that scope) at the end.
class ShmScope {
public:
    explicit ShmScope(std::initializer_list<const char*> channels);
    ~ShmScope();
    ShmScope(const ShmScope&) = delete;
    ShmScope& operator=(const ShmScope&) = delete;

private:
    std::string scope_;
    std::vector<std::string> channels_;
};

// Everything pending on the channel, taken in one read.
std::string drain(qxutil::DualBuffReader& reader);
std::vector<std::string> splitLines(const std::string& text);

}  // namespace zlog_test
