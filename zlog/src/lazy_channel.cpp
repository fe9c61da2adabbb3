// SPDX-License-Identifier: Apache-2.0
#include "lazy_channel.h"

namespace zlog::detail {

qxutil::DualBuffWriter& LazyChannel::writer() {
    qxutil::DualBuffWriter* w = current_.load(std::memory_order_acquire);
    if (w) {
        return *w;
    }
    std::lock_guard<std::mutex> lock(attachMutex_);
    w = current_.load(std::memory_order_acquire);
    if (!w) {
        owned_.push_back(std::make_unique<qxutil::DualBuffWriter>(name_));
        w = owned_.back().get();
        current_.store(w, std::memory_order_release);
    }
    return *w;
}

void LazyChannel::reopen() {
    std::lock_guard<std::mutex> lock(attachMutex_);
    current_.store(nullptr, std::memory_order_release);
}

}  // namespace zlog::detail
