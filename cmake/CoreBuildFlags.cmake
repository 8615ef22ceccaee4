# Compiler settings shared by every target of the repository, carried by an
# INTERFACE target instead of directory-wide flags so that a parent project's
# settings stay untouched.

add_library(core_build_flags INTERFACE)
target_compile_options(core_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                  -Wnon-virtual-dtor)
if(CORE_WERROR)
  target_compile_options(core_build_flags INTERFACE -Werror)
endif()

if(CORE_SANITIZE)
  set(CORE_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all
                           -fno-omit-frame-pointer)
  target_compile_options(core_build_flags INTERFACE ${CORE_SANITIZER_FLAGS})
  target_link_options(core_build_flags INTERFACE -fsanitize=address,undefined)
endif()

if(CORE_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "CORE_BUILD_FUZZ needs Clang (libFuzzer)")
  endif()
  if(NOT CORE_SANITIZE)
    # The sanitizer runtime supplies the coverage hooks that every
    # instrumented object (tests and tools included) refers to.
    message(FATAL_ERROR "CORE_BUILD_FUZZ needs CORE_SANITIZE")
  endif()
  # Coverage instrumentation for the library code the fuzzers drive.
  target_compile_options(core_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
