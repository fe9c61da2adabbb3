// SPDX-License-Identifier: Apache-2.0
#include "sequence_rx.h"

#include <cstring>

#include "log_queue.h"
#include "wire_codec.h"

namespace srl {
namespace {

constexpr uint8_t kComplete = 0x01;
constexpr uint8_t kReset = 0x02;
constexpr uint8_t kClear = 0x04;
constexpr uint16_t kFragmentHeader = 8;

namespace code {
constexpr uint16_t CmdIdRange = 0x9A03, FragmentLength = 0x9A04, SequenceLength = 0x9A07, ActionByte = 0x9A08,
                   PayloadPointer = 0x9A10;
}

void restart(RxBuffer& b, bool is_new) {
    b.active = true;
    b.is_new = is_new;
    b.length = 0;
}

void handle_fragment(SequenceRx& rx, const uint8_t* f, FragmentSink& sink) {
    const uint16_t id = be16(f);
    const uint8_t action = f[3];
    const uint16_t pointer = be16(f + 4);
    const uint16_t n = be16(f + 6);
    const uint8_t* bytes = f + kFragmentHeader;

    if (id == 0) {
        logf("srl: fragment with CmdID 0 ignored");
        return;
    }
    if (id > sink.length_acr() || id > kMaxAcr) {
        if (action & kComplete) sink.reject(id, code::CmdIdRange);
        return;
    }
    RxBuffer& b = rx.buffers[id];
    if (action & kReset) {
        if (pointer != 0) {
            b.active = false;
            sink.reject(id, code::ActionByte);
            return;
        }
        sink.command_reset(id);
        restart(b, true);
    } else if ((action & kClear) && pointer == 0) {
        restart(b, !sink.command_live(id));
    } else if (!b.active) {
        if (pointer != 0) {
            sink.reject(id, code::PayloadPointer);
            return;
        }
        restart(b, !sink.command_live(id));
    }
    if (pointer != b.length) {
        b.active = false;
        sink.reject(id, code::PayloadPointer);
        return;
    }
    for (uint16_t i = 0; i < n; ++i) {
        const uint32_t pos = uint32_t{pointer} + i;
        if (pos < kMaxCommandPayload) b.data[pos] = bytes[i];
    }
    b.length = uint32_t{pointer} + n;
    if (action & kComplete) {
        const uint16_t len = static_cast<uint16_t>(b.length < kMaxCommandPayload ? b.length : kMaxCommandPayload);
        b.active = false;
        sink.payload_complete(id, b.data, len, b.is_new);
    }
}

}  // namespace

bool sequence_process(SequenceRx& rx, const uint8_t* tel, uint16_t seq_off, uint16_t end, FragmentSink& sink) {
    if (seq_off + 4 > end) return false;
    const uint16_t payload = be16(tel + seq_off + 2);
    const uint16_t start = static_cast<uint16_t>(seq_off + 4);
    if (payload > end - start) {
        logf("srl: sequence payload length %u exceeds the telegram (0x%04X), content discarded", payload,
             code::SequenceLength);
        return false;
    }
    // First pass: the fragment chain must exactly fill the announced length.
    uint32_t off = 0;
    while (off < payload) {
        if (payload - off < kFragmentHeader ||
            kFragmentHeader + uint32_t{be16(tel + start + off + 6)} > payload - off) {
            logf("srl: fragment length inconsistent (0x%04X), content discarded", code::FragmentLength);
            return false;
        }
        off += kFragmentHeader + be16(tel + start + off + 6);
    }
    for (off = 0; off < payload;) {
        const uint8_t* f = tel + start + off;
        handle_fragment(rx, f, sink);
        off += kFragmentHeader + be16(f + 6);
    }
    return true;
}

void sequence_clear_buffers(SequenceRx& rx) {
    for (RxBuffer& b : rx.buffers) b.active = false;
}

}  // namespace srl
