# The Debian packages, one per component. scripts/package configures, builds and checks them.
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)

# The Debian changelog also states the version, and its version is that of the packages.
file(STRINGS ${debian}/changelog first_line LIMIT_COUNT 1)
if(NOT first_line MATCHES "^mesh-shared \\(${PROJECT_VERSION}-([0-9]+)\\) ")
  message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}: ${first_line}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md section REGEX "^## \\[${PROJECT_VERSION}\\] - ")
if(NOT section)
  message(FATAL_ERROR "CHANGELOG.md has no section about version ${PROJECT_VERSION}")
endif()
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
# Before 1.0, the next minor version may have another ABI.
math(EXPR next_minor "${PROJECT_VERSION_MINOR} + 1")
set(library_dependency
  "libmesh-shared0 (>= ${version}), libmesh-shared0 (<< ${PROJECT_VERSION_MAJOR}.${next_minor}~)")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mesh-shared)
set(CPACK_PACKAGE_VENDOR mesh_shared)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "mesh_shared developers <developers@mesh-shared.invalid>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# qel_package(COMPONENT NAME SECTION DESCRIPTION)
#
# Dependencies on other libraries are detected from the files. packaging/debian/NAME.* are control files.
macro(qel_package component name section description)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  install(FILES ${debian}/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz ${PROJECT_BINARY_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
  set(control_files)
  foreach(file conffiles postinst postrm prerm shlibs triggers)
    if(EXISTS ${debian}/${name}.${file})
      configure_file(${debian}/${name}.${file} ${PROJECT_BINARY_DIR}/control/${name}/${file} @ONLY)
      list(APPEND control_files ${PROJECT_BINARY_DIR}/control/${name}/${file})
    endif()
  endforeach()
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${control_files})
  if(EXISTS ${debian}/${name}.lintian-overrides)
    install(FILES ${debian}/${name}.lintian-overrides
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name} COMPONENT ${component})
  endif()
endmacro()

qel_compress(${debian}/changelog changelog.Debian.gz)
qel_compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
set(CPACK_COMPONENTS_ALL)

qel_package(runtime libmesh-shared0 libs
"messages and runtime of a Wi-Fi mesh daemon
The messages of IEEE 1905.1 and their TLVs, with a main loop, timers, tasks,
signals, logging, a debug shell and IPC to build daemons on.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "mesh-platform (>= ${version})")

# One package for the three libraries, because a router provides either all of them or none.
qel_package(platform mesh-platform libs
"platform libraries of a Wi-Fi mesh daemon on stock Linux
What the libraries of a router's own platform do, for machines that have none:
event loop, log ring and command shell (libqelevsock), IPC over D-Bus
(libqelzarni), boot environment (libvelolib).")

qel_package(dev libmesh-shared-dev libdevel
"messages and runtime of a Wi-Fi mesh daemon - development files
Headers of the library and of its platform, for CMake and pkg-config.")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libmesh-shared0 (= ${version}), mesh-platform (= ${version})")

qel_package(tools mesh-tools net
"node of a Wi-Fi mesh, its client and a decoder of its messages
meshd is a node of an IEEE 1905.1 mesh, meshctl talks to it, and meshdump
prints the messages of captures and of live interfaces.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "${library_dependency}, mesh-platform (>= ${version}), adduser, default-dbus-system-bus | dbus-system-bus")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS mesh-web)
install(FILES ${debian}/meshd.default DESTINATION /etc/default RENAME meshd COMPONENT tools)

# Apart from the tools, because a node needs no HTTP library.
qel_package(web mesh-web net
"map of a Wi-Fi mesh in the browser
Adds the live map of the mesh to meshctl: "meshctl web" serves it, and
"meshctl topology --html" writes it to a file.")
set(CPACK_DEBIAN_WEB_PACKAGE_DEPENDS
  "mesh-tools (= ${version}), ${library_dependency}, mesh-platform (>= ${version})")

if(TARGET meshd-wifi)
  qel_package(wifi mesh-wifi net
"node of a Wi-Fi mesh on access points and stations
meshd-wifi is meshd with Wi-Fi: it reports radios and their links as the
kernel, hostapd and wpa_supplicant describe them. The service runs it in place
of meshd.")
  set(CPACK_DEBIAN_WIFI_PACKAGE_DEPENDS
    "mesh-tools (= ${version}), ${library_dependency}, mesh-platform (>= ${version})")
endif()

include(CPack)
