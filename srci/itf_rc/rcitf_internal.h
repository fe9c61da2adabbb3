// State shared by the controller adapter's translation units.
#pragma once

#include "itf_rc/rcitf.h"
#include "srciport/srciport.h"

namespace srci::rcitf_detail {

// Pause after an accepted change of active tool/frame or tool/frame value, so the controller
// has taken it before the next command.
inline constexpr int ControllerSequenceWaitTime_ms = 15;

void sleepMs(int ms);
JogCmdParam& lastJogCmd();

inline SrciPortStat& stat() { return *getStat(); }
inline SrciPortCmd& cmd() { return *getCmd(); }

}  // namespace srci::rcitf_detail
