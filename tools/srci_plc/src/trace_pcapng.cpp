// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/trace_pcapng.hpp"

#include <algorithm>
#include <string>

namespace srci_plc {

namespace {

constexpr uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr uint32_t kInterface = 1;
constexpr uint32_t kSimplePacket = 3;
constexpr uint32_t kEnhancedPacket = 6;
constexpr uint32_t kMagic = 0x1A2B3C4D;
constexpr uint32_t kMagicSwapped = 0x4D3C2B1A;

struct Interface {
    uint32_t link_type = 0;
    uint32_t snap_len = 0;
    uint64_t units_per_second = 1000000;
};

class Reader {
public:
    Reader(std::istream& in, const std::function<void(const CapturedPacket&)>& each) : in_(in), each_(each) {}

    void run() {
        uint8_t head[8];
        bool first = true;
        while (read_head(head, first)) {
            const uint32_t type = first ? raw32(head) : word(head);
            if (first && type != kSectionHeader)
                fail("not a pcapng file (it does not start with a section header block)");
            if (type == kSectionHeader) begin_section(head);
            const uint32_t total = word(head + 4);
            if (total < 12 || total % 4 != 0 || total > kMaxPcapngBlock)
                fail("block length " + std::to_string(total) + " is impossible");
            body_.resize(total - 8);
            if (!in_.read(reinterpret_cast<char*>(body_.data()), static_cast<std::streamsize>(body_.size())))
                fail("file ends inside a block of " + std::to_string(total) + " bytes (truncated)");
            if (word(&body_[body_.size() - 4]) != total)
                fail("block length at the end of the block differs from the one at its start");
            body_.resize(body_.size() - 4);
            if (type == kSectionHeader) section_header();
            else if (type == kInterface) interface();
            else if (type == kEnhancedPacket) enhanced_packet();
            else if (type == kSimplePacket) simple_packet();
            offset_ += total;
            first = false;
        }
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw TraceFileError("pcapng block at byte " + std::to_string(offset_) + ": " + what);
    }
    bool read_head(uint8_t* head, bool first) {
        in_.read(reinterpret_cast<char*>(head), 8);
        if (in_.gcount() == 0 && in_.eof()) {
            if (first) throw TraceFileError("the file is empty");
            return false;
        }
        if (in_.gcount() != 8) fail("file ends inside a block header (truncated)");
        return true;
    }
    static uint32_t raw32(const uint8_t* p) {
        return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
    }
    uint32_t word(const uint8_t* p) const {
        const uint32_t v = raw32(p);
        return swapped_ ? __builtin_bswap32(v) : v;
    }
    uint16_t half(const uint8_t* p) const {
        const uint16_t v = static_cast<uint16_t>(p[0] | p[1] << 8);
        return swapped_ ? __builtin_bswap16(v) : v;
    }
    void begin_section(const uint8_t* head) {
        // The byte-order magic follows the length; peek it to learn how to read the length.
        const int c0 = in_.peek();
        if (c0 == EOF) fail("file ends inside the section header (truncated)");
        uint8_t magic[4];
        const auto pos = in_.tellg();
        in_.read(reinterpret_cast<char*>(magic), 4);
        if (in_.gcount() != 4) fail("file ends inside the section header (truncated)");
        in_.seekg(pos);
        const uint32_t m = raw32(magic);
        if (m == kMagic) swapped_ = false;
        else if (m == kMagicSwapped) swapped_ = true;
        else fail("section header has no valid byte-order magic");
        (void)head;
        interfaces_.clear();
    }
    void section_header() {
        if (body_.size() < 16) fail("section header shorter than 28 bytes");
        if (half(&body_[4]) != 1) fail("pcapng major version " + std::to_string(half(&body_[4])) + " is not supported");
    }
    void interface() {
        if (body_.size() < 8) fail("interface description shorter than 20 bytes");
        Interface i;
        i.link_type = half(&body_[0]);
        i.snap_len = word(&body_[4]);
        for (size_t pos = 8; pos + 4 <= body_.size();) {
            const uint16_t code = half(&body_[pos]);
            const uint16_t len = half(&body_[pos + 2]);
            pos += 4;
            if (code == 0) break;
            if (len > body_.size() - pos) fail("interface option overruns its block");
            if (code == 9 && len >= 1) {  // if_tsresol
                const uint8_t r = body_[pos];
                const unsigned exp = r & 0x7F;
                if ((r & 0x80) ? exp > 63 : exp > 19) fail("timestamp resolution option out of range");
                uint64_t units = 1;
                for (unsigned k = 0; k < exp; ++k) units *= (r & 0x80) ? 2 : 10;
                i.units_per_second = units;
            }
            pos += (len + 3u) & ~3u;
        }
        interfaces_.push_back(i);
    }
    void enhanced_packet() {
        if (body_.size() < 20) fail("enhanced packet block shorter than 32 bytes");
        const uint32_t id = word(&body_[0]);
        if (id >= interfaces_.size())
            fail("packet names interface " + std::to_string(id) + ", which was not described");
        const uint32_t captured = word(&body_[12]);
        if (captured > body_.size() - 20) fail("captured length " + std::to_string(captured) + " overruns its block");
        const uint64_t stamp = uint64_t{word(&body_[4])} << 32 | word(&body_[8]);
        deliver(interfaces_[id], stamp, &body_[20], captured);
    }
    void simple_packet() {
        if (body_.size() < 4) fail("simple packet block shorter than 16 bytes");
        if (interfaces_.empty()) fail("simple packet before any interface description");
        const uint32_t original = word(&body_[0]);
        const size_t captured = std::min<size_t>(original, body_.size() - 4);
        deliver(interfaces_[0], 0, &body_[4], captured);
    }
    void deliver(const Interface& i, uint64_t stamp, const uint8_t* data, size_t size) {
        CapturedPacket p;
        p.link_type = i.link_type;
        // Whole seconds and the remainder separately, so large stamps do not overflow.
        const uint64_t per = i.units_per_second;
        p.time_us =
            stamp / per * 1000000 + static_cast<uint64_t>(static_cast<unsigned __int128>(stamp % per) * 1000000 / per);
        p.data.assign(data, data + size);
        each_(p);
    }

    std::istream& in_;
    const std::function<void(const CapturedPacket&)>& each_;
    std::vector<uint8_t> body_;
    std::vector<Interface> interfaces_;
    bool swapped_ = false;
    uint64_t offset_ = 0;
};

}  // namespace

void read_pcapng(std::istream& in, const std::function<void(const CapturedPacket&)>& each) { Reader(in, each).run(); }

}  // namespace srci_plc
