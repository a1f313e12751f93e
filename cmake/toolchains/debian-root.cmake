# Shared by the toolchains of other Debian architectures: compilers for `triplet`, and libraries from the root that
# scripts/target-root makes.
set(CMAKE_SYSTEM_NAME Linux)
get_filename_component(QEL_TARGET_ROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/roots/${name}" ABSOLUTE)

set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_STRIP ${triplet}-strip)
set(CMAKE_SYSROOT ${QEL_TARGET_ROOT})
set(CMAKE_LIBRARY_ARCHITECTURE ${multiarch})
set(CMAKE_FIND_ROOT_PATH ${QEL_TARGET_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_LIBDIR} ${QEL_TARGET_ROOT}/usr/lib/${multiarch}/pkgconfig:${QEL_TARGET_ROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QEL_TARGET_ROOT})
