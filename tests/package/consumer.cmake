# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

build(consumer "${SOURCE_DIR}/tests/consumer" "-DCMAKE_PREFIX_PATH=${WORK_DIR}/installed")
run_built("${WORK_DIR}/consumer/consumer" "${WORK_DIR}/consumer/")
