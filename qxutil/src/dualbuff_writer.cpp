// SPDX-License-Identifier: Apache-2.0
#include "dualbuff_segment.h"
#include "qxutil/dualbuff.h"

namespace qxutil {

DualBuffWriter::DualBuffWriter(const char* name) : seg_(detail::Segment::attach(name)) {}

DualBuffWriter::~DualBuffWriter() = default;

int DualBuffWriter::write(const void* data, size_t len) {
    if (len == 0) {
        return 0;
    }
    if (seg_ && data != nullptr && seg_->append(data, len) == 0) {
        return 0;
    }
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return -1;
}

uint64_t DualBuffWriter::dropped() const { return dropped_.load(std::memory_order_relaxed); }

bool DualBuffWriter::attached() const { return seg_ != nullptr; }

}  // namespace qxutil
