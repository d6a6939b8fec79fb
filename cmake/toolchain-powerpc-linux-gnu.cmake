# Cross build for 32-bit big-endian PowerPC: Debian's clang with the target's
# GNU binutils, C library and libstdc++ from the *-powerpc-cross packages.
# Programs run under qemu-ppc with the target's libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(BOL_CROSS_TRIPLE powerpc-linux-gnu)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${BOL_CROSS_TRIPLE})
# clang would look for the start files and libraries in the host's lib32
# (the x86 ones); the cross packages keep them in /usr/<triple>/lib. The
# secure PLT keeps writable segments non-executable.
set(CMAKE_C_FLAGS_INIT "-msecure-plt -B/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_CXX_FLAGS_INIT "-msecure-plt -B/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-L/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-L/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_FIND_ROOT_PATH /usr/${BOL_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-ppc -L /usr/${BOL_CROSS_TRIPLE})
