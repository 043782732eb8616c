# Toolchain: clang for i686 Linux against the private sysroot that `./orb` creates in `.sysroot/`.
# ORB_SYSROOT (cache or environment) selects another one.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

if(NOT ORB_SYSROOT)
  if(DEFINED ENV{ORB_SYSROOT} AND NOT "$ENV{ORB_SYSROOT}" STREQUAL "")
    set(ORB_SYSROOT "$ENV{ORB_SYSROOT}")
  else()
    get_filename_component(ORB_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../.sysroot" ABSOLUTE)
  endif()
endif()
set(ORB_SYSROOT "${ORB_SYSROOT}" CACHE PATH "i386 sysroot")
# try_compile reads this file again and must use the same sysroot.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORB_SYSROOT)

set(CMAKE_SYSROOT "${ORB_SYSROOT}")
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET i686-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET i686-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_FIND_ROOT_PATH "${ORB_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# CMAKE_PREFIX_PATH may name folders outside the sysroot, such as the prefix of an installed module.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Starts the tests, so that they find the sysroot's loader and libraries.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../tools/run32")
