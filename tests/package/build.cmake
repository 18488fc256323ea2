# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The build for Qt 6 lies beside the build for Qt 5, which is the reference.
set(PACKAGE_FOR_QT5 stbconfig)
set(PACKAGE_FOR_QT6 stbconfig-qt6)
set(QT_MAJORS 5)
if(QT_MAJOR EQUAL 6)
  list(APPEND QT_MAJORS 6)
endif()

# Configures and builds the project in <source> under <name> in the work folder, from nothing.
function(build name source)
  file(REMOVE_RECURSE "${WORK_DIR}/${name}")
  run("${CMAKE_COMMAND}" -S "${source}" -B "${WORK_DIR}/${name}" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" ${CROSS} -C "${SOURCE_DIR}/cmake/hardened.cmake"
    -DCMAKE_COMPILE_WARNING_AS_ERROR=ON ${ARGN})
  run("${CMAKE_COMMAND}" --build "${WORK_DIR}/${name}")
endfunction()

# CMake cannot see from the compiler alone that it compiles for another machine.
if(TOOLCHAIN_FILE)
  set(CROSS "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}")
endif()

# Runs a program that was built here.
function(run_built)
  run(${EMULATOR} ${ARGV})
endfunction()

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result)
  expect_success("${result}" ${ARGV})
endfunction()

# Sets <variable> to what a command prints.
function(read_from variable)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output)
  expect_success("${result}" ${ARGN})
  set(${variable} "${output}" PARENT_SCOPE)
endfunction()

# CMake can do this by itself from 3.19 on.
function(expect_success result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${result}: the status of ${command}")
  endif()
endfunction()
