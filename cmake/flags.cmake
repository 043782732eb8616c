# Compiler and linker flags: `orb_common` for everything, `orb_module_flags` for the module.

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()
# The default adds NDEBUG, which would remove the assertions from the tested code.
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")

add_library(orb_common INTERFACE)
if(EMSCRIPTEN)
  # The intrinsics of SSE2, in terms of WebAssembly's own; and what its C and C++ libraries lack.
  set(machine -msse2 -isystem "${PROJECT_SOURCE_DIR}/web/compat")
  # As on Linux, nothing lies where null pointers with an offset lead (src/boundary/readable.cpp).
  target_link_options(orb_common INTERFACE -sGLOBAL_BASE=65536)
else()
  # SSE arithmetic gives the same floating-point results in every build; x87 does not.
  set(machine -march=i686 -msse2 -mfpmath=sse)
  target_link_options(orb_common INTERFACE -Wl,--as-needed)
endif()
target_compile_options(orb_common INTERFACE
  ${machine} -ffp-contract=off
  # Surfaces, process locals and the host's tables are raw memory accessed as several types.
  -fno-strict-aliasing
  -Wall -Wextra -Wpedantic -Wshadow -Wvla -Wundef)

# valgrind 3.19 can't read DWARF 5, which clang writes by default.
if(ORB_DWARF)
  target_compile_options(orb_common INTERFACE -gdwarf-${ORB_DWARF})
endif()

if(ORB_REPRODUCIBLE)
  target_compile_options(orb_common INTERFACE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
  set_property(GLOBAL PROPERTY RULE_LAUNCH_COMPILE
    "sh \"${PROJECT_SOURCE_DIR}/tools/compile_relative\" \"${PROJECT_SOURCE_DIR}\"")
endif()

if(ORB_WERROR)
  target_compile_options(orb_common INTERFACE -Werror)
endif()

if(ORB_SANITIZE)
  target_compile_options(orb_common INTERFACE
    -fsanitize=${ORB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orb_common INTERFACE -fsanitize=${ORB_SANITIZE})
  # The sanitizers read symbols from /proc/self/exe. For a program started through a loader that is
  # the loader, and reports have no line numbers; so these programs name the sysroot's loader
  # themselves.
  if(CMAKE_SYSROOT)
    target_link_options(orb_common INTERFACE
      "-Wl,--dynamic-linker,${CMAKE_SYSROOT}/lib/ld-linux.so.2")
  endif()
endif()

find_program(ORB_LLD NAMES ld.lld ld.lld-14)
mark_as_advanced(ORB_LLD)
if(ORB_LLD AND NOT EMSCRIPTEN AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_link_options(orb_common INTERFACE -fuse-ld=lld)
endif()

add_library(orb_module_flags INTERFACE)
target_link_libraries(orb_module_flags INTERFACE orb_common)
target_compile_options(orb_module_flags INTERFACE
  -fvisibility=hidden
  # The i386 ABI lets a host call with a stack aligned to 4 bytes; SSE spills need 16.
  $<$<NOT:$<BOOL:${EMSCRIPTEN}>>:-mstackrealign>
  -fno-math-errno
  $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden -fno-exceptions -fno-rtti
                            -fno-threadsafe-statics>)

# The test program's: requests for memory pass tests/support/failing_allocator.h, which makes them fail.
set(ORB_HEAP_WRAPS
  -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=strdup -Wl,--wrap=free)

# Compiles the files whose names end in _avx2.cpp for AVX2. No -mfma: a fused multiply-add rounds
# differently from the plain routines. The generated routines keep only line numbers: full debug
# information would be megabytes of template arguments.
function(orb_set_isa_flags)
  foreach(file IN LISTS ARGN)
    set(options)
    if(file MATCHES "_avx2\\.cpp$")
      list(APPEND options -mavx2)
    endif()
    if(file MATCHES "/(kernels|spans_)[^/]*\\.cpp$")
      list(APPEND options -g1)
    endif()
    if(options)
      set_source_files_properties("${file}" PROPERTIES COMPILE_OPTIONS "${options}")
    endif()
  endforeach()
endfunction()
