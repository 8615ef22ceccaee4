# Embeds the table of zone identifiers (core/data/timezones.txt, one a line)
# in the library as the array core::detail::kTimeZoneIds.
#
# Included from core/CMakeLists.txt it defines CORE_TIME_ZONE_TABLE_SOURCE,
# the generated C++ source to compile in; run with -P (INPUT, OUTPUT) it
# writes that source.

if(CMAKE_SCRIPT_MODE_FILE)
  file(STRINGS ${INPUT} ids)
  set(body "")
  set(count 0)
  foreach(id IN LISTS ids)
    if(NOT id MATCHES "^[A-Za-z0-9_+/-]+$")
      message(FATAL_ERROR "${INPUT}: bad zone identifier \"${id}\"")
    endif()
    string(APPEND body "    \"${id}\",\n")
    math(EXPR count "${count} + 1")
  endforeach()
  file(WRITE ${OUTPUT}
    "// Generated from ${INPUT}; do not edit.\n"
    "#include <cstddef>\n\n"
    "namespace core::detail {\n\n"
    "extern const char* const kTimeZoneIds[];\n"
    "extern const std::size_t kTimeZoneIdCount;\n\n"
    "const char* const kTimeZoneIds[] = {\n${body}};\n"
    "const std::size_t kTimeZoneIdCount = ${count};\n\n"
    "}  // namespace core::detail\n")
  return()
endif()

set(CORE_TIME_ZONE_TABLE_INPUT ${PROJECT_SOURCE_DIR}/core/data/timezones.txt)
set(CORE_TIME_ZONE_TABLE_SOURCE ${CMAKE_CURRENT_BINARY_DIR}/timezones/time_zone_table.cpp)
add_custom_command(
  OUTPUT ${CORE_TIME_ZONE_TABLE_SOURCE}
  COMMAND ${CMAKE_COMMAND} -DINPUT=${CORE_TIME_ZONE_TABLE_INPUT}
          -DOUTPUT=${CORE_TIME_ZONE_TABLE_SOURCE} -P ${PROJECT_SOURCE_DIR}/cmake/TimeZoneTable.cmake
  DEPENDS ${CORE_TIME_ZONE_TABLE_INPUT} ${PROJECT_SOURCE_DIR}/cmake/TimeZoneTable.cmake
  COMMENT "Embedding the table of time zone identifiers"
  VERBATIM)
