// SPDX-License-Identifier: Apache-2.0
// Tells the interpreter which handler serves which SRCI command, and hands it the robot's
// initial persistent data and axes-group parameters.
#include "srl/srl_define_function.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "itf_rc/rcitf.h"
#include "srl/edk_helper.h"
#include "srl/handler_codec.h"
#include "srl/srl_api.h"

using namespace srci;

namespace {

void* address(srl_handler_fn fn) { return reinterpret_cast<void*>(fn); }

// Copied without terminator, cut at the field's length; shorter texts leave zeros.
template <std::size_t N>
void copyField(Char (&field)[N], const std::string& value) {
    std::memset(field, 0, N);
    std::memcpy(field, value.data(), std::min(N, value.size()));
}

Int limitDegrees(double value) { return static_cast<Int>(value); }  // truncation toward zero

void fillTools(LRob_typePersistentData& data) {
    for (int i = 0; i < EDK_Helper::MaxToolsCount; ++i) {
        const ToolData tool = helper.getStoredTool(i);
        auto& t = data.tools[i];
        handler::putPose(t.Data, tool.pose);
        t.Data.ID = tool.physicalToolId;
        t.Data.LoadNo = tool.loadId;
        t.Data.ExternalTCP = tool.fixed_tool;
        t.dataChanged = 0;
        t.isAvailable = 1;
    }
}

void fillFrames(LRob_typePersistentData& data) {
    for (int i = 0; i < EDK_Helper::MaxFramesCount; ++i) {
        const FrameData frame = helper.getStoredFrame(i);
        auto& f = data.frames[i];
        f.Data.ReferenceFrame = frame.refIndex;
        handler::putPose(f.Data, frame.pose);
        f.dataChanged = 0;
        f.isAvailable = 1;
        f.isDynamicFrame = 0;
    }
}

void fillLoads(LRob_typePersistentData& data) {
    for (int i = 0; i < EDK_Helper::MaxLoadsCount; ++i) {
        const LoadData load = helper.getStoredLoad(i);
        auto& l = data.loads[i];
        l.Data.Mass = static_cast<float>(load.mass);
        handler::putPose(l.Data, POSE(load.x, load.y, load.z, load.rx, load.ry, load.rz));
        l.Data.IX = static_cast<float>(load.ix);
        l.Data.IY = static_cast<float>(load.iy);
        l.Data.IZ = static_cast<float>(load.iz);
        l.isAvailable = 1;
    }
}

// Placeholder work areas, deliberately fixed.
void fillWorkAreas(LRob_typePersistentData& data) {
    for (auto& area : data.workAreas) {
        area.isAvailable = 1;
        area.Data.X1 = 10.0f;
        area.Data.Y1 = 11.0f;
    }
}

void fillDynamics(LRob_typePersistentData& data) {
    const ReferenceDynamic ref = helper.getStoredRefDyn_linear();
    data.referenceDynamics.Data.VelocityReference = static_cast<float>(ref.vel);
    data.referenceDynamics.Data.AccelerationReference = static_cast<float>(ref.acc);
    data.referenceDynamics.Data.DecelerationReference = -1.0f;
    data.referenceDynamics.Data.JerkReference = -1.0f;
    const DefaultDynamic def = helper.getStoredDefaultDyn();
    data.defaultDynamics.Data.VelocityRate = static_cast<float>(100 * def.vel_rate);
    data.defaultDynamics.Data.AccelerationRate = static_cast<float>(100 * def.acc_rate);
    data.defaultDynamics.Data.DecelerationRate = -1.0f;
    data.defaultDynamics.Data.JerkRate = -1.0f;
}

void fillLimits(LRob_typePersistentData& data) {
    RcItf* rc = RcItf::get(true);
    double hard[12], soft[12];
    rc->getHardLimits(hard);
    auto& h = data.hardwareLimits;
    h.J1_Neg = limitDegrees(hard[0]);
    h.J1_Pos = limitDegrees(hard[1]);
    h.J2_Neg = limitDegrees(hard[2]);
    h.J2_Pos = limitDegrees(hard[3]);
    h.J3_Neg = limitDegrees(hard[4]);
    h.J3_Pos = limitDegrees(hard[5]);
    h.J4_Neg = limitDegrees(hard[6]);
    h.J4_Pos = limitDegrees(hard[7]);
    h.J5_Neg = limitDegrees(hard[8]);
    h.J5_Pos = limitDegrees(hard[9]);
    h.J6_Neg = limitDegrees(hard[10]);
    h.J6_Pos = limitDegrees(hard[11]);
    data.swLimits.dataChanged = 1;
    rc->getSoftLimits(soft);
    handler::putJoints(data.swLimits.Data.JointLowerLimit,
                       JOINTS(soft[0], soft[2], soft[4], soft[6], soft[8], soft[10]));
    handler::putJoints(data.swLimits.Data.JointUpperLimit,
                       JOINTS(soft[1], soft[3], soft[5], soft[7], soft[9], soft[11]));
}

void fillMasterData(LRob_typePersistentData& data) {
    const RobotInfo info = RcItf::get(true)->getRobotInfo();
    auto& m = data.masterData;
    copyField(m.RobotID, info.Robot_Id);
    copyField(m.SRCIVersion, info.SRCI_version);
    copyField(m.RCManufacturer, info.RC_manufacturer);
    copyField(m.RCOrderID, info.RC_Order_Id);
    copyField(m.RCSerialNumber, info.RC_serial);
    copyField(m.RASerialNumber, info.RA_serial);
    copyField(m.RCFirmwareVersion, info.RC_firmware);
    copyField(m.RCInterpreterVersion, info.RC_Interpreter_Version);
    copyField(m.RCUserDefinedName, info.RC_UserDefined_Name);
    m.AxisJointUsed = 0x7E;
    m.AxisExternalUsed = 0;
    m.AxisJointUnit = 0;
    m.AxisExternalUnit = 0;
    m.InterpreterCycleTime = 4;
}

// Nominal kinematic description, not read from the controller.
void fillKinematicDescription(LRob_typePersistentData& data) {
    const Real alpha[7] = {0, 90, 0, 0, -90, 0, 0};
    const Real a[7] = {0, 200, 300, 0, 0, 0, 0};
    const Real d[7] = {0, 100, 0, 0, 300, 0, 0};
    auto& dh = data.dhParameter;
    for (int i = 0; i < 7; ++i) {
        dh.Alpha[i] = alpha[i];
        dh.A[i] = a[i];
        dh.D[i] = d[i];
        dh.Theta[i] = 0;
        dh.PositiveJointDirection[i] = i < 6 ? 1.0f : 0.0f;
        dh.JointZeroPosition[i] = i < 6 ? 1.0f : 0.0f;
    }
}

void fillAxesGroup(LRob_typeServerAxesGroupParameter& group) {
    std::memset(&group, 0, sizeof group);
    auto& sync = group.PLC.Sync;
    sync.Tool = sync.Frame = sync.Load = sync.WorkAreas = sync.SwLimits = sync.DefaultDynamics =
        sync.ReferenceDynamics = 1;
    group.RC.LengthACR = 50;
    group.RC.UbTool = group.RC.UbFrame = group.RC.UbLoad = 19;
    group.RC.UbWorkarea = 0;
    group.RC.WorkingHours = 0;
}

}  // namespace

