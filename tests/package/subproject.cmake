# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

build(subproject "${SOURCE_DIR}/tests/package/subproject" "-DSTBCONFIG_SOURCE_DIR=${SOURCE_DIR}"
  "-DSTBCONFIG_QT_MAJOR=${QT_MAJOR}")
run_built("${WORK_DIR}/subproject/consumer" "${WORK_DIR}/subproject/")
foreach(stranger IN ITEMS tests tools examples)
  if(EXISTS "${WORK_DIR}/subproject/stbconfig/${stranger}")
    message(FATAL_ERROR "builds our ${stranger}/ too")
  endif()
endforeach()
