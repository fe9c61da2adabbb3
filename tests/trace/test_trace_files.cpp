// SPDX-License-Identifier: Apache-2.0
// The trace file on its own: what the recorder writes the reader reads back, damaged files are
// refused with the reason and never read past, rotation keeps exactly two readable files, and
// srci-plc trace prints the checked-in short capture exactly as its golden text.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>

#include "pnio_sim/trace_pcapng.hpp"
#include "pnio_sim/trace_recorder.hpp"
#include "srci_plc/byte_order.hpp"
#include "srci_plc/plc_telegram.hpp"
#include "srci_plc/trace_events.hpp"
#include "srci_plc/trace_format.hpp"
#include "srci_plc/trace_pcapng.hpp"
#include "srci_plc/trace_udp.hpp"
#include "telegram_pairs.hpp"
#include "trace_command.hpp"

namespace {

namespace fmt = srci_plc::trace_format;

std::vector<uint8_t> valid_file() {
    std::vector<uint8_t> f;
    pnio_sim::trace::append_section_header(f, "test");
    pnio_sim::trace::append_interface(f);
    uint8_t tel[256] = {0x25, 0x07};
    pnio_sim::trace::append_udp_packet(f, 1'700'000'000'123'456, fmt::kPlcPort, fmt::kRobotPort, tel, 256, 1);
    pnio_sim::trace::append_udp_packet(f, 1'700'000'000'123'460, fmt::kRobotPort, fmt::kPlcPort, tel, 256, 2);
    return f;
}

struct ReadResult {
    std::vector<srci_plc::CapturedPacket> packets;
    std::string error;  // empty: read to the end
};

ReadResult read_bytes(const std::vector<uint8_t>& bytes) {
    ReadResult r;
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    try {
        srci_plc::read_pcapng(in, [&](const srci_plc::CapturedPacket& p) { r.packets.push_back(p); });
    } catch (const srci_plc::TraceFileError& e) {
        r.error = e.what();
    }
    return r;
}

void put32(std::vector<uint8_t>& f, size_t at, uint32_t v) { std::memcpy(&f[at], &v, 4); }

TEST(TraceFile, WhatTheRecorderWritesTheReaderReadsBack) {
    const ReadResult r = read_bytes(valid_file());
    ASSERT_EQ(r.error, "");
    ASSERT_EQ(r.packets.size(), 2u);
    EXPECT_EQ(r.packets[0].time_us, 1'700'000'000'123'456u);
    EXPECT_EQ(r.packets[1].time_us, 1'700'000'000'123'460u);
    srci_plc::UdpDatagram d;
    std::string why;
    ASSERT_TRUE(
        srci_plc::udp_in_frame(r.packets[1].data.data(), r.packets[1].data.size(), r.packets[1].link_type, d, why))
        << why;
    EXPECT_EQ(d.src_port, fmt::kRobotPort);
    EXPECT_EQ(d.dst_port, fmt::kPlcPort);
    ASSERT_EQ(d.size, 256u);
    EXPECT_EQ(d.payload[1], 0x07);
}

TEST(TraceFile, FramesWhoseLengthsDoNotFitAreNotTelegrams) {
    const srci_plc::CapturedPacket good = read_bytes(valid_file()).packets.at(0);
    const struct {
        const char* what;
        size_t at;
        uint8_t value;
    } cases[] = {{"not IPv4", 12, 0x86},
                 {"IPv4 total beyond the frame", 16, 0x02},
                 {"header length below 20", 14, 0x44},
                 {"not UDP", 23, 6},
                 {"a fragment", 20, 0x20},
                 {"UDP length beyond IPv4", 38, 0x02},
                 {"UDP length below 8", 39, 0x04}};
    for (const auto& c : cases) {
        std::vector<uint8_t> frame = good.data;
        frame[c.at] = c.value;
        if (c.at == 39) frame[38] = 0;
        srci_plc::UdpDatagram d;
        std::string why;
        EXPECT_FALSE(srci_plc::udp_in_frame(frame.data(), frame.size(), good.link_type, d, why)) << c.what;
        EXPECT_FALSE(why.empty()) << c.what;
    }
}

TEST(TraceFile, DamagedFilesAreRefusedWithTheReason) {
    const std::vector<uint8_t> good = valid_file();
    uint32_t shb_len, idb_len;
    std::memcpy(&shb_len, &good[4], 4);
    std::memcpy(&idb_len, &good[shb_len + 4], 4);
    const size_t epb = shb_len + idb_len;
    struct Case {
        const char* what;
        std::function<void(std::vector<uint8_t>&)> damage;
        const char* reason;
        size_t packets_before;
    };
    const std::vector<Case> cases = {
        {"empty", [](auto& f) { f.clear(); }, "empty", 0},
        {"not pcapng", [](auto& f) { f[0] = 0xD4; }, "not a pcapng file", 0},
        {"byte-order magic", [](auto& f) { f[8] = 0; }, "byte-order magic", 0},
        {"cut in a block header", [&](auto& f) { f.resize(epb + 4); }, "inside a block header", 0},
        {"cut in the last packet", [](auto& f) { f.resize(f.size() - 3); }, "truncated", 1},
        {"length not a multiple of 4", [&](auto& f) { put32(f, epb + 4, 333); }, "impossible", 0},
        {"length below a block", [&](auto& f) { put32(f, epb + 4, 8); }, "impossible", 0},
        {"length of 4 GiB", [&](auto& f) { put32(f, epb + 4, 0xFFFFFFF0); }, "impossible", 0},
        {"trailer disagrees", [&](auto& f) { put32(f, epb + 332 - 4, 336); }, "differs", 0},
        {"captured length overruns", [&](auto& f) { put32(f, epb + 20, 400); }, "overruns its block", 0},
        {"unknown interface", [&](auto& f) { put32(f, epb + 8, 5); }, "interface 5", 0},
        {"interface option overruns", [&](auto& f) { f[shb_len + 16 + 2] = 0xF0; }, "option overruns", 0},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> bad = good;
        c.damage(bad);
        const ReadResult r = read_bytes(bad);
        EXPECT_NE(r.error.find(c.reason), std::string::npos) << c.what << ": " << r.error;
        EXPECT_EQ(r.packets.size(), c.packets_before) << c.what;
    }
}

TEST(TraceFile, RotatedPathKeepsTheExtension) {
    const std::pair<const char*, const char*> cases[] = {{"trace.pcapng", "trace.1.pcapng"},
                                                         {"/tmp/a.b/trace", "/tmp/a.b/trace.1"},
                                                         {"dir/x.y.pcapng", "dir/x.y.1.pcapng"},
                                                         {".hidden", ".hidden.1"}};
    for (const auto& [in, out] : cases) EXPECT_EQ(pnio_sim::TraceRecorder::rotated_path(in), out) << in;
}

std::vector<srci_plc::CapturedPacket> read_path(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<srci_plc::CapturedPacket> packets;
    srci_plc::read_pcapng(in, [&](const srci_plc::CapturedPacket& p) { packets.push_back(p); });
    return packets;
}

uint16_t marker(const srci_plc::CapturedPacket& p) {
    return static_cast<uint16_t>(p.data[42 + 2] << 8 | p.data[42 + 3]);  // after Ethernet/IPv4/UDP headers
}

TEST(TraceFile, RotationKeepsTwoReadableFilesWithTheNewestExchanges) {
    char dir[] = "/tmp/trace_rotation_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string path = std::string(dir) + "/t.pcapng";
    constexpr uint64_t kMax = 64 * 1024;
    constexpr int kExchanges = 600;  // about 400 KB: several rotations
    {
        pnio_sim::TraceRecorder rec(path, kMax, [](const std::string& s) {
            if (s.find("previous part kept as") == std::string::npos) ADD_FAILURE() << s;
        });
        uint8_t a[256] = {}, b[256] = {};
        for (int i = 0; i < kExchanges; ++i) {
            a[2] = b[2] = static_cast<uint8_t>(i >> 8);
            a[3] = b[3] = static_cast<uint8_t>(i);
            const auto now = std::chrono::system_clock::now();
            rec.on_exchange({a, b, now, now});
        }
    }
    const auto current = read_path(path);
    const auto older = read_path(pnio_sim::TraceRecorder::rotated_path(path));
    ASSERT_FALSE(current.empty());
    ASSERT_FALSE(older.empty());
    std::ifstream c(path, std::ios::ate), o(pnio_sim::TraceRecorder::rotated_path(path), std::ios::ate);
    EXPECT_LE(static_cast<uint64_t>(c.tellg()), kMax);
    EXPECT_LE(static_cast<uint64_t>(o.tellg()), kMax);
    EXPECT_EQ(marker(current.back()), kExchanges - 1) << "the newest exchange is in the current file";
    EXPECT_EQ(marker(older.back()) + 1, marker(current.front())) << "nothing lost between the two files";
    EXPECT_EQ(current.size() % 2, 0u) << "both telegrams of an exchange stay in one file";
    std::remove(path.c_str());
    std::remove(pnio_sim::TraceRecorder::rotated_path(path).c_str());
    EXPECT_EQ(rmdir(dir), 0) << "no third file was left behind";
}

// A robot message reaches the trace once, whatever the robot repeats, and the PLC's
// acknowledgement shows as a parameter update; content under an unchanged ACK is not read, as the
// PLC would not read it either. A telegram that cannot be one is reported as malformed, either way.
TEST(TraceEvents, ARobotMessageIsReportedOnceWithItsCodeAndText) {
    const auto plc = [](uint16_t seq, uint8_t action, uint8_t msg_id, uint8_t par_seq) {
        const std::vector<uint8_t> read_messages = {0x23,   0x29, 2, static_cast<uint8_t>(par_seq << 4 | 3),
                                                    msg_id, 1,    20};
        return telegram_pairs::plc(seq, {srci_plc::Fragment{1, action, 0, read_messages}}, 0);
    };
    const auto robot = [](uint16_t ack, uint8_t msg_id, uint8_t par_seq) {
        std::vector<uint8_t> message(166, 0);
        message[0] = msg_id, message[1] = 1;
        if (msg_id) {
            message[11] = 28;
            srci_plc::put_u32be(&message[12], 0x8F11);
            std::memcpy(&message[16], "boom", 4);
        }
        telegram_pairs::Robot r;
        r.tn = 0;
        r.ack = ack;
        r.fragments = {telegram_pairs::response(1, static_cast<uint8_t>(par_seq << 4 | 4), 0, 0, message)};
        return r.bytes();
    };
    std::vector<uint8_t> file;
    pnio_sim::trace::append_section_header(file, "test");
    pnio_sim::trace::append_interface(file);
    const std::pair<bool, std::vector<uint8_t>> telegrams[] = {
        {true, plc(1, 0x03, 0, 1)},          {false, robot(1, 7, 1)},
        {true, plc(1, 0x03, 0, 1)},          {false, robot(1, 8, 1)},  // same ACK: the PLC does not look again
        {true, plc(2, 0x05, 7, 2)},          {false, robot(2, 7, 2)},  // new ACK, the message already seen
        {true, std::vector<uint8_t>(10, 0)}, {false, std::vector<uint8_t>(10, 0)}};  // too short for telegrams
    uint16_t id = 0;
    for (const auto& [from_plc, bytes] : telegrams) {
        pnio_sim::trace::append_udp_packet(file, 1000u + id, from_plc ? fmt::kPlcPort : fmt::kRobotPort,
                                           from_plc ? fmt::kRobotPort : fmt::kPlcPort, bytes.data(), bytes.size(), id);
        ++id;
    }
    srci_plc::TraceDecoder decoder;
    std::vector<srci_plc::TraceEvent> events;
    for (const auto& p : read_bytes(file).packets) decoder.feed(p, events);
    decoder.finish(events);
    std::string kinds;
    for (const auto& e : events) kinds += std::string(srci_plc::trace_event_kind_name(e.kind)) + " ";
    EXPECT_EQ(kinds, "command link message answer update answer malformed malformed ");
    EXPECT_NE(events[events.size() - 2].text.find("PLC telegram"), std::string::npos) << events[events.size() - 2].text;
    EXPECT_NE(events.back().text.find("robot telegram"), std::string::npos) << events.back().text;
    for (const auto& e : events)
        if (e.kind == srci_plc::TraceEventKind::Message) {
            EXPECT_EQ(e.code, 0x8F11u);
            EXPECT_EQ(e.severity, 28);
            EXPECT_EQ(e.text, "boom");
        }
}

TEST(TraceCommand, PrintsTheShortCaptureAsItsGoldenText) {
    std::ostringstream out, err;
    ASSERT_EQ(srci_plc::cli::run_trace_command({TRACE_DATA_DIR "/short.pcapng"}, false, out, err), 0) << err.str();
    std::ifstream golden(TRACE_DATA_DIR "/short.trace.txt");
    std::stringstream expected;
    expected << golden.rdbuf();
    EXPECT_EQ(out.str(), expected.str());
}

// A file of the given bytes, removed when it goes out of scope.
class TempTrace {
public:
    explicit TempTrace(const std::vector<uint8_t>& bytes) {
        const int fd = mkstemp(path_);
        EXPECT_GE(fd, 0);
        EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(fd);
    }
    ~TempTrace() { std::remove(path_); }
    TempTrace(const TempTrace&) = delete;
    TempTrace& operator=(const TempTrace&) = delete;
    const char* path() const { return path_; }

private:
    char path_[32] = "/tmp/trace_test_XXXXXX";
};

TEST(TraceCommand, AClockSteppingBackPrintsBeforeTheStart) {
    std::vector<uint8_t> f;
    pnio_sim::trace::append_section_header(f, "test");
    pnio_sim::trace::append_interface(f);
    const uint8_t connected[] = {fmt::kEventClientConnected, 'p', 'l', 'c'};
    pnio_sim::trace::append_udp_packet(f, 1'700'000'000'500'000, fmt::kEventPort, fmt::kEventPort, connected, 4, 1);
    pnio_sim::trace::append_udp_packet(f, 1'700'000'000'250'000, fmt::kEventPort, fmt::kEventPort, connected, 4, 2);
    const TempTrace file(f);
    for (const bool json : {false, true}) {
        std::ostringstream out, err;
        ASSERT_EQ(srci_plc::cli::run_trace_command({file.path()}, json, out, err), 0) << err.str();
        EXPECT_NE(out.str().find(json ? "\"t\":-0.250000," : "  -0.250000  connection"), std::string::npos)
            << out.str();
    }
}

TEST(TraceCommand, RefusesFilesItCannotReadWithAClearError) {
    std::vector<uint8_t> cut = valid_file();
    cut.resize(cut.size() - 100);
    const TempTrace file(cut);
    const char* const path = file.path();
    const struct {
        std::vector<std::string> args;
        int status;
        const char* says;
    } cases[] = {
        {{path}, 1, "truncated"},
        {{"/nonexistent/trace.pcapng"}, 2, "cannot open"},
        {{}, 2, "no FILE"},
        {{path, "--bogus"}, 2, "unknown option"},
    };
    for (const auto& c : cases) {
        std::ostringstream out, err;
        EXPECT_EQ(srci_plc::cli::run_trace_command(c.args, false, out, err), c.status) << c.says;
        EXPECT_NE(err.str().find(c.says), std::string::npos) << err.str();
    }
}

}  // namespace
