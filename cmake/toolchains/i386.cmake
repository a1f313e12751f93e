# 32-bit x86; its programs run natively on this machine.
set(name i386)
set(triplet i686-linux-gnu)
set(multiarch i386-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/debian-root.cmake)

# The programs find the root's loader and libraries. The older kind of run path also applies to the dependencies of
# those libraries, whoever starts the program.
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=${QEL_TARGET_ROOT}/usr/lib/ld-linux.so.2 -Wl,--disable-new-dtags")
set(CMAKE_BUILD_RPATH ${QEL_TARGET_ROOT}/usr/lib/${multiarch})
