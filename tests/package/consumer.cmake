# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

foreach(major IN LISTS QT_MAJORS)
  build(consumer "${SOURCE_DIR}/tests/package/consumer" "-DCMAKE_PREFIX_PATH=${WORK_DIR}/installed"
    "-DSTBCONFIG_PACKAGE=${PACKAGE_FOR_QT${major}}")
  run_built("${WORK_DIR}/consumer/consumer" "${WORK_DIR}/consumer/")
endforeach()
