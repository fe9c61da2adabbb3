# SPDX-License-Identifier: Apache-2.0
# Shared value types, error codes and the log convention of the adapter.
add_library(srci_types STATIC
  ${CMAKE_CURRENT_LIST_DIR}/itf_rc/srci_types.cpp
  ${CMAKE_CURRENT_LIST_DIR}/itf_rc/srci_records.cpp
  ${CMAKE_CURRENT_LIST_DIR}/itf_rc/srci_log.cpp)
target_include_directories(srci_types PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(srci_types PUBLIC zlog)
srci_warnings(srci_types)

# The controller adapter on the port library.
if(TARGET srciport)
  add_library(srci_rcitf STATIC
    ${CMAKE_CURRENT_LIST_DIR}/itf_rc/rcitf_port.cpp
    ${CMAKE_CURRENT_LIST_DIR}/itf_rc/rcitf_status.cpp
    ${CMAKE_CURRENT_LIST_DIR}/itf_rc/rcitf_motion.cpp
    ${CMAKE_CURRENT_LIST_DIR}/itf_rc/rcitf_kinematics.cpp)
  target_link_libraries(srci_rcitf PUBLIC srci_types srciport)
  srci_warnings(srci_rcitf)
endif()

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/adapter_rest.cmake)
  include(${CMAKE_CURRENT_LIST_DIR}/adapter_rest.cmake)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/process.cmake)