void srl_set_robot_init_parameter() {
    // The interpreter keeps pointers to both records for the life of the process.
    static LRob_typePersistentData persistentData;
    static LRob_typeServerAxesGroupParameter axesGroupParameter;
    std::memset(&persistentData, 0, sizeof persistentData);
    persistentData.srciVersion = {1, 1};
    fillTools(persistentData);
    fillFrames(persistentData);
    fillLoads(persistentData);
    fillWorkAreas(persistentData);
    fillDynamics(persistentData);
    fillLimits(persistentData);
    fillMasterData(persistentData);
    fillKinematicDescription(persistentData);
    persistentData.monitoringSpeed = 10.0f;
    persistentData.generalConfiguration.LifeSignTimeOut = 1000;
    fillAxesGroup(axesGroupParameter);
    srl_set_init_parameter(&persistentData, &axesGroupParameter);
    srl_robot_init_complete_set_operation_mode_to_edk(static_cast<int>(OperationMode::External_Automatic));
}

void srl_data_function_init() {
    srl_set_open_callback_funs(1);
    srl_set_robot_enable_funs(address(srl_robot_enable));
    srl_set_read_tool_data_funs(address(srl_read_tool_data_funs));
    srl_set_write_tool_data_funs(address(srl_write_tool_data_funs));
    srl_set_read_frame_data_funs(address(srl_read_frame_data_funs));
    srl_set_write_frame_data_funs(address(srl_write_frame_data_funs));
    srl_set_write_load_data_funs(address(srl_write_load_data_funs));
    srl_set_read_load_data_funs(address(srl_read_load_data_funs));
    srl_set_write_robot_reference_dynamic_funs(address(srl_write_robot_reference_dynamic_funs));
    srl_set_read_robot_reference_dynamic_funs(address(srl_read_robot_reference_dynamic_funs));
    srl_set_write_robot_defualt_dynamic_funs(address(srl_write_robot_defualt_dynamic_funs));
    srl_set_read_robot_defualt_dynamics_funs(address(srl_read_robot_defualt_dynamics_funs));
    srl_set_write_robot_software_limit_funs(address(srl_write_robot_software_limit_funs));
    srl_set_read_robot_software_limit_funs(address(srl_read_robot_software_limit_funs));
    srl_set_read_actual_position_funs(address(srl_read_actual_position_funs));
    srl_set_move_axes_absolute_funs(address(srl_move_axes_absolute_funs));
    srl_set_group_reset_funs(address(srl_group_reset_funs));
    srl_set_robot_read_data_funs(address(srl_robot_read_data_funs));
    srl_set_move_linear_absolute_funs(address(srl_move_linear_absolute_funs));
    srl_set_move_direct_absolute_funs(address(srl_move_direct_absolute_funs));
    srl_set_set_operate_mode_funs(address(srl_set_operate_mode_funs));
    srl_set_change_speed_override_funs(address(srl_change_speed_override_funs));
    srl_set_group_continue_funs(address(srl_group_continue_funs));
    srl_set_group_pause_funs(address(srl_group_pause_funs));
    srl_set_group_stop_funs(address(srl_group_stop_funs));
    srl_set_read_digital_input(address(srl_read_digital_io_input_funs));
    srl_set_read_digital_output(address(srl_read_digital_io_output_funs));
    srl_set_write_digital_output(address(srl_write_digital_io_output_funs));
    srl_set_exchange_configuration_funs(address(srl_exchange_configure_funs));
    srl_set_move_linear_relative_funs(address(srl_move_linear_relative_funs));
    srl_set_move_linear_relative_tools_funs(address(srl_move_linear_relative_tools_funs));
    srl_set_move_joint_relative_funs(address(srl_move_joint_relative_funs));
    srl_set_robot_disable_funs(address(srl_disable_robot_funs));
    srl_set_read_workarea_funs(address(srl_read_workarea_data_funs));
    srl_set_write_workarea_funs(address(srl_write_workarea_data_funs));
    srl_set_read_actual_position_cyclic_funs(address(srl_read_actual_position_cyclic_funs));
    srl_set_set_sequence_funs(address(srl_set_sequence_funs));
    srl_set_forward_kinematics_funs(address(srl_forward_kinematics_funs));
    srl_set_inverse_kinematics_funs(address(srl_inverse_kinematics_funs));
    srl_set_enable_robot_param_funs(reinterpret_cast<void*>(srl_enable_robot_with_param_funs));
    srl_set_clear_cmd_in_rc_buffer_funs(address(srl_clear_cmd_in_rc_buffer_funs));
    srl_set_robot_init_parameter();
}
