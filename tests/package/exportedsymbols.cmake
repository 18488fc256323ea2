# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Compares what the installed library exports with the reviewed list, line by line.

execute_process(COMMAND "${NM}" --dynamic --demangle --defined-only --format=posix
    "${WORK_DIR}/installed/lib/libstbconfig.so"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
# A line is "name type value size".
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+ [0-9a-f]*\n" "\n" symbols "${symbols}")
string(STRIP "${symbols}" symbols)
string(REPLACE "\n" ";" symbols "${symbols}")
list(REMOVE_DUPLICATES symbols) # a constructor has one symbol for each use of its class
list(SORT symbols)

file(STRINGS "${SOURCE_DIR}/tests/exported_symbols.txt" reviewed)
list(SORT reviewed)

if(NOT symbols STREQUAL reviewed)
  set(added ${symbols})
  list(REMOVE_ITEM added ${reviewed})
  set(missing ${reviewed})
  list(REMOVE_ITEM missing ${symbols})
  list(JOIN added "\n  " added)
  list(JOIN missing "\n  " missing)
  message(FATAL_ERROR "not the symbols of tests/exported_symbols.txt\n"
    "exported, but not reviewed:\n  ${added}\nreviewed, but not exported:\n  ${missing}")
endif()
