# SPDX-License-Identifier: Apache-2.0
# Every target of the project compiles with the same warning set. CI builds turn warnings into
# errors (SRCI_WERROR, set by .ci/run) so new ones cannot slip in.
option(SRCI_WERROR "Treat compiler warnings as errors" OFF)

function(srci_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(SRCI_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
