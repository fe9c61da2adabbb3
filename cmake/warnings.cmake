# Every target of the project compiles with the same warning set.
function(srci_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()
