# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Each installed header brings along whatever it needs.

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

set(ENV{PKG_CONFIG_PATH}
  "${WORK_DIR}/installed/lib/pkgconfig:/usr/lib/${ARCHITECTURE}/pkgconfig")
read_from(flags "${PKG_CONFIG}" --cflags "${NAME}")
string(STRIP "${flags}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")

file(GLOB_RECURSE headers RELATIVE "${WORK_DIR}/installed/include" "${WORK_DIR}/installed/include/*")
foreach(header IN LISTS headers)
  run("${COMPILER}" -std=c++17 -fPIC -fsyntax-only ${flags} -include "${header}" -x c++ /dev/null)
endforeach()
