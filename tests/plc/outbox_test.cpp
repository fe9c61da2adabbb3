// SPDX-License-Identifier: Apache-2.0
// Cutting command payloads into fragments.
#include <gtest/gtest.h>

#include "srci_plc/outbox.hpp"

using namespace srci_plc;

namespace {

std::vector<uint8_t> ramp(size_t n) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(i);
    return v;
}

}  // namespace

TEST(Outbox, NewCommandIsResetCompleteUpdateIsClearComplete) {
    Outbox o;
    o.push(1, ramp(7), false);
    o.push(2, ramp(8), true);
    const auto f = o.take(231);
    ASSERT_EQ(f.size(), 2u);
    EXPECT_EQ(f[0].action, 0x03);
    EXPECT_EQ(f[1].action, 0x05);
    EXPECT_EQ(f[1].cmd_id, 2);
    EXPECT_EQ(f[1].data, ramp(8));
    EXPECT_TRUE(o.empty());
}

TEST(Outbox, SplitsLongPayloadOverSeveralSequences) {
    Outbox o;
    o.push(4, ramp(7), false);
    o.push(5, ramp(154), false);
    // 15 bytes for the first command leave 85 of 100: 8 header + 77 data.
    auto a = o.take(100);
    ASSERT_EQ(a.size(), 2u);
    EXPECT_EQ(a[1].cmd_id, 5);
    EXPECT_EQ(a[1].action, fragment_action::kReset);  // first part: Reset, not Complete
    EXPECT_EQ(a[1].pointer, 0);
    EXPECT_EQ(a[1].data.size(), 77u);
    EXPECT_TRUE(o.has_pending(5));

    auto b = o.take(50);  // middle part
    ASSERT_EQ(b.size(), 1u);
    EXPECT_EQ(b[0].action, 0x00);
    EXPECT_EQ(b[0].pointer, 77);
    EXPECT_EQ(b[0].data.size(), 42u);

    auto c = o.take(231);  // last part
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0].action, fragment_action::kComplete);
    EXPECT_EQ(c[0].pointer, 119);
    ASSERT_EQ(c[0].data.size(), 35u);
    EXPECT_EQ(c[0].data.back(), 153);
    EXPECT_TRUE(o.empty());
}

TEST(Outbox, LimitsFragmentsAndMergesUntransmittedUpdates) {
    Outbox o;
    for (uint16_t id = 1; id <= 12; ++id) o.push(id, ramp(4), false);
    EXPECT_EQ(o.take(231).size(), Outbox::kMaxFragmentsPerSequence);
    EXPECT_EQ(o.take(231).size(), 3u);

    o.push(7, ramp(5), true);
    o.push(7, ramp(6), true);  // newer parameter set replaces the queued one
    const auto f = o.take(231);
    ASSERT_EQ(f.size(), 1u);
    EXPECT_EQ(f[0].data.size(), 6u);
    EXPECT_TRUE(o.take(8).empty());  // no room for even one byte after a header
}
