# 32-bit ARM; its programs run under qemu.
set(name armhf)
set(triplet arm-linux-gnueabihf)
set(multiarch arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include(${CMAKE_CURRENT_LIST_DIR}/debian-root.cmake)
# Suppresses notes about arguments that GCC 7 passed differently.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${QEL_TARGET_ROOT})
