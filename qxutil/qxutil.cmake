# SPDX-License-Identifier: Apache-2.0
# Named shared-memory double buffer between log producers and the log server.
add_library(qxutil STATIC
  ${CMAKE_CURRENT_LIST_DIR}/src/channel_name.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/dualbuff_segment.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/dualbuff_writer.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/dualbuff_reader.cpp
)
target_include_directories(qxutil PUBLIC ${CMAKE_CURRENT_LIST_DIR}/include)
target_link_libraries(qxutil PUBLIC Threads::Threads)
srci_warnings(qxutil)
