// SPDX-License-Identifier: Apache-2.0
#include "dualbuff_segment.h"
#include "qxutil/dualbuff.h"

namespace qxutil {

DualBuffReader::DualBuffReader(const char* name) : seg_(detail::Segment::attach(name)) {}

DualBuffReader::~DualBuffReader() = default;

int DualBuffReader::read(void* buf) {
    if (!seg_ || buf == nullptr) {
        return 0;
    }
    return static_cast<int>(seg_->drain(buf));
}

bool DualBuffReader::attached() const { return seg_ != nullptr; }

}  // namespace qxutil
