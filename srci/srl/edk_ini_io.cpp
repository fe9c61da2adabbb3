// SPDX-License-Identifier: Apache-2.0
// The store's sections in srci.ini. Reads abort at the first missing section or key, so a
// partial record never leaves here; each record is written whole, its keys in a fixed order.
#include <cstdio>
#include <string>

#include "itf_rc/srci_log.h"
#include "srl/edk_helper.h"

namespace {

std::string section(const char* prefix, int index) { return prefix + std::to_string(index); }

// A record is read from one scan of its section; the first missing key still decides the code.
srci::POSE readPose(const IniSection& sec) {
    const double x = sec.getDouble("x");
    const double y = sec.getDouble("y");
    const double z = sec.getDouble("z");
    const double rx = sec.getDouble("rx");
    const double ry = sec.getDouble("ry");
    const double rz = sec.getDouble("rz");
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

// A dynamics section without one of its keys stops the start on purpose (the code is not caught
// on the way out); the one line on stderr says which file, section and key made it so.
double readDynValue(const INI& ini, const char* sec, const char* key) {
    try {
        return ini.getDouble(sec, key);
    } catch (int) {
        std::fprintf(stderr, "%s: section [%s] has no key \"%s\"; srci_server cannot start\n", ini.path().c_str(), sec,
                     key);
        throw;
    }
}

bool readDynSection(const INI& ini, const char* sec, DynPair& out) {
    if (!ini.hasSection(sec)) {
        SRCI_LOG(zlog::ZLogLvError, std::string("fail to read ini ") + sec + ", use default");
        return false;
    }
    out.vel = readDynValue(ini, sec, "vel");
    out.acc = readDynValue(ini, sec, "acc");
    return true;
}

void writeDynSection(INI& ini, const char* sec, double vel, double acc, double dec, double jerk) {
    write(ini, IniRecord(sec).add("vel", vel).add("acc", acc).add("dec", dec).add("jerk", jerk));
}

}  // namespace

srci::ToolData EDK_Helper::ReadToolFromINI(int index) {
    const IniSection sec = ini.section(section("tool", index));
    srci::ToolData tool;
    tool.pose = readPose(sec);
    tool.fixed_tool = sec.getBool("fixTCP");
    tool.loadId = static_cast<uint8_t>(sec.getInt("loadId"));
    tool.physicalToolId = static_cast<uint8_t>(sec.getInt("physicalToolId"));
    return tool;
}

srci::FrameData EDK_Helper::ReadFrameFromINI(int index) {
    const IniSection sec = ini.section(section("userFrame", index));
    srci::FrameData frame;
    frame.pose = readPose(sec);
    frame.refIndex = static_cast<uint8_t>(sec.getInt("refIndex"));
    return frame;
}

srci::LoadData EDK_Helper::ReadLoadFromINI(int index) {
    const IniSection sec = ini.section(section("load", index));
    srci::LoadData load;
    load.mass = sec.getDouble("mass");
    load.x = sec.getDouble("x");
    load.y = sec.getDouble("y");
    load.z = sec.getDouble("z");
    load.rx = sec.getDouble("rx");
    load.ry = sec.getDouble("ry");
    load.rz = sec.getDouble("rz");
    load.ix = sec.getDouble("ix");
    load.iy = sec.getDouble("iy");
    load.iz = sec.getDouble("iz");
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
