// SPDX-License-Identifier: Apache-2.0
// Error logging, the pending errors that wait for the PLC's group reset, and the SRCI log level
// that also decides whether failed motions are reported to the PLC at all.
#include <string>

#include "edk_text.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"
#include "srl/srl_api.h"

void EDK_Helper::logErr(int code) { SRCI_LOG(zlog::ZLogLvError, srci::text::hex(code)); }

void EDK_Helper::logMotionErr(srci::MoveCmdParam param, int code) {
    SRCI_LOG(zlog::ZLogLvError, param.str() + ", err: " + srci::text::hex(code));
}

void EDK_Helper::addPendingErr(PendingErrInfo info) { pending_error_list.push_back(info); }

std::vector<PendingErrInfo> EDK_Helper::getPendingErrList() { return pending_error_list; }

void EDK_Helper::clearPendingErrList() { pending_error_list.clear(); }

namespace {

void report(PendingErrInfo& e) {
    srl_report_error_warning(e.id, e.isProcessed, static_cast<uint16_t>(e.errCode), static_cast<int8_t>(e.severity),
                             e.info);
}

}  // namespace

// The interpreter may write its message id into the record; that id is kept so the later
// acknowledgement names the same message.
void EDK_Helper::raisePendingErr(int errCode) {
    PendingErrInfo e;
    e.id = static_cast<SInt>(0xFF);
    e.isProcessed = false;
    e.severity = srci::ES_Error;
    e.errCode = errCode;
    e.info = "this is a pending error: " + std::to_string(errCode);
    report(e);
    addPendingErr(e);
}

void EDK_Helper::acknowledgePendingErrs() {
    for (PendingErrInfo e : getPendingErrList()) {
        e.isProcessed = true;
        report(e);
    }
    clearPendingErrList();
}

// Levels below Debug are stored but leave the filter alone, and trace is never selected.
void EDK_Helper::setLogLevel(unsigned char level) {
    if (level == levelStored) return;
    // Written at error level so that the change is visible under any filter.
    SRCI_LOG(zlog::ZLogLvError, "change loglevel to: " + std::to_string(level));
    levelStored = level;
    zlog::ZLogClient* log = zlog::ZLogClient::get();
    if (level >= srci::Error) log->set_lv_filter(zlog::ZLogLvError);
    else if (level >= srci::Warning) log->set_lv_filter(zlog::ZLogLvWarn);
    else if (level >= srci::Info) log->set_lv_filter(zlog::ZLogLvInfo);
    else if (level >= srci::Debug) log->set_lv_filter(zlog::ZLogLvDebug);
}

// "Never set" and Deactive both read as 99, which keeps pending-error reporting off.
unsigned char EDK_Helper::getLogLevel() {
    const auto level = static_cast<unsigned char>(levelStored);
    return level == 0 ? 99 : level;
}
