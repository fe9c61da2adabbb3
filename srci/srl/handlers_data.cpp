// SPDX-License-Identifier: Apache-2.0
// Tool, user-frame and load data: read from and written through the parameter store, which
// keeps memory, controller and srci.ini in step. Telegram floats reach the store unchanged.
#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_define_function.h"

using namespace srci;

namespace {

constexpr int kToolNr = ERR_CMD_SPECIFIC_INVALID_PARAMETER_TOOL_NR;
constexpr int kFrameNr = ERR_CMD_SPECIFIC_INVALID_PARAMETER_FRAME_NR;
constexpr int kLoadNr = ERR_CMD_SPECIFIC_INVALID_PARAMETER_LOAD_NR;
constexpr int kFrameReference = ERR_CMD_SPECIFIC_WRITE_FRAME_REFERENCE_INVALID;
constexpr unsigned kCurrent = 255;
constexpr unsigned kHighestIndex = 15;

// The bodies run inside lambdas, whose own name is "operator()": their log lines carry the name
// of the handler that runs them instead, as every other handler's do.
#define HANDLER_LOG(level, text) ::srci::logFramed((level), SRCI_LOG_TAG, handlerName, __LINE__, (text))

// Runs a handler body; a thrown code is logged and mapped to the handler's answer.
template <class Body, class MapError>
void answer(int* err, Body body, MapError mapError) {
    try {
        *err = body();
    } catch (int code) {
        EDK_Helper::logErr(code);
        *err = mapError(code);
    }
}

int badNumber(const char* handlerName, const char* label, unsigned number, int code) {
    HANDLER_LOG(zlog::ZLogLvError, handler::text(label, number));
    return code;
}

}  // namespace

void srl_read_tool_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdReadToolData>(in);
    LRob_typeServerRspReadToolData rsp{};
    answer(
        err,
        [&] {
            const unsigned number = cmd.ToolNo == kCurrent ? RcItf::get(true)->getCurrentTooldId() : cmd.ToolNo;
            if (number > kHighestIndex) return badNumber(handlerName, "unkown toolid: ", cmd.ToolNo, kToolNr);
            const ToolData tool = helper.getStoredTool(static_cast<int>(number));
            handler::putPose(rsp.ToolData.Data, tool.pose);
            rsp.ToolData.Data.ID = tool.physicalToolId;
            rsp.ToolData.Data.LoadNo = tool.loadId;
            rsp.ToolData.Data.ExternalTCP = tool.fixed_tool;
            HANDLER_LOG(zlog::ZLogLvInfo, handler::text("toolid: ", number, ", stored tool value: ", tool.pose,
                                                        ", load: ", int(tool.loadId)));
            return 0;
        },
        [](int) { return kToolNr; });
    handler::encode(rsp, out);
}

void srl_write_tool_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdWriteToolData>(in);
    const LRob_typeServerRspWriteToolData rsp{};
    answer(
        err,
        [&] {
            helper.checkAbortingMode(cmd.Header.Reserved_ExecutionMode);
            if (cmd.ToolData.Data.ExternalTCP & 1) throw static_cast<int>(err_external_tcp);
            if (cmd.ToolNo == 0 || cmd.ToolNo > kHighestIndex)
                return badNumber(handlerName, "wrong toolid: ", cmd.ToolNo, kToolNr);
            ToolData tool;
            tool.pose = handler::poseOf(cmd.ToolData.Data);
            tool.fixed_tool = false;
            tool.loadId = cmd.ToolData.Data.LoadNo;
            tool.physicalToolId = cmd.ToolData.Data.ID;
            HANDLER_LOG(zlog::ZLogLvInfo,
                        handler::text("tempCmd.ToolNo: ", int(cmd.ToolNo), tool.pose, ", load: ", int(tool.loadId)));
            helper.setStoredTool(cmd.ToolNo, tool);
            return 0;
        },
        [](int code) { return code; });
    handler::encode(rsp, out);
}

