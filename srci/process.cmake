# SPDX-License-Identifier: Apache-2.0
# The PLC link, the handlers and the srci_server process.
add_library(srci_commu STATIC ${CMAKE_CURRENT_LIST_DIR}/itf_commu/commuitf.cpp)
target_link_libraries(srci_commu PUBLIC srci_types)
srci_warnings(srci_commu)

if(TARGET srci_motion AND TARGET srl)
  add_library(srci_handlers STATIC
    ${CMAKE_CURRENT_LIST_DIR}/srl/srl_define_function.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_motion.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_state.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_data.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_dynamics.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_position.cpp
    ${CMAKE_CURRENT_LIST_DIR}/srl/handlers_limits.cpp
    ${CMAKE_CURRENT_LIST_DIR}/cycle_receive.cpp
    ${CMAKE_CURRENT_LIST_DIR}/cycle_sync.cpp
    ${CMAKE_CURRENT_LIST_DIR}/edk_log_relay.cpp
    ${CMAKE_CURRENT_LIST_DIR}/runtime.cpp)
  target_include_directories(srci_handlers PUBLIC ${CMAKE_CURRENT_LIST_DIR})
  target_link_libraries(srci_handlers PUBLIC srci_motion srci_commu srl)
  srci_warnings(srci_handlers)

  add_executable(srci_server ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
  target_link_libraries(srci_server PRIVATE srci_handlers)
  srci_warnings(srci_server)
endif()
