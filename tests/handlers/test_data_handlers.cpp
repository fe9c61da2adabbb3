// SPDX-License-Identifier: Apache-2.0
// Tool, frame, load and dynamics handlers: numbers, refusals, "255 = the current one", and what
// reaches the store and the controller.
#include <functional>

#include "handler_fixture.h"

using namespace handler_test;
using namespace srci;

namespace {

LRob_typeServerCmdWriteToolData toolWrite(USInt number, float z, USInt load = 2, uint8_t externalTcp = 0) {
    LRob_typeServerCmdWriteToolData cmd{};
    cmd.ToolNo = number;
    cmd.ToolData.Data.Z = z;
    cmd.ToolData.Data.RZ = 30;
    cmd.ToolData.Data.LoadNo = load;
    cmd.ToolData.Data.ID = 6;
    cmd.ToolData.Data.ExternalTCP = externalTcp;
    return cmd;
}

LRob_typeServerCmdWriteFrameData frameWrite(USInt number, USInt reference, float x) {
    LRob_typeServerCmdWriteFrameData cmd{};
    cmd.FrameNo = number;
    cmd.FrameData.Data.ReferenceFrame = reference;
    cmd.FrameData.Data.X = x;
    return cmd;
}

TEST_F(HandlerTest, ToolWritesAndTheirRefusals) {
    struct Row {
        USInt number;
        uint8_t externalTcp;
        int err;
    } rows[] = {{3, 0, 0}, {0, 0, 36149}, {16, 0, 36149}, {3, 1, 36386}};
    for (const Row& r : rows) {
        helper.setStoredTool(3, ToolData{});
        const float z = 100.0f + r.number + r.externalTcp;
        EXPECT_EQ(
            (call<LRob_typeServerRspWriteToolData>(srl_write_tool_data_funs, toolWrite(r.number, z, 2, r.externalTcp))
                 .err),
            r.err)
            << int(r.number) << "/" << int(r.externalTcp);
        const bool stored = r.err == 0;
        EXPECT_EQ(helper.getStoredTool(3).pose[2] == z, stored) << int(r.number);
        EXPECT_EQ(arm().usr_tools[3][2] == z, stored) << "the controller follows the store";
        if (stored) {
            const ToolData t = helper.getStoredTool(3);
            EXPECT_EQ(t.loadId, 2);
            EXPECT_EQ(t.physicalToolId, 6);
            EXPECT_FALSE(t.fixed_tool);
        }
    }
}

TEST_F(HandlerTest, ToolReadsOfTheCurrentToolKeepNumberZeroInTheAnswer) {
    ASSERT_EQ(call<LRob_typeServerRspWriteToolData>(srl_write_tool_data_funs, toolWrite(3, 150, 4)).err, 0);
    RcItf::get(true)->setToolId(3);
    struct Row {
        USInt number;
        int err;
        float z;
    } rows[] = {{255, 0, 150}, {3, 0, 150}, {0, 0, 0}, {16, 36149, 0}};
    for (const Row& r : rows) {
        LRob_typeServerCmdReadToolData cmd{};
        cmd.ToolNo = r.number;
        const auto a = call<LRob_typeServerRspReadToolData>(srl_read_tool_data_funs, cmd);
        EXPECT_EQ(a.err, r.err) << int(r.number);
        EXPECT_FLOAT_EQ(a.rsp.ToolData.Data.Z, r.z) << int(r.number);
        EXPECT_EQ(a.rsp.ToolNo, 0) << "the answer's number is never filled";
        if (r.z != 0) {
            EXPECT_EQ(a.rsp.ToolData.Data.LoadNo, 4);
        }
    }
}

TEST_F(HandlerTest, FrameWritesRefuseSelfUnknownAndChainedReferences) {
    ASSERT_EQ(call<LRob_typeServerRspWriteFrameData>(srl_write_frame_data_funs, frameWrite(1, 0, 100)).err, 0);
    struct Row {
        USInt number, reference;
        int err;
    } rows[] = {{4, 4, 35859},
                {4, 16, 35859},
                {0, 0, ERR_CMD_SPECIFIC_INVALID_PARAMETER_FRAME_NR},
                {16, 0, ERR_CMD_SPECIFIC_INVALID_PARAMETER_FRAME_NR},
                {4, 1, 0},
                {2, 1, 0},
                {4, 2, 35859}};  // frame 2 refers to frame 1: one level too deep
    for (const Row& r : rows)
        EXPECT_EQ(
            call<LRob_typeServerRspWriteFrameData>(srl_write_frame_data_funs, frameWrite(r.number, r.reference, 5)).err,
            r.err)
            << int(r.number) << " on " << int(r.reference);

    // The refused chain left frame 4 as written on frame 1 (world coordinates: tests/motion).
    LRob_typeServerCmdReadFrameData read{};
    read.FrameNo = 4;
    const auto a = call<LRob_typeServerRspReadFrameData>(srl_read_frame_data_funs, read);
    EXPECT_EQ(a.err, 0);
    EXPECT_EQ(a.rsp.FrameData.Data.ReferenceFrame, 1);
    EXPECT_FLOAT_EQ(a.rsp.FrameData.Data.X, 5) << "read back relative to its reference";
}

TEST_F(HandlerTest, LoadsReadAndWriteOneToFifteenAnd255IsLoadOne) {
    LRob_typeServerCmdWriteLoadData w{};
    w.LoadNo = 1;
    w.LoadData.Data.Mass = 3.5f;
    w.LoadData.Data.Z = 40;
    w.LoadData.Data.IZ = 0.5f;
    ASSERT_EQ(call<LRob_typeServerRspWriteLoadData>(srl_write_load_data_funs, w).err, 0);
    w.LoadNo = 0;
    EXPECT_EQ(call<LRob_typeServerRspWriteLoadData>(srl_write_load_data_funs, w).err,
              ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR);
    struct Row {
        USInt number;
        int err;
        USInt answered;
    } rows[] = {{255, 0, 1},
                {1, 0, 1},
                {0, ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR, 0},
                {16, ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR, 0}};
    for (const Row& r : rows) {
        LRob_typeServerCmdReadLoad_Data cmd{};
        cmd.LoadNo = r.number;
        const auto a = call<LRob_typeServerRspReadLoadData>(srl_read_load_data_funs, cmd);
        EXPECT_EQ(a.err, r.err) << int(r.number);
        EXPECT_EQ(a.rsp.LoadNo, r.answered) << int(r.number);
        EXPECT_FLOAT_EQ(a.rsp.LoadData.Data.Mass, r.err ? 0 : 3.5f) << int(r.number);
        EXPECT_FLOAT_EQ(a.rsp.LoadData.Data.IZ, r.err ? 0 : 0.5f) << int(r.number);
    }
}

TEST_F(HandlerTest, DynamicsWritesKeepWhatIsNotGivenAndRefuseDecelerationAndJerk) {
    helper.setStoredRefDyn_linear(ReferenceDynamic{300, 300, -1, -1});
    struct RefRow {
        float vel, acc, dec;
        int err;
        float velAfter, accAfter;
    } refRows[] = {{500, -1, -1, 0, 500, 300}, {500, 300, 0, 36135, 500, 300}, {2500, 300, -1, 36137, 500, 300}};
    for (const RefRow& r : refRows) {
        LRob_typeServerCmdWriteRobotReferenceDynamics cmd{};
        cmd.ReferenceDynamics.Data = {r.vel, r.acc, r.dec, -1};
        const auto a = call<LRob_typeServerRspWriteRobotReferenceDynamics>(srl_write_robot_reference_dynamic_funs, cmd);
        EXPECT_EQ(a.err, r.err) << r.vel << "/" << r.dec;
        EXPECT_FLOAT_EQ(a.rsp.ReferenceDynamicValues.VelocityReference, r.err ? 0 : r.velAfter);
        EXPECT_FLOAT_EQ(a.rsp.ReferenceDynamicValues.AccelerationReference, r.err ? 0 : r.accAfter);
        EXPECT_DOUBLE_EQ(helper.getStoredRefDyn_linear().vel, r.velAfter);
        EXPECT_DOUBLE_EQ(helper.getStoredRefDyn_linear().acc, r.accAfter);
    }

    helper.setStoredDefaultDyn(DefaultDynamic{0.9, 0.9, -1, -1});
    struct DefRow {
        UInt vel, acc, dec, jerk;
        int err;
        UInt velAnswer, accAnswer;
    } defRows[] = {{5000, 65535, 65535, 65535, 0, 5000, 9000},
                   {5000, 5000, 65535, 0, 36356, 0, 0},
                   {5000, 5000, 0, 65535, err_dec, 0, 0}};
    for (const DefRow& r : defRows) {
        LRob_typeServerCmdWriteRobotDefaultDynamics cmd{};
        cmd.DefaultDynamics.Data = {r.vel, r.acc, r.dec, r.jerk};
        const auto a = call<LRob_typeServerRspWriteRobotDefaultDynamics>(srl_write_robot_defualt_dynamic_funs, cmd);
        EXPECT_EQ(a.err, r.err) << r.dec << "/" << r.jerk;
        EXPECT_EQ(a.rsp.DefaultDynamicValues.VelocityRate, r.velAnswer);
        EXPECT_EQ(a.rsp.DefaultDynamicValues.AccelerationRate, r.accAnswer);
    }
    EXPECT_DOUBLE_EQ(helper.getStoredDefaultDyn().vel_rate, 0.5);
    EXPECT_DOUBLE_EQ(helper.getStoredDefaultDyn().acc_rate, 0.9);
    const auto read = call<LRob_typeServerRspReadRobotDefaultDynamics>(srl_read_robot_defualt_dynamics_funs,
                                                                       LRob_typeServerCmdReadRobotDefaultDynamics{});
    EXPECT_EQ(read.rsp.DefaultDynamics.Data.VelocityRate, 5000);
    EXPECT_EQ(read.rsp.DefaultDynamics.Data.DecelerationRate, 55536) << "-1 in 16 bits";
}

// The tool, frame and load handlers run their bodies in lambdas; their log lines must still name
// the handler, both on success and on a refused number.
TEST_F(HandlerTest, DataHandlerLogLinesNameTheHandler) {
    const auto run = [](Handler fn, const auto& cmd) { return [fn, cmd] { call<LRob_typeServerRspHeader>(fn, cmd); }; };
    struct Row {
        const char* handler;
        std::function<void()> call;
    } rows[] = {
        {"srl_write_tool_data_funs", run(srl_write_tool_data_funs, toolWrite(3, 1))},
        {"srl_write_tool_data_funs", run(srl_write_tool_data_funs, toolWrite(16, 1))},
        {"srl_read_tool_data_funs", run(srl_read_tool_data_funs, LRob_typeServerCmdReadToolData{{}, 3})},
        {"srl_read_tool_data_funs", run(srl_read_tool_data_funs, LRob_typeServerCmdReadToolData{{}, 16})},
        {"srl_write_frame_data_funs", run(srl_write_frame_data_funs, frameWrite(2, 0, 1))},
        {"srl_write_frame_data_funs", run(srl_write_frame_data_funs, frameWrite(2, 2, 1))},
        {"srl_read_frame_data_funs", run(srl_read_frame_data_funs, LRob_typeServerCmdReadFrameData{{}, 2})},
        {"srl_write_load_data_funs", run(srl_write_load_data_funs, LRob_typeServerCmdWriteLoadData{{}, {}, 2, 0})},
        {"srl_read_load_data_funs", run(srl_read_load_data_funs, LRob_typeServerCmdReadLoad_Data{{}, 2})},
        {"srl_read_load_data_funs", run(srl_read_load_data_funs, LRob_typeServerCmdReadLoad_Data{{}, 0})},
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
