# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

file(REMOVE_RECURSE "${WORK_DIR}/first" "${WORK_DIR}/installed")
foreach(major IN LISTS QT_MAJORS)
  build(release-qt${major} "${SOURCE_DIR}" -DBUILD_TESTING=OFF -DSTBCONFIG_BUILD_EXAMPLES=OFF
    -DSTBCONFIG_BUILD_TOOLS=OFF -DCMAKE_INSTALL_LIBDIR=lib "-DSTBCONFIG_QT_MAJOR=${major}")
  run("${CMAKE_COMMAND}" --install "${WORK_DIR}/release-qt${major}" --prefix "${WORK_DIR}/first")
endforeach()
# The package is moved, so that its users find it where it was not installed.
file(RENAME "${WORK_DIR}/first" "${WORK_DIR}/installed")

file(GLOB_RECURSE headers RELATIVE "${WORK_DIR}/installed/include" "${WORK_DIR}/installed/include/*")
set(expected
  stbconfig/backendinterfaces.h
  stbconfig/configurationmanager.h
  stbconfig/errorhandler.h
  stbconfig/export.h
  stbconfig/logsconfigwrapper.h
  stbui/cmdlineargs.h)
if(NOT headers STREQUAL expected)
  message(FATAL_ERROR "installed headers: ${headers}")
endif()
