# Toolchain: Emscripten for wasm32, against the libraries that `./orb web` builds in `.sysroot-web/`.
# ORB_WEB_SYSROOT (cache or environment) selects another place for them.

find_program(ORB_EMCC emcc REQUIRED)
get_filename_component(emscripten "${ORB_EMCC}" REALPATH)
get_filename_component(emscripten "${emscripten}" DIRECTORY)
if(NOT EXISTS "${emscripten}/cmake")
  set(emscripten /usr/share/emscripten) # in /usr/bin is only a script that leads there
endif()

if(NOT ORB_WEB_SYSROOT)
  if(DEFINED ENV{ORB_WEB_SYSROOT} AND NOT "$ENV{ORB_WEB_SYSROOT}" STREQUAL "")
    set(ORB_WEB_SYSROOT "$ENV{ORB_WEB_SYSROOT}")
  else()
    get_filename_component(ORB_WEB_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../.sysroot-web" ABSOLUTE)
  endif()
endif()
set(ORB_WEB_SYSROOT "${ORB_WEB_SYSROOT}" CACHE PATH "libraries for wasm32")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORB_WEB_SYSROOT)

# Our SDL, not the one that Emscripten writes in JavaScript; exceptions and long jumps by the
# engine's own, not through JavaScript: every frame() of a process is a long jump.
set(flags "-sUSE_SDL=0 -msimd128 -fwasm-exceptions -sSUPPORT_LONGJMP=wasm")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")

include("${emscripten}/cmake/Modules/Platform/Emscripten.cmake")

set(CMAKE_FIND_ROOT_PATH "${ORB_WEB_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
