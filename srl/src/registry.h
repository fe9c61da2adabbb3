// SPDX-License-Identifier: Apache-2.0
// The adapter's registered handlers.
#pragma once

#include <cstdint>

namespace srl {

enum class Slot : uint8_t {
    RobotEnable,
    ReadTool,
    WriteTool,
    ReadFrame,
    WriteFrame,
    WriteLoad,
    ReadLoad,
    WriteRefDyn,
    ReadRefDyn,
    WriteDefDyn,
    ReadDefDyn,
    WriteSWLimit,
    ReadSWLimit,
    ReadActualPos,
    MoveAxesAbs,
    GroupReset,
    ReadRobotData,
    MoveLinAbs,
    MoveDirectAbs,
    SetOpMode,
    ChangeOverride,
    GroupContinue,
    GroupPause,
    GroupStop,
    ReadDI,
    ReadDO,
    WriteDO,
    ExchangeConfig,
    JogFrame,
    JogTool,
    JogJoint,
    Disable,
    ReadWorkArea,
    WriteWorkArea,
    CyclicPos,
    SetSequence,
    ForwardKin,
    InverseKin,
    EnableParam,
    ClearCmd,
    None,  // commands the interpreter serves itself
    Count = None,
};

struct Registry {
    void* fns[static_cast<int>(Slot::Count)] = {};
    bool callbacks_open = true;
};

bool registered(const Registry& r, Slot s);
void* handler_address(const Registry& r, Slot s);

}  // namespace srl
