# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Hardens a build as Debian 12 hardens its packages: cmake -C cmake/hardened.cmake -S . -B build.
# The command is position-independent in every build, and needs no flag here for that.
set(CMAKE_BUILD_TYPE Release CACHE STRING "")
# Some compilers define _FORTIFY_SOURCE themselves, and warn of a second definition.
set(CMAKE_CXX_FLAGS_RELEASE
  "-O2 -DNDEBUG -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -Wformat -Werror=format-security"
  CACHE STRING "")
set(CMAKE_EXE_LINKER_FLAGS "-Wl,-z,relro -Wl,-z,now" CACHE STRING "")
set(CMAKE_SHARED_LINKER_FLAGS "-Wl,-z,relro -Wl,-z,now" CACHE STRING "")
