// SPDX-License-Identifier: Apache-2.0
// The store's sections in srci.ini. Reads abort at the first missing section or key, so a
// partial record never leaves here; each record is written whole, its keys in a fixed order.
#include <string>

#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"

namespace {

std::string section(const char* prefix, int index) { return prefix + std::to_string(index); }

srci::POSE readPose(const INI& ini, const std::string& sec) {
    const double x = ini.getDouble(sec, "x");
    const double y = ini.getDouble(sec, "y");
    const double z = ini.getDouble(sec, "z");
    const double rx = ini.getDouble(sec, "rx");
    const double ry = ini.getDouble(sec, "ry");
    const double rz = ini.getDouble(sec, "rz");
    return srci::POSE(x, y, z, rx, ry, rz);
}

// One record, one replacement of the file: a crash leaves the section all old or all new.
void write(INI& ini, const IniRecord& record) {
    if (!ini.put(record)) throw static_cast<int>(srci::err_ini_write);
}

IniRecord& addPose(IniRecord& record, const srci::POSE& pose) {
    static const char* const keys[6] = {"x", "y", "z", "rx", "ry", "rz"};
    for (unsigned int i = 0; i < 6; ++i) record.add(keys[i], pose[i]);
    return record;
}

// dec and jerk cannot be configured: whatever the file holds, they read back as unused.
struct DynPair {
    double vel, acc;
};

bool readDynSection(const INI& ini, const char* sec, DynPair& out) {
    if (!ini.hasSection(sec)) {
        SRCI_LOG(zlog::ZLogLvError, std::string("fail to read ini ") + sec + ", use default");
        return false;
    }
    out.vel = ini.getDouble(sec, "vel");
    out.acc = ini.getDouble(sec, "acc");
    return true;
}

void writeDynSection(INI& ini, const char* sec, double vel, double acc, double dec, double jerk) {
    write(ini, IniRecord(sec).add("vel", vel).add("acc", acc).add("dec", dec).add("jerk", jerk));
}

}  // namespace

srci::ToolData EDK_Helper::ReadToolFromINI(int index) {
    const std::string sec = section("tool", index);
    srci::ToolData tool;
    tool.pose = readPose(ini, sec);
    tool.fixed_tool = ini.getBool(sec, "fixTCP");
    tool.loadId = static_cast<uint8_t>(ini.getInt(sec, "loadId"));
    tool.physicalToolId = static_cast<uint8_t>(ini.getInt(sec, "physicalToolId"));
    return tool;
}

srci::FrameData EDK_Helper::ReadFrameFromINI(int index) {
    const std::string sec = section("userFrame", index);
    srci::FrameData frame;
    frame.pose = readPose(ini, sec);
    frame.refIndex = static_cast<uint8_t>(ini.getInt(sec, "refIndex"));
    return frame;
}

srci::LoadData EDK_Helper::ReadLoadFromINI(int index) {
    const std::string sec = section("load", index);
    srci::LoadData load;
    load.mass = ini.getDouble(sec, "mass");
    load.x = ini.getDouble(sec, "x");
    load.y = ini.getDouble(sec, "y");
    load.z = ini.getDouble(sec, "z");
    load.rx = ini.getDouble(sec, "rx");
    load.ry = ini.getDouble(sec, "ry");
    load.rz = ini.getDouble(sec, "rz");
    load.ix = ini.getDouble(sec, "ix");
    load.iy = ini.getDouble(sec, "iy");
    load.iz = ini.getDouble(sec, "iz");
    return load;
}

srci::ReferenceDynamic EDK_Helper::ReadRefDynFromINI() {
    DynPair read{300.0, 300.0};
    readDynSection(ini, "refDyn", read);
    return srci::ReferenceDynamic{read.vel, read.acc, -1.0, -1.0};
}

// The fallback rate (0.9) differs from the constructor's 1.0 on purpose.
srci::DefaultDynamic EDK_Helper::ReadDefaultDynFromINI() {
    DynPair read{0.9, 0.9};
    readDynSection(ini, "defaultDyn", read);
    return srci::DefaultDynamic{read.vel, read.acc, -1.0, -1.0};
}

void EDK_Helper::WriteToolToINI(int index, srci::ToolData tool) {
    IniRecord record(section("tool", index));
    addPose(record, tool.pose)
        .add("fixTCP", tool.fixed_tool)
        .add("loadId", static_cast<int>(tool.loadId))
        .add("physicalToolId", static_cast<int>(tool.physicalToolId));
    write(ini, record);
}

void EDK_Helper::WriteFrameToINI(int index, srci::FrameData frame) {
    IniRecord record(section("userFrame", index));
    addPose(record, frame.pose).add("refIndex", static_cast<int>(frame.refIndex));
    write(ini, record);
}

void EDK_Helper::WriteLoadToINI(int index, srci::LoadData load) {
    write(ini, IniRecord(section("load", index))
                   .add("mass", load.mass)
                   .add("x", load.x)
                   .add("y", load.y)
                   .add("z", load.z)
                   .add("rx", load.rx)
                   .add("ry", load.ry)
                   .add("rz", load.rz)
                   .add("ix", load.ix)
                   .add("iy", load.iy)
                   .add("iz", load.iz));
}

void EDK_Helper::WriteRefDynToINI(srci::ReferenceDynamic rd) {
    writeDynSection(ini, "refDyn", rd.vel, rd.acc, rd.dec, rd.jerk);
}

void EDK_Helper::WriteDefaultDynToINI(srci::DefaultDynamic dd) {
    writeDynSection(ini, "defaultDyn", dd.vel_rate, dd.acc_rate, dd.dec_rate, dd.jerk_rate);
}
