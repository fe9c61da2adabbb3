// SPDX-License-Identifier: Apache-2.0
// The tool, frame and load handlers run their bodies in lambdas; their log lines must still name
// the handler, both on success and on a refused number.
#include <functional>

#include "handler_fixture.h"

using namespace handler_test;
using namespace srci;

namespace {

template <class Rsp, class Cmd>
std::function<void()> run(void (*handler)(HandlerIn, HandlerOut, int*), Cmd cmd) {
    return [handler, cmd] { call<Rsp>(handler, cmd); };
}

TEST_F(HandlerTest, DataHandlerLogLinesNameTheHandler) {
    LRob_typeServerCmdWriteToolData toolOk{};
    toolOk.ToolNo = 3;
    LRob_typeServerCmdWriteToolData toolBad{};
    toolBad.ToolNo = 16;
    LRob_typeServerCmdReadToolData toolRead{};
    toolRead.ToolNo = 3;
    LRob_typeServerCmdReadToolData toolReadBad{};
    toolReadBad.ToolNo = 16;
    LRob_typeServerCmdWriteFrameData frameOk{};
    frameOk.FrameNo = 2;
    LRob_typeServerCmdWriteFrameData frameSelf{};
    frameSelf.FrameNo = 2;
    frameSelf.FrameData.Data.ReferenceFrame = 2;
    LRob_typeServerCmdReadFrameData frameRead{};
    frameRead.FrameNo = 2;
    LRob_typeServerCmdWriteLoadData loadOk{};
    loadOk.LoadNo = 2;
    LRob_typeServerCmdReadLoad_Data loadRead{};
    loadRead.LoadNo = 2;
    LRob_typeServerCmdReadLoad_Data loadReadBad{};
    loadReadBad.LoadNo = 0;
    struct Row {
        const char* handler;
        std::function<void()> call;
    } rows[] = {
        {"srl_write_tool_data_funs", run<LRob_typeServerRspWriteToolData>(srl_write_tool_data_funs, toolOk)},
        {"srl_write_tool_data_funs", run<LRob_typeServerRspWriteToolData>(srl_write_tool_data_funs, toolBad)},
        {"srl_read_tool_data_funs", run<LRob_typeServerRspReadToolData>(srl_read_tool_data_funs, toolRead)},
        {"srl_read_tool_data_funs", run<LRob_typeServerRspReadToolData>(srl_read_tool_data_funs, toolReadBad)},
        {"srl_write_frame_data_funs", run<LRob_typeServerRspWriteFrameData>(srl_write_frame_data_funs, frameOk)},
        {"srl_write_frame_data_funs", run<LRob_typeServerRspWriteFrameData>(srl_write_frame_data_funs, frameSelf)},
        {"srl_read_frame_data_funs", run<LRob_typeServerRspReadFrameData>(srl_read_frame_data_funs, frameRead)},
        {"srl_write_load_data_funs", run<LRob_typeServerRspWriteLoadData>(srl_write_load_data_funs, loadOk)},
        {"srl_read_load_data_funs", run<LRob_typeServerRspReadLoadData>(srl_read_load_data_funs, loadRead)},
        {"srl_read_load_data_funs", run<LRob_typeServerRspReadLoadData>(srl_read_load_data_funs, loadReadBad)},
    };
    for (const Row& r : rows) {
        motion_test::Log::clear();
        r.call();
        EXPECT_GE(logged(std::string("] ") + r.handler + ":"), 1u) << r.handler << "\n" << motion_test::Log::text();
        EXPECT_EQ(logged("operator()"), 0u) << r.handler;
        EXPECT_EQ(logged("badNumber"), 0u) << r.handler;
    }
}

}  // namespace
