# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Compares what LIBRARY exports with the reviewed list, line by line. With ACCEPT, makes that list.

include("${CMAKE_CURRENT_LIST_DIR}/build.cmake")

read_from(symbols "${NM}" --dynamic --demangle --defined-only --format=posix "${LIBRARY}")
# A line is "name type value size".
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+ [0-9a-f]*\n" "\n" symbols "${symbols}")
string(STRIP "${symbols}" symbols)
string(REPLACE "\n" ";" symbols "${symbols}")
list(REMOVE_DUPLICATES symbols) # a constructor has one symbol for each use of its class
list(SORT symbols)

set(list "${CMAKE_CURRENT_LIST_DIR}/exported_symbols.txt")
if(ACCEPT)
  list(JOIN symbols "\n" lines)
  file(WRITE "${list}" "${lines}\n")
endif()
file(STRINGS "${list}" reviewed)
list(SORT reviewed)

if(NOT symbols STREQUAL reviewed)
  set(added ${symbols})
  list(REMOVE_ITEM added ${reviewed})
  set(missing ${reviewed})
  list(REMOVE_ITEM missing ${symbols})
  list(JOIN added "\n  " added)
  list(JOIN missing "\n  " missing)
  message(FATAL_ERROR "not the symbols of tests/package/exported_symbols.txt\n"
    "exported, but not reviewed:\n  ${added}\nreviewed, but not exported:\n  ${missing}")
endif()
