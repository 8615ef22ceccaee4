# Compiler settings shared by every target of the repository, carried by an
# INTERFACE target instead of directory-wide flags so that a parent project's
# settings stay untouched.

add_library(core_build_flags INTERFACE)
target_compile_options(core_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                  -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Checks the locking annotations of core/src/internal/thread_annotations.h.
  target_compile_options(core_build_flags INTERFACE -Wthread-safety)
endif()
if(CORE_WERROR)
  target_compile_options(core_build_flags INTERFACE -Werror)
endif()

# CORE_SANITIZE picks one sanitizer set; the two cannot share a build. The
# boolean spellings of earlier versions (ON, TRUE, 1) still mean "address".
string(TOLOWER "${CORE_SANITIZE}" CORE_SANITIZER)
if(CORE_SANITIZER MATCHES "^(on|true|yes|y|1)$")
  set(CORE_SANITIZER address)
elseif(CORE_SANITIZER MATCHES "^(off|false|no|n|0)$")
  set(CORE_SANITIZER "")
endif()
if(CORE_SANITIZER STREQUAL "address")
  set(CORE_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all)
elseif(CORE_SANITIZER STREQUAL "thread")
  set(CORE_SANITIZER_FLAGS -fsanitize=thread)
elseif(NOT CORE_SANITIZER STREQUAL "")
  message(FATAL_ERROR "CORE_SANITIZE must be address, thread or empty, not '${CORE_SANITIZE}'")
endif()
if(CORE_SANITIZER_FLAGS)
  target_compile_options(core_build_flags INTERFACE ${CORE_SANITIZER_FLAGS}
                                                    -fno-omit-frame-pointer)
  target_link_options(core_build_flags INTERFACE ${CORE_SANITIZER_FLAGS})
endif()

if(CORE_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "CORE_BUILD_FUZZ needs Clang (libFuzzer)")
  endif()
  if(NOT CORE_SANITIZER STREQUAL "address")
    # The sanitizer runtime supplies the coverage hooks that every
    # instrumented object (tests and tools included) refers to.
    message(FATAL_ERROR "CORE_BUILD_FUZZ needs CORE_SANITIZE=address")
  endif()
  # Coverage instrumentation for the library code the fuzzers drive.
  target_compile_options(core_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
