# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The version is defined in project(). Every file that repeats it, or is made from it, must agree.

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

function(expect_version place actual expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${place}: \"${actual}\" instead of \"${expected}\"")
  endif()
endfunction()

function(expect_first_match file expression)
  file(READ "${SOURCE_DIR}/${file}" text)
  if(NOT text MATCHES "${expression}")
    message(SEND_ERROR "${file}: no version in it")
  endif()
  expect_version("${file}" "${CMAKE_MATCH_1}" "${VERSION}")
endfunction()

expect_first_match(debian/changelog "stbconfig \\(([^)]+)\\)")
expect_first_match(CHANGELOG.md "\n## \\[([^]]+)\\] ")
file(GLOB recipe RELATIVE "${SOURCE_DIR}/packaging/yocto/recipes-support/stbconfig"
  "${SOURCE_DIR}/packaging/yocto/recipes-support/stbconfig/*.bb")
expect_version("packaging/yocto" "${recipe}" "stbconfig_${VERSION}.bb")

string(REGEX MATCH "^[0-9]+" major "${VERSION}")
file(READ_SYMLINK "${LIBRARY}" target)
expect_version("${LIBRARY}" "${target}" "lib${NAME}.so.${major}")
file(READ_SYMLINK "${LIBRARY}.${major}" target)
expect_version("${LIBRARY}.${major}" "${target}" "lib${NAME}.so.${VERSION}")

set(ENV{PKG_CONFIG_PATH}
  "${WORK_DIR}/installed/lib/pkgconfig:/usr/lib/${ARCHITECTURE}/pkgconfig")
read_from(modversion "${PKG_CONFIG}" --modversion "${NAME}")
string(STRIP "${modversion}" modversion)
expect_version("pkg-config" "${modversion}" "${VERSION}")

find_package(${NAME} QUIET CONFIG PATHS "${WORK_DIR}/installed" NO_DEFAULT_PATH)
expect_version("CMake's package" "${${NAME}_VERSION}" "${VERSION}")

file(STRINGS "${WORK_DIR}/release-qt5/docs/Doxyfile" number REGEX "^PROJECT_NUMBER ")
string(REGEX REPLACE "^.*= *" "" number "${number}")
expect_version("Doxyfile" "${number}" "${VERSION}")
