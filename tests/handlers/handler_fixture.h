// SPDX-License-Identifier: Apache-2.0
// Handlers called the way the interpreter calls them: a command record encoded into the 256-byte
// input with the command id in its last byte, the response record decoded from the output. The
// store, the motion manager and the simulated arm are the real ones.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "itf_rc/rcitf.h"
#include "motion_test_support.h"
#include "srciport/sim_arm.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"
#include "srl/veld_motion_manager.h"
#include "zlog/zlog_client.h"

namespace handler_test {

using Handler = void (*)(HandlerIn, HandlerOut, int*);
inline constexpr unsigned char kUntouched = 0xEE;

template <class Rsp>
struct Answer {
    int err;
    Rsp rsp;
    bool responseWritten;
};

template <class Rsp, class Cmd>
Answer<Rsp> call(Handler fn, const Cmd& cmd, unsigned char cmdId = 7) {
    unsigned char in[256] = {}, out[256];
    std::memset(out, kUntouched, sizeof out);
    handler::encode(cmd, in);
    in[255] = cmdId;
    int err = -1;
    fn(in, out, &err);
    return {err, handler::decode<Rsp>(out), out[0] != kUntouched || out[1] != kUntouched};
}

// What the interpreter was told through the calls the tests intercept (see wraps.cpp).
struct Intercepted {
    static inline LRob_typePersistentData* persistent = nullptr;
    static inline LRob_typeServerAxesGroupParameter* axesGroup = nullptr;
    static inline std::vector<int> serverStates;
    static inline unsigned char riState = 0;
};

inline SrciPortStat arm() {
    SrciPortStat s;
    srciport::SimArm::instance().snapshot(s);
    return s;
}

class HandlerTest : public ::testing::Test {
protected:
    void SetUp() override {
        motion_test::resetArmPoweredAndEnabled();
        motionManagerTemp.motionCmdList_.clear();
        motionManagerTemp.jogCmdIdList_.clear();
        helper.requireEnable = true;
        helper.disableTrigged = false;
        helper.stepMode = 0;
        Intercepted::serverStates.clear();
        zlog::ZLogClient::get()->set_lv_filter(zlog::ZLogLvTrace);
        motion_test::Log::clear();
    }
    static size_t logged(const std::string& text) { return motion_test::Log::count(text); }
};

}  // namespace handler_test
