// SPDX-License-Identifier: Apache-2.0
// Construction of the parameter store: file first, controller as fallback, then everything is
// written back so that the file is complete after the first start.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "itf_rc/rcitf.h"
#include "srl/edk_helper.h"

namespace {

std::string parameterFilePath() {
    char* cwd = get_current_dir_name();
    std::string path = cwd ? cwd : ".";
    std::free(cwd);
    return path + "/srci.ini";
}

}  // namespace

std::atomic<bool> EDK_Helper::power_enable_need_update{false};

EDK_Helper::EDK_Helper()
    : requireEnable(false),
      stepMode(0),
      disableTrigged(false),
      defaultLoadId(1),
      percentageConvertFactor(10000.0),
      MinVelocity(2),
      MinAcc(2),
      JogAxesVelocity(100),
      JogLinearVelocity(100),
      loads{},
      tools{},
      frames{},
      ini(parameterFilePath()),
      refDynamicOriginal{2000.0, 5000.0, -1.0, -1.0},
      refDynamicStored_joint{100.0, 300.0, -1.0, -1.0},
      refDynamicStored_linear{300.0, 300.0, -1.0, -1.0},
      defaultDynamicStored{1.0, 1.0, -1.0, -1.0},
      syncSetting{},
      pending_error_list{},
      levelStored(0) {
    initRefDyn();
    initDefaultRef();
    initTools();
    initFrames();
    initLoads();
    enable_thread_running = false;
}

// The controller is not told: reference dynamics are re-applied before every motion.
void EDK_Helper::initRefDyn() {
    refDynamicStored_linear = ReadRefDynFromINI();
    WriteRefDynToINI(refDynamicStored_linear);
}

void EDK_Helper::initDefaultRef() {
    defaultDynamicStored = ReadDefaultDynFromINI();
    WriteDefaultDynToINI(defaultDynamicStored);
}

void EDK_Helper::initTools() {
    for (int index = 1; index < MaxToolsCount; ++index) {
        srci::ToolData tool;
        tool.loadId = defaultLoadId;
        try {
            tool = ReadToolFromINI(index);
        } catch (int code) {
            // A partly readable section is discarded whole; only the pose comes from the
            // controller, the rest keeps the defaults.
            logErr(code);
            tool.pose = srci::RcItf::get(true)->getTool(index);
        }
        setStoredTool(index, tool);
    }
}

void EDK_Helper::initFrames() {
    for (int index = 1; index < MaxFramesCount; ++index) {
        srci::FrameData frame;
        try {
            frame = ReadFrameFromINI(index);
        } catch (int code) {
            logErr(code);
            frame.pose = srci::RcItf::get(true)->getUsrFrame(index);
        }
        setStoredFrame(index, frame);
    }
}

void EDK_Helper::initLoads() {
    srci::LoadData current;
    try {
        current = srci::RcItf::get(true)->getLoad();
    } catch (int code) {
        logErr(code);
        return;
    }
    for (int index = 1; index < MaxLoadsCount; ++index) {
        srci::LoadData load;
        try {
            load = ReadLoadFromINI(index);
        } catch (int code) {
            logErr(code);
            load = current;
        }
        setStoredLoad(index, load);
    }
}
