# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Debian's cross compiler and libraries; what it builds runs under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