void srl_read_frame_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdReadFrameData>(in);
    LRob_typeServerRspReadFrameData rsp{};
    answer(
        err,
        [&] {
            const unsigned number = cmd.FrameNo == kCurrent ? RcItf::get(true)->getCurrentUserFrameId() : cmd.FrameNo;
            if (number > kHighestIndex) return badNumber(handlerName, "wrong frameid: ", cmd.FrameNo, kFrameNr);
            const FrameData frame = helper.getStoredFrame(static_cast<int>(number));
            rsp.FrameData.Data.ReferenceFrame = frame.refIndex;
            handler::putPose(rsp.FrameData.Data, frame.pose);
            HANDLER_LOG(zlog::ZLogLvInfo, handler::text("frameid: ", number, ", stored frame value: ", frame));
            return 0;
        },
        [](int) { return kFrameNr; });
    handler::encode(rsp, out);
}

void srl_write_frame_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdWriteFrameData>(in);
    const LRob_typeServerRspWriteFrameData rsp{};
    answer(
        err,
        [&] {
            helper.checkAbortingMode(cmd.Header.Reserved_ExecutionMode);
            if (cmd.FrameNo == 0 || cmd.FrameNo > kHighestIndex)
                return badNumber(handlerName, "wrong frameid: ", cmd.FrameNo, kFrameNr);
            const unsigned reference = cmd.FrameData.Data.ReferenceFrame;
            if (cmd.FrameNo == reference) {
                HANDLER_LOG(zlog::ZLogLvError, "cannot refer to self...");
                throw static_cast<int>(err_frame_ref);
            }
            // The store indexes its frame table with the reference: refuse what it cannot hold.
            if (reference > kHighestIndex) throw static_cast<int>(err_frame_ref);
            FrameData frame;
            frame.pose = handler::poseOf(cmd.FrameData.Data);
            frame.refIndex = static_cast<uint8_t>(reference);
            helper.setStoredFrame(cmd.FrameNo, frame);
            HANDLER_LOG(zlog::ZLogLvInfo, handler::text("tempCmd.FrameNo: ", int(cmd.FrameNo), frame, ", \n"));
            return 0;
        },
        [](int code) { return code == err_frame_ref ? kFrameReference : kFrameNr; });
    handler::encode(rsp, out);
}

void srl_read_load_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdReadLoad_Data>(in);
    LRob_typeServerRspReadLoadData rsp{};
    answer(
        err,
        [&] {
            const unsigned number = cmd.LoadNo == kCurrent ? helper.defaultLoadId : cmd.LoadNo;
            if (number == 0 || number > kHighestIndex)
                return badNumber(handlerName, "wrong loadid: ", cmd.LoadNo, kLoadNr);
            const LoadData load = helper.getStoredLoad(static_cast<int>(number));
            auto& d = rsp.LoadData.Data;
            handler::putPose(d, POSE(load.x, load.y, load.z, load.rx, load.ry, load.rz));
            d.Mass = static_cast<float>(load.mass);
            d.IX = static_cast<float>(load.ix);
            d.IY = static_cast<float>(load.iy);
            d.IZ = static_cast<float>(load.iz);
            rsp.LoadNo = static_cast<USInt>(number);
            HANDLER_LOG(zlog::ZLogLvInfo, handler::text("loadid: ", number, ", ", load));
            return 0;
        },
        [](int) { return kLoadNr; });
    handler::encode(rsp, out);
}

void srl_write_load_data_funs(HandlerIn in, HandlerOut out, int* err) {
    const char* const handlerName = __func__;
    const auto cmd = handler::decode<LRob_typeServerCmdWriteLoadData>(in);
    const LRob_typeServerRspWriteLoadData rsp{};
    answer(
        err,
        [&] {
            helper.checkAbortingMode(cmd.Header.Reserved_ExecutionMode);
            if (cmd.LoadNo == 0 || cmd.LoadNo > kHighestIndex)
                return badNumber(handlerName, "wrong loadid: ", cmd.LoadNo, kLoadNr);
            const auto& d = cmd.LoadData.Data;
            LoadData load;
            load.mass = d.Mass;
            load.x = d.X;
            load.y = d.Y;
            load.z = d.Z;
            load.rx = d.RX;
            load.ry = d.RY;
            load.rz = d.RZ;
            load.ix = d.IX;
            load.iy = d.IY;
            load.iz = d.IZ;
            helper.setStoredLoad(cmd.LoadNo, load);
            HANDLER_LOG(zlog::ZLogLvInfo, handler::text("tempCmd.LoadNo: ", int(cmd.LoadNo), load));
            return 0;
        },
        [](int) { return kLoadNr; });
    handler::encode(rsp, out);
}
