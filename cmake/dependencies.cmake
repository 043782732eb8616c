# The libraries that everything uses, each as an imported target orb::NAME.
#
# They are looked up by header and library file. In a sysroot, on an i386 system and among multiarch
# packages that finds the 32-bit ones; sdl-config and the like would not.

if(NOT CMAKE_LIBRARY_ARCHITECTURE MATCHES "^i[3-6]86-")
  set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
endif()

# orb_find(NAME name HEADER header LIBRARIES lib... [SUFFIXES dir...] [PACKAGE debian-package]
#          [OPTIONAL])
# Defines orb::name, or stops and names the package to install; optional ones are skipped.
function(orb_find)
  cmake_parse_arguments(arg "OPTIONAL" "NAME;HEADER;PACKAGE" "LIBRARIES;SUFFIXES" ${ARGN})
  string(TOUPPER "ORB_${arg_NAME}" prefix)
  find_path(${prefix}_INCLUDE_DIR "${arg_HEADER}" PATH_SUFFIXES ${arg_SUFFIXES})
  mark_as_advanced(${prefix}_INCLUDE_DIR)
  set(found ${${prefix}_INCLUDE_DIR})
  if(arg_LIBRARIES)
    find_library(${prefix}_LIBRARY NAMES ${arg_LIBRARIES})
    mark_as_advanced(${prefix}_LIBRARY)
    if(NOT ${prefix}_LIBRARY)
      set(found FALSE)
    endif()
  endif()
  if(NOT found)
    if(NOT arg_OPTIONAL)
      if(EMSCRIPTEN)
        message(FATAL_ERROR "${arg_HEADER} or its library is missing in ${ORB_WEB_SYSROOT}: "
          "run ./orb web.")
      endif()
      message(FATAL_ERROR "${arg_HEADER} or its 32-bit library is missing: "
        "install ${arg_PACKAGE} (i386).")
    endif()
    return()
  endif()
  add_library(orb::${arg_NAME} INTERFACE IMPORTED GLOBAL)
  target_include_directories(orb::${arg_NAME} SYSTEM INTERFACE "${${prefix}_INCLUDE_DIR}")
  if(arg_LIBRARIES)
    target_link_libraries(orb::${arg_NAME} INTERFACE "${${prefix}_LIBRARY}")
  endif()
endfunction()

# The module.
orb_find(NAME sdl HEADER SDL.h SUFFIXES SDL LIBRARIES SDL SDL-1.2 PACKAGE libsdl1.2-dev)
orb_find(NAME png HEADER png.h LIBRARIES png16 png PACKAGE libpng-dev)
orb_find(NAME zlib HEADER zlib.h LIBRARIES z PACKAGE zlib1g-dev)
orb_find(NAME jpeg HEADER jpeglib.h LIBRARIES jpeg PACKAGE libjpeg62-turbo-dev)
orb_find(NAME lcms2 HEADER lcms2.h LIBRARIES lcms2 PACKAGE liblcms2-dev)

# The reference host. Lua's C build, not its C++ one: when a coroutine yields, as every process does
# every frame, the C build uses longjmp, the other a C++ exception.
orb_find(NAME lua HEADER lua.hpp SUFFIXES lua5.4 LIBRARIES lua5.4 lua PACKAGE liblua5.4-dev)
orb_find(NAME sodium HEADER sodium.h LIBRARIES sodium PACKAGE libsodium-dev)
if(NOT EMSCRIPTEN)
  orb_find(NAME cli11 HEADER CLI/CLI.hpp PACKAGE libcli11-dev)
endif()

# Text, sound, moving pictures and packed games.
orb_find(NAME zip HEADER zip.h LIBRARIES zip PACKAGE libzip-dev)
orb_find(NAME freetype HEADER ft2build.h SUFFIXES freetype2 LIBRARIES freetype PACKAGE libfreetype-dev)
orb_find(NAME sdl_mixer HEADER SDL_mixer.h SUFFIXES SDL LIBRARIES SDL_mixer
  PACKAGE libsdl-mixer1.2-dev)
orb_find(NAME vorbisfile HEADER vorbis/vorbisfile.h LIBRARIES vorbisfile PACKAGE libvorbis-dev)
if(EMSCRIPTEN) # static: nothing else says what they need
  target_link_libraries(orb::vorbisfile INTERFACE vorbis ogg)
  target_link_libraries(orb::sdl_mixer INTERFACE mikmod)
  target_link_directories(orb::vorbisfile INTERFACE "${ORB_WEB_SYSROOT}/lib")
  return()
endif()

# The player, and the reference's site.
orb_find(NAME gif HEADER gif_lib.h LIBRARIES gif PACKAGE libgif-dev)
orb_find(NAME cmark HEADER cmark-gfm.h LIBRARIES cmark-gfm PACKAGE libcmark-gfm-dev)
orb_find(NAME cmark_tables HEADER cmark-gfm-core-extensions.h LIBRARIES cmark-gfm-extensions
  PACKAGE libcmark-gfm-extensions-dev)

# Tests and benchmarks.
find_package(Threads REQUIRED)
orb_find(NAME x11 HEADER X11/Xlib.h LIBRARIES X11 PACKAGE libx11-dev OPTIONAL)
orb_find(NAME gtest HEADER gtest/gtest.h LIBRARIES gtest PACKAGE libgtest-dev OPTIONAL)
orb_find(NAME gmock HEADER gmock/gmock.h LIBRARIES gmock PACKAGE libgmock-dev OPTIONAL)
orb_find(NAME benchmark HEADER benchmark/benchmark.h LIBRARIES benchmark
  PACKAGE libbenchmark-dev OPTIONAL)
