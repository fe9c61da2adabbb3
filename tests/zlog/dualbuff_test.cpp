// SPDX-License-Identifier: Apache-2.0
// Double-buffer channel: record integrity, drop accounting, non-blocking reader, and
// survival of dead peers and foreign segments.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "dualbuff_layout.h"
#include "qxutil/dualbuff.h"
#include "test_support.h"

namespace {

using qxutil::DUAL_BUFF_MAX_SIZE;
using qxutil::DualBuffReader;
using qxutil::DualBuffWriter;
using zlog_test::drain;

constexpr const char* CHANNEL = "dbtest";

// A channel of its own with one writer and one reader attached.
class DualBuff : public testing::Test {
protected:
    zlog_test::ShmScope scope{CHANNEL};
    DualBuffWriter writer{CHANNEL};
    DualBuffReader reader{CHANNEL};
};

// Maps the channel's raw segment, as another (possibly misbehaving) process would.
class RawSegment {
public:
    explicit RawSegment(const char* name) {
        int fd = shm_open(qxutil::channelShmName(name).c_str(), O_RDWR, 0);
        if (fd >= 0) {
            base_ = mmap(nullptr, qxutil::DUAL_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            close(fd);
        }
    }
    ~RawSegment() {
        if (base_ != MAP_FAILED) {
            munmap(base_, qxutil::DUAL_SHM_SIZE);
        }
    }
    qxutil::detail::SegmentHeader* header() { return static_cast<qxutil::detail::SegmentHeader*>(base_); }

private:
    void* base_ = MAP_FAILED;
};

TEST_F(DualBuff, RecordsComeOutWholeInOrderAndEmptyReadsReturnZero) {
    ASSERT_TRUE(writer.attached());
    EXPECT_EQ(drain(reader), "");
    EXPECT_EQ(writer.write("first\n", 6), 0);
    EXPECT_EQ(writer.write("second\n", 7), 0);
    EXPECT_EQ(drain(reader), "first\nsecond\n");
    EXPECT_EQ(drain(reader), "");
    // After the swap writers go on in the other half; nothing is lost or repeated.
    EXPECT_EQ(writer.write("third\n", 6), 0);
    EXPECT_EQ(drain(reader), "third\n");
    EXPECT_EQ(writer.dropped(), 0u);
}

TEST_F(DualBuff, FullHalfDropsWholeRecordsAndCountsThemAndOneRecordFitsAHalf) {
    const std::string record(1000, 'r');
    size_t accepted = 0;
    while (writer.write(record.data(), record.size()) == 0) {
        ++accepted;
    }
    EXPECT_EQ(accepted, DUAL_BUFF_MAX_SIZE / record.size());
    EXPECT_EQ(writer.dropped(), 1u);
    // The remainder still takes a record that fits exactly.
    const std::string tail(DUAL_BUFF_MAX_SIZE - accepted * record.size(), 't');
    EXPECT_EQ(writer.write(tail.data(), tail.size()), 0);
    EXPECT_EQ(writer.write("x", 1), -1);
    EXPECT_EQ(writer.dropped(), 2u);

    std::string all = drain(reader);  // one read takes everything pending, here a whole half
    ASSERT_EQ(all.size(), DUAL_BUFF_MAX_SIZE);
    EXPECT_EQ(all.substr(all.size() - tail.size()), tail);
    EXPECT_EQ(all.find('x'), std::string::npos);

    // One record may fill a whole half, never more.
    const std::string huge(DUAL_BUFF_MAX_SIZE + 1, 'h');
    EXPECT_EQ(writer.write(huge.data(), huge.size()), -1);
    EXPECT_EQ(writer.dropped(), 3u);
    EXPECT_EQ(writer.write(huge.data(), DUAL_BUFF_MAX_SIZE), 0);
    EXPECT_EQ(drain(reader).size(), DUAL_BUFF_MAX_SIZE);
}

TEST_F(DualBuff, ScopesSeparateChannelsOfTheSameName) {
    {
        zlog_test::ShmScope other{CHANNEL};
        DualBuffWriter otherWriter(CHANNEL);
        DualBuffReader otherReader(CHANNEL);
        otherWriter.write("b", 1);
        EXPECT_EQ(drain(otherReader), "b");
    }
    writer.write("a", 1);
    EXPECT_EQ(drain(reader), "a");
}

TEST_F(DualBuff, ReaderReturnsAtOnceWhileAnotherReaderDrains) {
    RawSegment raw(CHANNEL);
    writer.write("pending", 7);
    ASSERT_EQ(pthread_mutex_lock(&raw.header()->drain_lock), 0);
    EXPECT_EQ(drain(reader), "");
    pthread_mutex_unlock(&raw.header()->drain_lock);
    EXPECT_EQ(drain(reader), "pending");
}

TEST_F(DualBuff, WriterDyingWhileHoldingTheLockDoesNotWedgeTheChannel) {
    writer.write("before\n", 7);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        RawSegment raw(CHANNEL);
        pthread_mutex_lock(&raw.header()->data_lock);
        _exit(0);  // dies owning the lock, as a writer killed inside write() would
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(writer.write("after\n", 6), 0);
    EXPECT_EQ(drain(reader), "before\nafter\n");
}

TEST_F(DualBuff, HalfOfAReaderThatDiedMidCopyIsHandedOutAgain) {
    RawSegment raw(CHANNEL);
    writer.write("old\n", 4);
    raw.header()->active = 1;  // what a reader leaves behind after the swap, before clearing
    writer.write("new\n", 4);
    EXPECT_EQ(drain(reader), "old\n");
    EXPECT_EQ(drain(reader), "new\n");
    EXPECT_EQ(drain(reader), "");
}

TEST(DualBuffForeignSegment, ShortObjectIsRejectedWithoutTouchingIt) {
    // Mapped at full size, a shorter object would fault on first access.
    zlog_test::ShmScope scope{CHANNEL};
    int fd = shm_open(qxutil::channelShmName(CHANNEL).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 4096), 0);
    const uint32_t words[2] = {qxutil::detail::StateReady, qxutil::detail::SEGMENT_MAGIC};
    ASSERT_EQ(pwrite(fd, words, sizeof words, 0), static_cast<ssize_t>(sizeof words));
    DualBuffReader reader(CHANNEL);
    DualBuffWriter writer(CHANNEL);
    EXPECT_FALSE(reader.attached());
    EXPECT_EQ(writer.write("x", 1), -1);
    EXPECT_EQ(writer.dropped(), 1u);
    struct stat st {};
    ASSERT_EQ(fstat(fd, &st), 0);
    EXPECT_EQ(st.st_size, 4096) << "a foreign object is never resized";
    close(fd);
}

// A full-size object whose header is ours but for one field: another build, another layout or
// someone else's memory. Neither side may attach, and the header stays as it was.
TEST(DualBuffForeignSegment, HeaderDifferingInOneFieldIsRejectedWithoutTouchingIt) {
    using qxutil::detail::SegmentHeader;
    struct Row {
        const char* field;
        void (*differ)(SegmentHeader*);
    };
    const Row rows[] = {
        {"magic", [](SegmentHeader* h) { h->magic = 0xdeadbeef; }},
        {"version", [](SegmentHeader* h) { ++h->version; }},
        {"header size", [](SegmentHeader* h) { h->header_size -= 8; }},
        {"segment size", [](SegmentHeader* h) { h->shm_size /= 2; }},
        {"half size", [](SegmentHeader* h) { h->half_size /= 2; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.field);
        zlog_test::ShmScope scope{CHANNEL};
        { DualBuffWriter creator(CHANNEL); }  // leaves a well-formed segment behind
        RawSegment raw(CHANNEL);
        ASSERT_NE(raw.header(), MAP_FAILED);
        row.differ(raw.header());
        const SegmentHeader before = *raw.header();
        DualBuffReader reader(CHANNEL);
        DualBuffWriter writer(CHANNEL);
        EXPECT_FALSE(reader.attached());
        EXPECT_EQ(drain(reader), "");
        EXPECT_EQ(writer.write("x", 1), -1);
        EXPECT_EQ(writer.dropped(), 1u);
        EXPECT_EQ(std::memcmp(raw.header(), &before, sizeof before), 0);
    }
}

TEST(DualBuffForeignSegment, ScribbledBookkeepingIsDiscardedAndTheChannelRecovers) {
    // The second row has nothing pending: a reader's lock-free look must not skip the repair.
    struct Row {
        const char* what;
        void (*scribble)(qxutil::detail::SegmentHeader*);
    };
    const Row rows[] = {
        {"fill level", [](qxutil::detail::SegmentHeader* h) { h->used[0] = ~0ull; }},
        {"active half, both halves empty",
         [](qxutil::detail::SegmentHeader* h) {
             h->used[0] = h->used[1] = 0;
             h->active = 7;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        zlog_test::ShmScope scope{CHANNEL};
        DualBuffWriter writer(CHANNEL);
        DualBuffReader reader(CHANNEL);
        RawSegment raw(CHANNEL);
        writer.write("lost", 4);
        row.scribble(raw.header());
        EXPECT_EQ(writer.write("refused", 7), -1);
        EXPECT_EQ(drain(reader), "");
        EXPECT_EQ(writer.write("fine", 4), 0);
        EXPECT_EQ(drain(reader), "fine");
    }
}

}  // namespace
