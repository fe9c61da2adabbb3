# SPDX-License-Identifier: Apache-2.0
# Log client (used everywhere) and log server (hosted by the adapter).
add_library(zlog STATIC
  ${CMAKE_CURRENT_LIST_DIR}/src/record_builder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/tag_filters.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/lazy_channel.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/zlog_client.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/log_time.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/log_file.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/zlogsvr.cpp
)
target_include_directories(zlog PUBLIC ${CMAKE_CURRENT_LIST_DIR}/include)
target_link_libraries(zlog PUBLIC qxutil Threads::Threads)
srci_warnings(zlog)
