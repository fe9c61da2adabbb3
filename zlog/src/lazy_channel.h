// SPDX-License-Identifier: Apache-2.0
// A channel writer that is attached on first use, so that merely linking the log client
// creates no shared memory, and a process picks up the shm scope in force when it logs.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "qxutil/dualbuff.h"

namespace zlog::detail {

class LazyChannel {
public:
    explicit LazyChannel(const char* name) : name_(name) {}
    // Returns the current writer, attaching it if needed. Never null.
    qxutil::DualBuffWriter& writer();
    // The next writer() attaches anew (under the shm scope then in force).
    void reopen();

private:
    const char* name_;
    std::atomic<qxutil::DualBuffWriter*> current_{nullptr};
    std::mutex attachMutex_;
    // Replaced writers are kept: another thread may still be inside write() on one.
    std::vector<std::unique_ptr<qxutil::DualBuffWriter>> owned_;
};

}  // namespace zlog::detail
