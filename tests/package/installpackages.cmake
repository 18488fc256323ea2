# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# A user who is not root and has no sudo gets one line, which names the command to ask for.

set(programs "${WORK_DIR}/installpackages")
file(REMOVE_RECURSE "${programs}")
# This stands in for a system on which no package is installed.
file(WRITE "${programs}/dpkg-query" "#!/bin/sh\n")
file(WRITE "${programs}/id" "#!/bin/sh\necho 1000\n")
execute_process(COMMAND chmod +x "${programs}/dpkg-query" "${programs}/id")
foreach(program IN ITEMS dirname grep)
  file(CREATE_LINK "/usr/bin/${program}" "${programs}/${program}" SYMBOLIC)
endforeach()

set(ENV{PATH} "${programs}")
execute_process(COMMAND /bin/sh "${SOURCE_DIR}/scripts/support/install-packages" build tool
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
set(expected "install-packages: only root can install packages; ask root for: apt-get install \
--no-install-recommends cmake g++ ninja-build qtbase5-dev libcli11-dev scdoc\n")
if(NOT result EQUAL 1 OR NOT output STREQUAL "" OR NOT error STREQUAL expected)
  message(FATAL_ERROR "status ${result}, output \"${output}\", error \"${error}\"")
endif()
