# Cross build for 32-bit little-endian ARM (hard float): Debian's clang with
# the target's GNU binutils, C library and libstdc++ from the *-armhf-cross
# packages. Programs run under qemu-arm with the target's libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(BOL_CROSS_TRIPLE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH /usr/${BOL_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-arm -L /usr/${BOL_CROSS_TRIPLE})
