// SPDX-License-Identifier: Apache-2.0
// The PLC link against a process image created here, standing in for the I/O manager.
#include <gtest/gtest.h>
#include <cstring>

#include "itf_commu/commuitf.h"
#include "itf_rc/srci_errcode.h"
#include "process_image.h"

using namespace srci;

namespace {

using srci_test::ProcessImage;

PNDevShm& image(ProcessImage& p) { return *reinterpret_cast<PNDevShm*>(p.bytes()); }

int initCode(CommuItf& commu, unsigned retries) {
    try {
        commu.init(retries);
    } catch (int code) {
        return code;
    }
    return 0;
}

TEST(CommuItf, RefusesMissingImageAndWrongAttachmentCount) {
    ProcessImage::removeStale();
    CommuItf missing;
    EXPECT_EQ(initCode(missing, 10), err_commuitf_init);

    ProcessImage lonely(1);
    CommuItf early;
    EXPECT_EQ(initCode(early, 1), err_commuitf_init) << "one attachment is not the I/O manager's two";
}

TEST(CommuItf, NotAttachedExchangesThrow) {
    CommuItf commu;
    uint8_t buf[256] = {};
    EXPECT_THROW(commu.recvFromPlc(buf, sizeof buf), int);
    EXPECT_THROW(commu.sendToPlc(buf, sizeof buf), int);
}

TEST(CommuItf, CopiesTheSrciAreasOnly) {
    ProcessImage pnio(2);
    CommuItf commu;
    ASSERT_EQ(initCode(commu, 10), 0);

    for (int i = 0; i < 256; ++i) image(pnio).srci.srci_out[i] = static_cast<uint8_t>(i);
    image(pnio).pnio.DI[0] = 0x1234;
    uint8_t in[300];
    std::memset(in, 0xEE, sizeof in);
    EXPECT_EQ(commu.recvFromPlc(in, 300), 256);
    EXPECT_EQ(in[255], 255);
    EXPECT_EQ(in[256], 0xEE) << "never more than one telegram";

    // A short read still refreshes the whole telegram from the image.
    image(pnio).srci.srci_out[200] = 7;
    EXPECT_EQ(commu.recvFromPlc(in, 18), 18);
    image(pnio).srci.srci_out[200] = 9;
    EXPECT_EQ(commu.recvFromPlc(in, 256), 256);
    EXPECT_EQ(in[200], 9);

    uint8_t out[256];
    std::memset(out, 0xAA, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 256), 256);
    std::memset(out, 0x11, sizeof out);
    EXPECT_EQ(commu.sendToPlc(out, 10), 10);
    EXPECT_EQ(image(pnio).srci.srci_in[9], 0x11);
    EXPECT_EQ(image(pnio).srci.srci_in[10], 0xAA) << "bytes past a short send keep the older answer";
    EXPECT_EQ(image(pnio).pnio.DI[0], 0x1234) << "other areas untouched";
}

}  // namespace
