# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# What is built for Qt 6 lies beside what is built for Qt 5, which is the reference.
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
    "-DCMAKE_CXX_COMPILER=${COMPILER}" ${CROSS} -DCMAKE_BUILD_TYPE=Release
    "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON ${ARGN})
  run("${CMAKE_COMMAND}" --build "${WORK_DIR}/${name}")
endfunction()

# The compiler alone does not say that it compiles for another machine.
if(TOOLCHAIN_FILE)
  set(CROSS "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}")
endif()

# Runs a program that was built here.
function(run_built)
  run(${EMULATOR} ${ARGV})
endfunction()

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
