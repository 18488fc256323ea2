# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

list(JOIN WARNINGS " " WARNINGS)
foreach(major IN LISTS QT_MAJORS)
  build(described "${SOURCE_DIR}/tests/package/described" "-DCMAKE_PREFIX_PATH=${WORK_DIR}/installed"
    "-DSTBCONFIG_PACKAGE=${PACKAGE_FOR_QT${major}}" "-DSTBCONFIG_COMMAND=${COMMAND}"
    "-DWARNINGS=${WARNINGS}")
  run("${WORK_DIR}/described/described" "${SOURCE_DIR}/tests/package/described/stbapp.schema.json"
    "${WORK_DIR}/described/box-")
  run("${CMAKE_CTEST_COMMAND}" --test-dir "${WORK_DIR}/described" --no-tests=error
    --output-on-failure)
endforeach()
