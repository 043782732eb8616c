# `install`: library, public header, pkg-config file, CMake package, player, orbgfx.

if(NOT TARGET orb_graphics2d)
  return()
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/orb_graphics2d")

install(TARGETS orb_graphics2d EXPORT orb_graphics2d LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES include/orb/graphics2d.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/orb")
if(TARGET orbplay)
  install(TARGETS orbplay RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(TARGET orbgfx)
  install(TARGETS orbgfx RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# Relative, so that `cmake --install --prefix` can choose another place.
file(RELATIVE_PATH ORB_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" ORB_PC_TO_PREFIX "${ORB_PC_TO_PREFIX}")
configure_file(cmake/orb_graphics2d.pc.in orb_graphics2d.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orb_graphics2d.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

configure_package_config_file(cmake/orb_graphics2d-config.cmake.in orb_graphics2d-config.cmake
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/orb_graphics2d-config-version.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/orb_graphics2d-config.cmake"
  "${PROJECT_BINARY_DIR}/orb_graphics2d-config-version.cmake"
  DESTINATION "${package_dir}")
install(EXPORT orb_graphics2d FILE orb_graphics2d-targets.cmake NAMESPACE orb::
  DESTINATION "${package_dir}")

# What `./orb docs` makes of the reference and the guides, where it has been made.
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/site/"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" OPTIONAL)
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/man/"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" OPTIONAL)
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/types/"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/orb/types" OPTIONAL)
