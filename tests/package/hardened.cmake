# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The installed library has been hardened as cmake/hardened.cmake says.

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

function(expect_in_library fact expression)
  if(NOT contents MATCHES "${expression}")
    message(SEND_ERROR "${LIBRARY}: ${fact}")
  endif()
endfunction()

read_from(contents "${READELF}" --wide --segments --dynamic --dyn-syms "${LIBRARY}")
expect_in_library("no relocations become read-only" "GNU_RELRO")
expect_in_library("its symbols are not bound at the start" "\\(FLAGS\\)[^\n]* BIND_NOW")
expect_in_library("its stack is not guarded" " __stack_chk_fail")
if(contents MATCHES "GNU_STACK[^\n]* RWE ")
  message(SEND_ERROR "${LIBRARY}: its stack can be executed")
endif()
