# SPDX-License-Identifier: Apache-2.0
if(SRCI_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
if(SRCI_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
if(SRCI_FUZZ)
  # Instrument everything for coverage; the fuzz targets add -fsanitize=fuzzer themselves.
  # Optimised, with the sanitizers' checks kept: a fuzz run is measured in executions, and at -O0
  # every target runs several times slower.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer -O2)
  add_link_options(-fsanitize=address,undefined)
endif()
if(SRCI_COVERAGE)
  # Line coverage for `make coverage`; without optimisation so every line maps to code.
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()
