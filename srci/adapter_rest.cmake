# SPDX-License-Identifier: Apache-2.0
# Parts of the adapter that need the controller adapter and the INI layer.
if(TARGET srci_rcitf AND TARGET srci_ini)
  include(${CMAKE_CURRENT_LIST_DIR}/srl/motion.cmake OPTIONAL)
endif()
