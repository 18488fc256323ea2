# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Another major version means another binary interface.
foreach(request IN ITEMS 0.9 2.0)
  find_package(${NAME} ${request} QUIET CONFIG PATHS "${WORK_DIR}/installed" NO_DEFAULT_PATH)
  if(${NAME}_FOUND)
    message(SEND_ERROR "a request for ${request} is granted")
  elseif(NOT ${NAME}_CONSIDERED_VERSIONS)
    message(SEND_ERROR "no package in ${WORK_DIR}/installed")
  endif()
endforeach()
