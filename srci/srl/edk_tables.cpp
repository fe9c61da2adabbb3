// SPDX-License-Identifier: Apache-2.0
// Reading and changing the stored tools, frames, loads and dynamics. Each setter updates
// memory, the controller where that applies, and the file, so that a refusal by the controller
// never reaches the file.
#include <cmath>

#include "itf_rc/rcitf.h"
#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"

namespace {

void checkIndex(int index, int count, int code) {
    if (index < 0 || index >= count) throw code;
}

}  // namespace

srci::ToolData EDK_Helper::getStoredTool(int index) {
    checkIndex(index, MaxToolsCount, srci::err_tools_index);
    return tools[index];
}

srci::FrameData EDK_Helper::getStoredFrame(int index) {
    checkIndex(index, MaxFramesCount, srci::err_frames_index);
    return frames[index];
}

srci::LoadData EDK_Helper::getStoredLoad(int index) {
    checkIndex(index, MaxLoadsCount, srci::err_load_index);
    return loads[index];
}

void EDK_Helper::setStoredTool(int index, srci::ToolData tool) {
    checkIndex(index, MaxToolsCount, srci::err_tools_index);
    tools[index] = tool;
    // srci.ini is written while the controller takes the change: a write cycle then lasts the
    // pause, not the pause and the file's sync.
    srci::RcItf::get(true)->setTool(static_cast<unsigned char>(index), tool.pose, [&] { WriteToolToINI(index, tool); });
}

void EDK_Helper::setStoredTool(int index, srci::POSE pose) {
    srci::ToolData tool = getStoredTool(index);
    tool.pose = pose;
    setStoredTool(index, tool);
}

// The controller only knows frames in base coordinates; the file keeps them relative to
// their reference so that moving the reference keeps the meaning of the stored value.
void EDK_Helper::setStoredFrame(int index, srci::FrameData frame) {
    checkIndex(index, MaxFramesCount, srci::err_frames_index);
    const srci::POSE base = get_rcFrame_fromUser(frame.pose, frame.refIndex);
    srci::RcItf::get(true)->setUsrFrame(static_cast<unsigned char>(index), base, [&] {
        frames[index] = frame;
        WriteFrameToINI(index, frame);
    });
}

void EDK_Helper::setStoredFrame(int index, srci::POSE pose) {
    srci::FrameData frame = getStoredFrame(index);
    frame.pose = pose;
    setStoredFrame(index, frame);
}

void EDK_Helper::setStoredLoad(int index, srci::LoadData load) {
    checkIndex(index, MaxLoadsCount, srci::err_load_index);
    loads[index] = load;
    WriteLoadToINI(index, load);
}

srci::ReferenceDynamic EDK_Helper::getStoredRefDyn_linear() { return refDynamicStored_linear; }
srci::ReferenceDynamic EDK_Helper::getStoredRefDyn_joint() { return refDynamicStored_joint; }
srci::DefaultDynamic EDK_Helper::getStoredDefaultDyn() { return defaultDynamicStored; }

void EDK_Helper::setStoredDefaultDyn(srci::DefaultDynamic dd) {
    defaultDynamicStored = dd;
    WriteDefaultDynToINI(dd);
}

void EDK_Helper::setStoredRefDyn_linear(srci::ReferenceDynamic rd) {
    // Deceleration and jerk cannot be configured; they must come as -1.
    if (std::fabs(rd.dec + 1.0) >= 0.001) throw static_cast<int>(srci::err_refDyn_dec);
    if (std::fabs(rd.jerk + 1.0) >= 0.001) throw static_cast<int>(srci::err_refDyn_jerk);

    const srci::ReferenceDynamic& cur = refDynamicStored_linear;
    srci::ReferenceDynamic next;
    next.vel = rd.vel >= 0 ? rd.vel : cur.vel;
    next.acc = rd.acc >= 0 ? rd.acc : cur.acc;
    next.dec = rd.dec > 0 ? rd.dec : cur.dec;
    next.jerk = rd.jerk > 0 ? rd.jerk : cur.jerk;

    if (next.vel > refDynamicOriginal.vel) throw static_cast<int>(srci::err_refDyn_vel);
    if (next.acc > refDynamicOriginal.acc) throw static_cast<int>(srci::err_refDyn_acc);

    try {
        srci::RcItf::get(true)->setReferenceDynamic(next);
    } catch (int code) {
        SRCI_LOG(zlog::ZLogLvError, "fail to set referenceDynamic");
        throw code;
    }
    refDynamicStored_linear = next;
    WriteRefDynToINI(next);
}

// Only one level of reference: a frame may refer to the base or to a frame that itself
// refers to the base. The controller's current copy of the reference is used.
srci::POSE EDK_Helper::get_rcFrame_fromUser(srci::POSE pose, int frameId) {
    if (frameId == 0) return pose;
    checkIndex(frameId, MaxFramesCount, srci::err_frames_index);
    if (frames[frameId].refIndex != 0) {
        SRCI_LOG(zlog::ZLogLvError, "cannot refer to a frame which is not referred to frame0...");
        throw static_cast<int>(srci::err_frame_ref);
    }
    srci::RcItf* rc = srci::RcItf::get(true);
    return rc->calFrame_user_to_world(pose, rc->getUsrFrame(frameId));
}

srci::POSE EDK_Helper::get_rcFrame_inUser(srci::POSE pose, int frameId) {
    srci::RcItf* rc = srci::RcItf::get(true);
    return rc->calFrame_world_to_user(pose, rc->getUsrFrame(frameId));
}
