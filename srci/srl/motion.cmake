# SPDX-License-Identifier: Apache-2.0
# Parameter store and motion manager. Only the interpreter's headers are used here: the
# adapter executable links the real interpreter, the unit tests a recording double.
add_library(srci_motion STATIC
  ${CMAKE_CURRENT_LIST_DIR}/globals.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_store.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_ini_io.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_tables.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_scaling.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_checks.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_errors.cpp
  ${CMAKE_CURRENT_LIST_DIR}/edk_power.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_command.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_moves.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_move_state.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_jogs.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_group.cpp
  ${CMAKE_CURRENT_LIST_DIR}/motion_diagnostics.cpp)
target_include_directories(srci_motion PUBLIC ${PROJECT_SOURCE_DIR}/srci ${PROJECT_SOURCE_DIR}/srl/include)
target_link_libraries(srci_motion PUBLIC srci_rcitf srci_ini zlog Threads::Threads)
srci_warnings(srci_motion)
