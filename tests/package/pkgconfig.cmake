# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Compiles the consumer in one call of the compiler, with what pkg-config says of the moved package.
# -fPIC is Qt's own demand on all that include its headers.

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

set(ENV{PKG_CONFIG_PATH}
  "${WORK_DIR}/installed/lib/pkgconfig:/usr/lib/${ARCHITECTURE}/pkgconfig")
read_from(flags "${PKG_CONFIG}" --cflags --libs "${NAME} >= 1.0")
string(STRIP "${flags}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")

set(directory "${WORK_DIR}/pkgconfig")
file(REMOVE_RECURSE "${directory}")
file(MAKE_DIRECTORY "${directory}")
run("${COMPILER}" -std=c++17 -fPIC "${SOURCE_DIR}/tests/package/consumer/main.cpp" ${flags}
  -o "${directory}/consumer")
set(ENV{LD_LIBRARY_PATH} "${WORK_DIR}/installed/lib")
run_built("${directory}/consumer" "${directory}/")
