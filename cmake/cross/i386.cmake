# SPDX-License-Identifier: MIT
# Builds for Debian's i386 on another machine: cmake --preset release --toolchain cmake/cross/i386.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386-static)
