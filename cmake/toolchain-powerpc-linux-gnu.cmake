# Cross build for 32-bit big-endian PowerPC, run under qemu-ppc.
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(BOL_CROSS_TRIPLE powerpc-linux-gnu)
set(BOL_CROSS_QEMU qemu-ppc)
include(${CMAKE_CURRENT_LIST_DIR}/cross-clang.cmake)
# clang would look for the start files and libraries in the host's lib32
# (the x86 ones); the cross packages keep them in /usr/<triple>/lib. The
# secure PLT keeps writable segments non-executable.
set(CMAKE_C_FLAGS_INIT "-msecure-plt -B/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_CXX_FLAGS_INIT "-msecure-plt -B/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-L/usr/${BOL_CROSS_TRIPLE}/lib")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-L/usr/${BOL_CROSS_TRIPLE}/lib")
