// SPDX-License-Identifier: Apache-2.0
#include "srci_plc/command_catalog.hpp"

#include <iterator>
#include <stdexcept>

#include "srci_plc/byte_order.hpp"
#include "srci_plc/wire_constants.hpp"

// Offsets below follow the payload tables of the SRCI standard (payload byte 0
// = first byte of the command/response header).
namespace srci_plc {

namespace {

using T = FieldType;

struct LayoutBuilder {
    Layout l;
    explicit LayoutBuilder(uint16_t size) { l.size = size; }
    LayoutBuilder& f(const std::string& name, uint16_t off, T type, double fallback = 0, uint8_t arg = 0) {
        l.fields.push_back(Field{name, off, type, arg, fallback});
        return *this;
    }
    LayoutBuilder& bit(const std::string& name, uint16_t off, uint8_t bit_no, double fallback = 0) {
        return f(name, off, T::Bit, fallback, bit_no);
    }
    LayoutBuilder& series(const std::string& prefix, int first, int count, uint16_t off, T type = T::F32) {
        add_series(l, prefix, first, count, off, type, 4);
        return *this;
    }
    LayoutBuilder& pose(uint16_t off) {
        for (int i = 0; i < 6; ++i) f(kPoseFieldNames[i], static_cast<uint16_t>(off + 4 * i), T::F32);
        return *this;
    }
    LayoutBuilder& stamp(uint16_t off) { return f("date", off, T::Date).f("time", off + 2, T::TimeOfDay); }
    operator Layout() const { return l; }
};

const std::vector<std::string> kPose(std::begin(kPoseFieldNames), std::end(kPoseFieldNames));
const std::vector<std::string> kJoints = {"j1", "j2", "j3", "j4", "j5", "j6"};

int bit(int byte, int b) { return byte * 8 + b; }

// Positional order "N X Y Z RX RY RZ" of the data-record writes.
std::vector<std::string> numbered_pose(const char* index) {
    std::vector<std::string> v{index};
    v.insert(v.end(), kPose.begin(), kPose.end());
    return v;
}

Layout header_only() { return LayoutBuilder(4); }

Layout move_axes_request() {
    return LayoutBuilder(80)
        .f("vel", 10, T::Percent, 10)
        .f("acc", 12, T::Percent, 10)
        .f("dec", 14, T::Percent, -1)
        .f("jerk", 16, T::Percent, -1)
        .f("tool", 18, T::U8)
        .f("blending", 19, T::U8)
        .f("blend0", 20, T::F32)
        .f("blend1", 24, T::F32)
        .series("j", 1, 6, 28)
        .f("e1", 52, T::F32)
        .bit("manipulation", 56, 0)
        .f("move_time", 58, T::U16)
        .series("e", 2, 5, 60);
}

Layout move_cartesian_request(bool linear) {
    LayoutBuilder b(92);
    b.f("vel", 10, T::Percent, 10)
        .f("acc", 12, T::Percent, 10)
        .f("dec", 14, T::Percent, -1)
        .f("jerk", 16, T::Percent, -1)
        .f("tool", 18, T::U8)
        .f("frame", 19, T::U8)
        .f("blending", 20, T::U8);
    if (linear) b.f("ori_mode", 21, T::U8, 1);
    b.f("blend0", 22, T::F32)
        .f("blend1", 26, T::F32)
        .pose(30)
        .f("config", 54, T::U8)
        .f("turns", 56, T::U32)
        .f("e1", 60, T::F32)
        .bit("manipulation", 64, 0)
        .f("turn_mode", 65, T::U8, 2)
        .f("config_s", 66, T::Nibble, 1, 0)
        .f("config_e", 66, T::Nibble, 1, 4)
        .f("config_w", 67, T::Nibble, 1, 0)
        .f("move_time", 70, T::U16)
        .series("e", 2, 5, 72);
    return b;
}

Layout move_response(bool with_distance) {
    LayoutBuilder b(with_distance ? 14 : 10);
    b.f("invocation", 4, T::U8).f("origin", 6, T::I16).f("progress", 8, T::Percent);
    if (with_distance) b.f("remaining", 10, T::F32);
    return b;
}

Layout jog_request() {
    static const char* dirs[] = {"x+",  "y+",  "z+",  "rx+", "ry+", "rz+", "x-",  "y-",  "z-",  "rx-", "ry-", "rz-",
                                 "e1+", "e2+", "e3+", "e4+", "e5+", "e6+", "e1-", "e2-", "e3-", "e4-", "e5-", "e6-"};
    LayoutBuilder b(23);
    b.bit("enable", 4, 0, 1)
        .f("tool", 6, T::U8, 255)
        .f("frame", 7, T::U8, 255)
        .f("mode", 8, T::U8)
        .f("inc", 10, T::F32)
        .f("rot", 14, T::F32)
        .f("override", 18, T::Percent, 5);
    for (int i = 0; i < 24; ++i) b.bit(dirs[i], static_cast<uint16_t>(20 + i / 8), static_cast<uint8_t>(i % 8));
    return b;
}

Layout limits_body(uint16_t size, bool write) {
    LayoutBuilder b(size);
    b.stamp(4)
        .series("min_j", 1, 6, 10)
        .f("min_e1", 34, T::F32)
        .series("max_j", 1, 6, 38)
        .f("max_e1", 62, T::F32)
        .series("min_e", 2, 5, 66)
        .series("max_e", 2, 5, 86);
    if (write) b.bit("factory_reset", 106, 0);
    else b.bit("data_changed", 106, 0);
    return b;
}

Layout workarea_body(bool write) {
    LayoutBuilder b(154);
    b.f("area", 4, write ? T::U16 : T::U8)
        .stamp(6)
        .f("type", 12, T::U8)
        .bit("area_mode", 13, 0)
        .f("reaction", 14, T::U8)
        .bit("active_modification", 15, 0)
        .f("frame", 16, T::U8)
        .f("zero_x", 17, T::F32)
        .f("zero_y", 21, T::F32)
        .f("zero_z", 25, T::F32)
        .f("x1", 29, T::F32)
        .f("x2", 33, T::F32)
        .f("y1", 37, T::F32)
        .f("y2", 41, T::F32)
        .f("z1", 45, T::F32)
        .f("z2", 49, T::F32)
        .f("radius", 53, T::F32)
        .series("min_j", 1, 6, 57)
        .f("min_e1", 81, T::F32)
        .series("max_j", 1, 6, 85)
        .f("max_e1", 109, T::F32)
        .series("min_e", 2, 5, 113)
        .series("max_e", 2, 5, 133)
        .bit("data_changed", 153, 0);
    return b;
}

CommandDef def(std::string name, uint16_t type, uint8_t mode, CommandKind kind, Layout req, Layout resp,
               std::vector<std::string> positional, int support, std::string summary) {
    CommandDef d;
    d.name = std::move(name);
    d.cmd_type = type;
    d.exec_mode = mode;
    d.kind = kind;
    d.request = std::move(req);
    d.response = std::move(resp);
    d.positional = std::move(positional);
    d.support_bit = support;
    d.summary = std::move(summary);
    return d;
}

std::vector<CommandDef> build_catalog() {
    using K = CommandKind;
    namespace ct = cmd_type;
    namespace em = exec_mode;
    const uint8_t par = em::kParallel;
    std::vector<CommandDef> c;

    c.push_back(def("enable", ct::kEnableRobot, par, K::EnableType,
                    LayoutBuilder(8)
                        .bit("enable", 4, 0, 1)
                        .f("step_mode", 5, T::U8)
                        .bit("hold_to_run", 6, 0)
                        .bit("manual_step", 6, 1),
                    LayoutBuilder(5).bit("enabled", 4, 0), {}, bit(0, 2), "EnableRobot: power the arm"));
    c.push_back(def("reset", ct::kGroupReset, par, K::Instant, header_only(), header_only(), {}, bit(0, 3),
                    "GroupReset: acknowledge pending errors"));
    c.push_back(def("override", ct::kChangeSpeedOverride, par, K::Instant,
                    LayoutBuilder(6).f("override", 4, T::Percent, 100), header_only(), {"override"}, bit(1, 0),
                    "ChangeSpeedOverride PERCENT"));
    c.push_back(def("continue", ct::kGroupContinue, par, K::Instant, header_only(), header_only(), {}, bit(3, 2),
                    "GroupContinue: resume interrupted motion"));
    c.push_back(def("pause", ct::kGroupInterrupt, par, K::Instant, header_only(), header_only(), {}, bit(3, 3),
                    "GroupInterrupt: pause motion"));
    c.push_back(def("stop", ct::kGroupStop, par, K::Instant, header_only(),
                    LayoutBuilder(5).f("aborted_sequence", 4, T::I8), {}, bit(3, 1),
                    "GroupStop: stop and drop all motion"));
    {
        CommandDef d =
            def("jog", ct::kGroupJog, em::kSequenceSecondary, K::EnableType, jog_request(),
                LayoutBuilder(5).bit("enabled", 4, 0).bit("distance_reached", 4, 1).bit("motion_active", 4, 2), {},
                bit(2, 5), "GroupJog MODE AXIS+/-");
        c.push_back(std::move(d));
    }
    c.push_back(def("move-axes", ct::kMoveAxesAbsolute, em::kSequencePrimary, K::Motion, move_axes_request(),
                    move_response(false), kJoints, bit(3, 0), "MoveAxesAbsolute J1..J6 [deg]"));
    c.push_back(def("move-linear", ct::kMoveLinearAbsolute, em::kSequencePrimary, K::Motion,
                    move_cartesian_request(true), move_response(true), kPose, bit(2, 6),
                    "MoveLinearAbsolute X Y Z RX RY RZ"));
    c.push_back(def("move-direct", ct::kMoveDirectAbsolute, em::kSequencePrimary, K::Motion,
                    move_cartesian_request(false), move_response(true), kPose, bit(2, 7),
                    "MoveDirectAbsolute X Y Z RX RY RZ"));
    c.push_back(def("read-position", ct::kReadActualPosition, par, K::Instant,
                    LayoutBuilder(12).f("tool", 10, T::U8, 255).f("frame", 11, T::U8, 255),
                    LayoutBuilder(112)
                        .f("tool", 8, T::U8)
                        .f("frame", 9, T::U8)
                        .pose(10)
                        .f("config", 34, T::U8)
                        .f("turns", 36, T::Bytes, 0, 4)
                        .f("e1", 40, T::F32)
                        .series("j", 1, 6, 44),
                    {}, bit(0, 4), "ReadActualPosition [tool=N frame=N]"));
    c.push_back(def("read-tool", ct::kReadToolData, par, K::Instant, LayoutBuilder(5).f("tool", 4, T::U8),
                    LayoutBuilder(40)
                        .stamp(4)
                        .pose(10)
                        .f("id", 34, T::U8)
                        .f("load", 35, T::U8)
                        .bit("external", 36, 0)
                        .f("tool", 38, T::U8)
                        .bit("data_changed", 39, 0),
                    {"tool"}, bit(2, 2), "ReadToolData TOOL"));
    c.push_back(def("write-tool", ct::kWriteToolData, par, K::Instant,
                    LayoutBuilder(39)
                        .stamp(4)
                        .pose(10)
                        .f("id", 34, T::U8)
                        .f("load", 35, T::U8)
                        .bit("external", 36, 0)
                        .f("tool", 38, T::U8),
                    header_only(), numbered_pose("tool"), bit(1, 4), "WriteToolData TOOL X Y Z RX RY RZ"));
    c.push_back(def(
        "read-frame", ct::kReadFrameData, par, K::Instant, LayoutBuilder(5).f("frame", 4, T::U8),
        LayoutBuilder(38).stamp(4).f("reference", 10, T::U8).pose(12).f("frame", 36, T::U8).bit("data_changed", 37, 0),
        {"frame"}, bit(2, 1), "ReadFrameData FRAME"));
    c.push_back(def("write-frame", ct::kWriteFrameData, par, K::Instant,
                    LayoutBuilder(37).stamp(4).f("reference", 10, T::U8).pose(12).f("frame", 36, T::U8), header_only(),
                    numbered_pose("frame"), bit(1, 3), "WriteFrameData FRAME X Y Z RX RY RZ"));
    const auto load_body = [](uint16_t size, bool read) {
        LayoutBuilder b(size);
        b.stamp(4)
            .pose(10)
            .f("mass", 34, T::F32)
            .f("ix", 38, T::F32)
            .f("iy", 42, T::F32)
            .f("iz", 46, T::F32)
            .f("load", 50, T::U8);
        if (read) b.bit("data_changed", 51, 0);
        return Layout(b);
    };
    c.push_back(def("read-load", ct::kReadLoadData, par, K::Instant, LayoutBuilder(5).f("load", 4, T::U8),
                    load_body(52, true), {"load"}, bit(2, 3), "ReadLoadData LOAD"));
    c.push_back(def("write-load", ct::kWriteLoadData, par, K::Instant, load_body(51, false), header_only(),
                    {"load", "mass", "x", "y", "z"}, bit(1, 5), "WriteLoadData LOAD MASS [X Y Z]"));
    c.push_back(def("read-dynamics", ct::kReadRobotReferenceDynamics, par, K::Instant, header_only(),
                    LayoutBuilder(27)
                        .stamp(4)
                        .f("vel", 10, T::F32)
                        .f("acc", 14, T::F32)
                        .f("dec", 18, T::F32)
                        .f("jerk", 22, T::F32)
                        .bit("data_changed", 26, 0),
                    {}, bit(1, 2), "ReadRobotReferenceDynamics"));
    c.push_back(
        def("write-dynamics", ct::kWriteRobotReferenceDynamics, par, K::Instant,
            LayoutBuilder(26)
                .stamp(4)
                .f("vel", 10, T::F32, -1)
                .f("acc", 14, T::F32, -1)
                .f("dec", 18, T::F32, -1)
                .f("jerk", 22, T::F32, -1),
            LayoutBuilder(20).f("vel", 4, T::F32).f("acc", 8, T::F32).f("dec", 12, T::F32).f("jerk", 16, T::F32),
            {"vel", "acc", "dec", "jerk"}, bit(1, 6), "WriteRobotReferenceDynamics VEL ACC [DEC JERK]"));
    c.push_back(def("read-default-dynamics", ct::kReadRobotDefaultDynamics, par, K::Instant, header_only(),
                    LayoutBuilder(19)
                        .stamp(4)
                        .f("vel", 10, T::Percent)
                        .f("acc", 12, T::Percent)
                        .f("dec", 14, T::Percent)
                        .f("jerk", 16, T::Percent)
                        .bit("data_changed", 18, 0),
                    {}, bit(2, 0), "ReadRobotDefaultDynamics"));
    c.push_back(def("write-default-dynamics", ct::kWriteRobotDefaultDynamics, par, K::Instant,
                    LayoutBuilder(18)
                        .stamp(4)
                        .f("vel", 10, T::Percent, 100)
                        .f("acc", 12, T::Percent, 100)
                        .f("dec", 14, T::Percent, -1)
                        .f("jerk", 16, T::Percent, -1),
                    LayoutBuilder(12)
                        .f("vel", 4, T::Percent)
                        .f("acc", 6, T::Percent)
                        .f("dec", 8, T::Percent)
                        .f("jerk", 10, T::Percent),
                    {"vel", "acc", "dec", "jerk"}, bit(1, 7), "WriteRobotDefaultDynamics VEL% ACC% [DEC% JERK%]"));
    c.push_back(def("read-limits", ct::kReadRobotSWLimits, par, K::Instant, header_only(), limits_body(107, false), {},
                    bit(2, 4), "ReadRobotSWLimits"));
    c.push_back(def("write-limits", ct::kWriteRobotSWLimits, par, K::Instant, limits_body(107, true),
                    LayoutBuilder(5).bit("restart_requested", 4, 0), {}, bit(9, 0),
                    "WriteRobotSWLimits min_j1=.. max_j1=.. ..."));
    c.push_back(def("read-workarea", ct::kReadWorkArea, par, K::Instant, LayoutBuilder(5).f("area", 4, T::U8),
                    workarea_body(false), {"area"}, bit(9, 2), "ReadWorkArea AREA"));
    c.push_back(def("write-workarea", ct::kWriteWorkArea, par, K::Instant, workarea_body(true), header_only(), {"area"},
                    bit(9, 3), "WriteWorkArea AREA type=.. x1=.. ..."));
    c.push_back(
        def("fk", ct::kCalculateForwardKinematic, par, K::Instant,
            LayoutBuilder(54).f("tool", 4, T::U8).f("frame", 5, T::U8).series("j", 1, 6, 6).series("e", 1, 6, 30),
            LayoutBuilder(60)
                .f("tool", 4, T::U8)
                .f("frame", 5, T::U8)
                .pose(6)
                .f("config", 30, T::U8)
                .f("turns", 32, T::Bytes, 0, 4)
                .series("e", 1, 6, 36),
            kJoints, bit(6, 7), "CalculateForwardKinematic J1..J6"));
    c.push_back(def("ik", ct::kCalculateInverseKinematic, par, K::Instant,
                    LayoutBuilder(60)
                        .f("tool", 4, T::U8)
                        .f("frame", 5, T::U8)
                        .pose(6)
                        .f("config", 30, T::U8)
                        .f("turns", 32, T::U32)
                        .series("e", 1, 6, 36),
                    LayoutBuilder(52).series("j", 1, 6, 4).series("e", 1, 6, 28), kPose, bit(7, 0),
                    "CalculateInverseKinematic X Y Z RX RY RZ [config=SEW-bits]"));
    c.push_back(def("exchange-config", ct::kExchangeConfiguration, par, K::EnableType,
                    LayoutBuilder(20)
                        .f("log_level", 4, T::U8, 20)
                        .bit("wait_at_blending", 5, 0)
                        .bit("enable", 5, 1, 1)
                        .bit("allow_sec_seq", 5, 2)
                        .bit("allow_dynamic_blending", 5, 3)
                        .f("delay_time", 6, T::U16)
                        .f("wait_for_cmds", 8, T::U16)
                        .f("lifesign_timeout", 10, T::U16, 50)
                        .f("sync_delay", 12, T::U16)
                        .f("sync_reaction", 14, T::U8)
                        .f("data_in_sync", 15, T::U8)
                        .f("data_enable_sync", 17, T::U8),
                    LayoutBuilder(30)
                        .bit("enabled", 4, 0)
                        .f("length_acr", 6, T::U16)
                        .f("highest_tool", 8, T::U8)
                        .f("highest_frame", 9, T::U8)
                        .f("highest_load", 10, T::U8)
                        .f("highest_workarea", 11, T::U8)
                        .f("data_in_sync", 12, T::U8)
                        .f("change_tool", 14, T::U8)
                        .f("change_frame", 15, T::U8)
                        .f("change_load", 16, T::U8)
                        .f("change_workarea", 17, T::U8)
                        .f("ra_hours", 18, T::U32)
                        .f("features", 22, T::Bytes, 0, 2)
                        .f("rc_hours", 24, T::U32)
                        .f("server_logs", 28, T::U16),
                    {}, -1, "ExchangeConfiguration parameter update [key=value ...]"));
    {
        CommandDef d = def("read-messages", ct::kReadMessages, par, K::EnableType,
                           LayoutBuilder(7).f("msg_id", 4, T::U8).bit("enable", 5, 0, 1).f("level", 6, T::U8, 20),
                           LayoutBuilder(170)
                               .f("msg_id", 4, T::U8)
                               .bit("enabled", 5, 0)
                               .f("errors", 6, T::U8)
                               .f("warnings", 7, T::U8)
                               .stamp(8)
                               .f("type", 14, T::U8)
                               .f("severity", 15, T::I8)
                               .f("code", 16, T::U32)
                               .f("text", 20, T::Chars, 0, 150),
                           {}, -1, "ReadMessages (started by the handshake)");
        d.enabled_byte = 5;
        c.push_back(std::move(d));
    }
    c.push_back(def("read-robot-data", ct::kReadRobotData, par, K::Instant, header_only(),
                    LayoutBuilder(134)
                        .f("manufacturer", 4, T::Chars, 0, 20)
                        .f("order_id", 24, T::Chars, 0, 20)
                        .f("rc_serial", 44, T::Chars, 0, 16)
                        .f("ra_serial", 60, T::Chars, 0, 16)
                        .f("firmware", 76, T::Chars, 0, 12)
                        .f("interpreter_version", 88, T::Bytes, 0, 3)
                        .f("joints_used", 92, T::Bytes, 0, 1)
                        .f("external_used", 93, T::Bytes, 0, 1)
                        .f("joint_unit", 94, T::Bytes, 0, 1)
                        .f("external_unit", 95, T::Bytes, 0, 1)
                        .f("supported", 96, T::Bytes, 0, 19)
                        .f("robot_id", 116, T::Chars, 0, 16)
                        .f("cycle_time", 132, T::U16),
                    {}, -1, "ReadRobotData"));
    return c;
}

}  // namespace

const std::vector<CommandDef>& command_catalog() {
    static const std::vector<CommandDef> catalog = build_catalog();
    return catalog;
}

const CommandDef* find_command(std::string_view name) {
    for (const auto& d : command_catalog())
        if (d.name == name) return &d;
    return nullptr;
}

const CommandDef* find_command(uint16_t type) {
    for (const auto& d : command_catalog())
        if (d.cmd_type == type) return &d;
    return nullptr;
}

std::vector<uint8_t> encode_command(const CommandDef& def, const ParamValues& values, uint8_t par_seq,
                                    const Timestamp& now) {
    ParamValues fields = values;
    uint8_t mode = def.exec_mode;
    uint8_t priority = kPriorityNormal;
    const auto take = [&](const char* key, uint8_t& target, int hi) {
        const auto it = fields.find(key);
        if (it == fields.end()) return;
        if (it->second < 0 || it->second > hi || it->second != static_cast<int>(it->second))
            throw std::invalid_argument(std::string(key) + " must be an integer 0.." + std::to_string(hi));
        target = static_cast<uint8_t>(it->second);
        fields.erase(it);
    };
    take("exec_mode", mode, 15);
    take("priority", priority, 15);

    std::vector<uint8_t> payload(def.request.size, 0);
    put_u16be(&payload[0], def.cmd_type);
    payload[2] = static_cast<uint8_t>(mode & 0x0F);
    payload[3] = static_cast<uint8_t>(((par_seq & 0x0F) << 4) | (priority & 0x0F));
    encode_fields(def.request, fields, now, payload);
    return payload;
}

}  // namespace srci_plc
