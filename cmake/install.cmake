# `install`, in the three parts that Debian's packages have: the library, what hosts are built with
# ("development"), and the player with all that belongs to it ("player").

if(NOT TARGET orb_graphics2d)
  return()
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/orb_graphics2d")

install(TARGETS orb_graphics2d EXPORT orb_graphics2d LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  COMPONENT library NAMELINK_COMPONENT development)
install(FILES include/orb/graphics2d.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/orb"
  COMPONENT development)

# Relative, so that `cmake --install --prefix` can choose another place.
file(RELATIVE_PATH ORB_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" ORB_PC_TO_PREFIX "${ORB_PC_TO_PREFIX}")
configure_file(cmake/orb_graphics2d.pc.in orb_graphics2d.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orb_graphics2d.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

configure_package_config_file(cmake/orb_graphics2d-config.cmake.in orb_graphics2d-config.cmake
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/orb_graphics2d-config-version.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/orb_graphics2d-config.cmake"
  "${PROJECT_BINARY_DIR}/orb_graphics2d-config-version.cmake"
  DESTINATION "${package_dir}" COMPONENT development)
install(EXPORT orb_graphics2d FILE orb_graphics2d-targets.cmake NAMESPACE orb::
  DESTINATION "${package_dir}" COMPONENT development)

foreach(program IN ITEMS orbplay orbgfx)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT player)
  endif()
endforeach()

# What `./orb docs` makes of the reference and the guides, where it has been made.
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/site/"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT player OPTIONAL)
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/man/"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT player OPTIONAL)
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/types/"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/orb/types" COMPONENT player OPTIONAL)

# What `./orb web` makes and packed games are played by on pages, where it has been made.
foreach(file IN ITEMS orb.js orb.wasm player.js player.css packed.html licences.txt)
  install(FILES "${PROJECT_SOURCE_DIR}/build/wasm/play/${file}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/orb/web" COMPONENT player OPTIONAL)
endforeach()

install(DIRECTORY examples DESTINATION "${CMAKE_INSTALL_DATADIR}/orb" COMPONENT player
  PATTERN "*.py" EXCLUDE PATTERN gallery.txt EXCLUDE)

# What shells, menus and file managers know of the player.
set(data "${CMAKE_INSTALL_DATADIR}")
foreach(program IN ITEMS orbplay orbgfx)
  install(FILES share/completions/orb.bash RENAME ${program}
    DESTINATION "${data}/bash-completion/completions" COMPONENT player)
  install(FILES share/completions/orb.fish RENAME ${program}.fish
    DESTINATION "${data}/fish/vendor_completions.d" COMPONENT player)
endforeach()
install(FILES share/completions/_orb DESTINATION "${data}/zsh/site-functions" COMPONENT player)
install(FILES share/orbplay.desktop DESTINATION "${data}/applications" COMPONENT player)
install(FILES share/orbplay.xml DESTINATION "${data}/mime/packages" COMPONENT player)
install(FILES share/orb.png RENAME orbplay.png
  DESTINATION "${data}/icons/hicolor/64x64/apps" COMPONENT player)
