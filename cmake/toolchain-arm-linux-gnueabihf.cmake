# Cross build for 32-bit little-endian ARM (hard float), run under qemu-arm.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(BOL_CROSS_TRIPLE arm-linux-gnueabihf)
set(BOL_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross-clang.cmake)
