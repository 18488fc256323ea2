# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# Debian's cross compiler and libraries; what it builds runs under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
