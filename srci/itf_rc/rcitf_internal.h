// SPDX-License-Identifier: Apache-2.0
// State shared by the controller adapter's translation units.
#pragma once

#include "itf_rc/rcitf.h"
#include "srciport/srciport.h"

namespace srci::rcitf_detail {

// Pause after an accepted change of active tool/frame or tool/frame value, so the controller
// has taken it before the next command.
inline constexpr int ControllerSequenceWaitTime_ms = 15;

void sleepMs(int ms);
// The pause after a change, with work that sends nothing to the controller done inside it.
void pauseAfterChange(const std::function<void()>& work = {});
JogCmdParam& lastJogCmd();

// This thread's status snapshot, as last polled.
SrciPortStat& stat();
// This thread's snapshot, polled now unless a SharedStatusPoll lets it reuse the last poll.
SrciPortStat& polledStat();

// Counts the commands sent and the waits made, from every thread. A shared poll older than
// the last count is taken again.
void noteControllerTouched();

// A command to the controller: the count moves before the call and again after it returns, so
// a poll shared on another thread cannot outlive the change the command made.
class CommandAccess {
public:
    CommandAccess() { noteControllerTouched(); }
    ~CommandAccess() { noteControllerTouched(); }
    CommandAccess(const CommandAccess&) = delete;
    CommandAccess& operator=(const CommandAccess&) = delete;
    SrciPortCmd* operator->() const { return getCmd().get(); }
};
inline CommandAccess cmd() { return {}; }

// Kinematic computations and error-information reads change nothing on the controller and
// leave shared polls valid.
inline SrciPortCmd& readOnly() { return *getCmd(); }

}  // namespace srci::rcitf_detail
