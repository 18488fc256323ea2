# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

build(owncommandline "${SOURCE_DIR}/tests/package/owncommandline" "-DSTBCONFIG_SOURCE_DIR=${SOURCE_DIR}"
  "-DSTBCONFIG_QT_MAJOR=${QT_MAJOR}")
run_built("${WORK_DIR}/owncommandline/application" "${WORK_DIR}/owncommandline/")
