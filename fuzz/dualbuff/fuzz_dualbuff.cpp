// SPDX-License-Identifier: Apache-2.0
// Input: a flags byte, then bytes laid over the segment header's plain fields (state, magic,
// version, sizes, active half, fill levels) in that order, then bytes for the start of each half.
// The mutexes are left alone: a process that can scribble over them can do anything anyway.
// A reader (the one already attached, and with flag bit 0 a fresh one, after the object was
// truncated to a length the input picks) drains the damaged segment. Then the segment must still
// carry a new record: written, it is read back whole and unchanged.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "dualbuff_layout.h"
#include "dualbuff_segment.h"
#include "qxutil/dualbuff.h"

namespace {

using namespace qxutil;
using detail::SegmentHeader;

constexpr const char* kChannel = "fuzz";

size_t take(const uint8_t*& data, size_t& size, void* field, size_t n) {
    const size_t k = size < n ? size : n;
    std::memcpy(field, data, k);
    data += k;
    size -= k;
    return k;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setShmScope("fuzz-dualbuff-" + std::to_string(::getpid()));
    std::atexit([] { removeChannel(kChannel); });  // the last input's segment would stay in /dev/shm
    // A header left "initialising" is common in the inputs: one step of waiting for it takes the
    // same path as the full 200 ms.
    detail::setInitialisationWaitSteps(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t flags = data[0];
    ++data;
    --size;
    removeChannel(kChannel);
    DualBuffWriter writer(kChannel);
    DualBuffReader reader(kChannel);
    if (!writer.attached() || !reader.attached()) std::abort();
    for (int i = 0; i < (flags >> 4); ++i) writer.write("record", 6);

    const std::string name = channelShmName(kChannel);
    const int fd = ::shm_open(name.c_str(), O_RDWR, 0);
    if (fd < 0) std::abort();
    void* base = ::mmap(nullptr, DUAL_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (base == MAP_FAILED) std::abort();
    auto* h = static_cast<SegmentHeader*>(base);
    take(data, size, &h->state, sizeof h->state);
    take(data, size, &h->magic, sizeof h->magic);
    take(data, size, &h->version, sizeof h->version);
    take(data, size, &h->header_size, sizeof h->header_size);
    take(data, size, &h->shm_size, sizeof h->shm_size);
    take(data, size, &h->half_size, sizeof h->half_size);
    take(data, size, &h->active, sizeof h->active);
    take(data, size, &h->used[0], sizeof h->used[0]);
    take(data, size, &h->used[1], sizeof h->used[1]);
    uint32_t truncateTo = 0;
    take(data, size, &truncateTo, sizeof truncateTo);
    const size_t half = size / 2;
    std::memcpy(detail::halfAt(base, 0), data, half);
    std::memcpy(detail::halfAt(base, 1), data + half, size - half);

    // One half's worth of room, allocated once: a fresh megabyte per input costs more than the rest.
    static std::vector<unsigned char> out(DUAL_BUFF_MAX_SIZE);
    if (flags & 1) {
        // A fresh attacher on a short object must refuse it, not read past its end.
        if (::ftruncate(fd, truncateTo % (DUAL_SHM_SIZE + 1)) != 0) std::abort();
        DualBuffReader late(kChannel);
        if (late.read(out.data()) > static_cast<int>(DUAL_BUFF_MAX_SIZE)) std::abort();
        if (::ftruncate(fd, DUAL_SHM_SIZE) != 0) std::abort();
    }
    for (int i = 0; i < 3; ++i) {
        const int n = reader.read(out.data());
        if (n < 0 || n > static_cast<int>(DUAL_BUFF_MAX_SIZE)) std::abort();
    }
    if (writer.write("probe", 5) == 0) {
        const int n = reader.read(out.data());
        if (n != 5 || std::memcmp(out.data(), "probe", 5) != 0) {
            std::fprintf(stderr, "a record written after the damage read back as %d bytes\n", n);
            std::abort();
        }
    }
    ::munmap(base, DUAL_SHM_SIZE);
    ::close(fd);
    return 0;
}
