# 64-bit, big-endian; its programs run under qemu.
set(name s390x)
set(triplet s390x-linux-gnu)
set(multiarch s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-root.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L ${QEL_TARGET_ROOT})
