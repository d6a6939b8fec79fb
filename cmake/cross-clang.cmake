# What the cross builds share: Debian's clang targeting BOL_CROSS_TRIPLE with
# the target's GNU binutils, C library and libstdc++ from Debian's *-cross
# packages (under /usr/<triple>), and programs run under BOL_CROSS_QEMU with
# the target's libraries. Included by the cmake/toolchain-*.cmake files.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH /usr/${BOL_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/${BOL_CROSS_QEMU} -L /usr/${BOL_CROSS_TRIPLE})
