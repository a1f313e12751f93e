# Installation, in components: runtime (the library), platform (the replacements of the router's own libraries), dev
# (headers and files for finding the libraries), tools (programs, their manuals, and the daemon's configuration), web
# (the map of the mesh), wifi (the daemon with Wi-Fi).
include(CMakePackageConfigHelpers)

set(QEL_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/mesh_shared)
set(QEL_PKG_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The loader finds libraries under /usr by itself. Under any other prefix, programs look for ours in the library
# directory relative to themselves, and the libraries look beside themselves, so the installation can be moved.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set(CMAKE_INSTALL_RPATH $ORIGIN/${libraries})
  set(QEL_LIBRARY_RPATH $ORIGIN)
endif()

# qel_install_library(NAME DESCRIPTION COMPONENT NAME [FILE_SETS NAME...])
#
# Installs the library, its link and headers, its target mesh_shared::NAME and its NAME.pc. The fake platform is not
# installed.
function(qel_install_library name description)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" COMPONENT FILE_SETS)
  if(NOT QEL_PLATFORM STREQUAL linux)
    return()
  endif()
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "${QEL_LIBRARY_RPATH}")
  set(file_sets)
  foreach(file_set IN LISTS arg_FILE_SETS)
    list(APPEND file_sets FILE_SET ${file_set} COMPONENT dev)
  endforeach()
  install(TARGETS ${name}
    EXPORT mesh_shared
    LIBRARY COMPONENT ${arg_COMPONENT} NAMELINK_COMPONENT dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    ${file_sets})

  file(RELATIVE_PATH prefix ${CMAKE_INSTALL_PREFIX}/${QEL_PKG_CONFIG_DIR} ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix "${prefix}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${QEL_PKG_CONFIG_DIR} COMPONENT dev)
endfunction()

# qel_compress(INPUT OUTPUT): compresses a file to OUTPUT in the build folder, reproducibly.
function(qel_compress input output)
  execute_process(COMMAND gzip -n9c ${input} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${output} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${input})
endfunction()

# qel_install_manual(PAGE): installs a manual page, compressed as Debian requires.
function(qel_install_manual page)
  string(REGEX MATCH "[0-9]$" section ${page})
  set(file ${PROJECT_SOURCE_DIR}/man/${page})
  if(QEL_DEBIAN_PACKAGES)
    qel_compress(${file} ${page}.gz)
    set(file ${PROJECT_BINARY_DIR}/${page}.gz)
  endif()
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT tools)
endfunction()

if(QEL_PLATFORM STREQUAL linux)
  install(EXPORT mesh_shared
    NAMESPACE mesh_shared::
    FILE mesh_sharedConfig.cmake
    DESTINATION ${QEL_CMAKE_PACKAGE_DIR}
    COMPONENT dev)
  # Before 1.0, each minor version may be incompatible.
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/mesh_sharedConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/mesh_sharedConfigVersion.cmake DESTINATION ${QEL_CMAKE_PACKAGE_DIR} COMPONENT dev)
endif()
