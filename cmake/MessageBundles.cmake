# Compiles the message bundle sources of core/resources into one ICU common
# data package ("basalt") and embeds it in the library as a byte array, so the
# installed library finds its texts with no environment setup.
#
# Defines CORE_MESSAGE_DATA_SOURCE, the generated C++ source to compile in,
# and the target core_message_ids, whose OUTPUT_FILE property is the sorted
# list of identifiers expanded from core/resources/message_families.txt.

find_program(CORE_GENRB genrb HINTS ${ICU_GENRB_EXECUTABLE} REQUIRED)
find_program(CORE_ICUPKG icupkg HINTS ${ICU_ICUPKG_EXECUTABLE} REQUIRED)

set(CORE_MESSAGE_SOURCES ${PROJECT_SOURCE_DIR}/core/resources/en.txt
                         ${PROJECT_SOURCE_DIR}/core/resources/ru.txt)
set(CORE_MESSAGE_DIR ${CMAKE_CURRENT_BINARY_DIR}/messages)
set(CORE_MESSAGE_DATA_SOURCE ${CORE_MESSAGE_DIR}/basalt_data.cpp)
file(MAKE_DIRECTORY ${CORE_MESSAGE_DIR}/res)
file(WRITE ${CORE_MESSAGE_DIR}/items.txt "root.res\nen.res\nru.res\n")

add_custom_command(
  OUTPUT ${CORE_MESSAGE_DATA_SOURCE}
  COMMAND ${CMAKE_COMMAND} -DINPUT=${PROJECT_SOURCE_DIR}/core/resources/en.txt
          -DOUTPUT=${CORE_MESSAGE_DIR}/root.txt -P ${PROJECT_SOURCE_DIR}/cmake/MakeRootBundle.cmake
  COMMAND ${CORE_GENRB} -q -e UTF-8 -d ${CORE_MESSAGE_DIR}/res ${CORE_MESSAGE_SOURCES}
          ${CORE_MESSAGE_DIR}/root.txt
  COMMAND ${CMAKE_COMMAND} -E rm -f ${CORE_MESSAGE_DIR}/basalt.dat
  COMMAND ${CORE_ICUPKG} -tl -s ${CORE_MESSAGE_DIR}/res -a ${CORE_MESSAGE_DIR}/items.txt
          new ${CORE_MESSAGE_DIR}/basalt.dat
  COMMAND ${CMAKE_COMMAND} -DINPUT=${CORE_MESSAGE_DIR}/basalt.dat
          -DOUTPUT=${CORE_MESSAGE_DATA_SOURCE} -DSYMBOL=kBasaltData -DHEADER=base/message_data.h
          -P ${PROJECT_SOURCE_DIR}/cmake/EmbedFile.cmake
  DEPENDS ${CORE_MESSAGE_SOURCES} ${PROJECT_SOURCE_DIR}/cmake/MakeRootBundle.cmake
          ${PROJECT_SOURCE_DIR}/cmake/EmbedFile.cmake
  WORKING_DIRECTORY ${CORE_MESSAGE_DIR}
  COMMENT "Compiling the message bundles"
  VERBATIM)

set(CORE_MESSAGE_FAMILIES ${PROJECT_SOURCE_DIR}/core/resources/message_families.txt)
add_custom_command(
  OUTPUT ${CORE_MESSAGE_DIR}/message_ids.txt
  COMMAND ${CMAKE_COMMAND} -DINPUT=${CORE_MESSAGE_FAMILIES}
          -DOUTPUT=${CORE_MESSAGE_DIR}/message_ids.txt -P ${PROJECT_SOURCE_DIR}/cmake/MessageIds.cmake
  DEPENDS ${CORE_MESSAGE_FAMILIES} ${PROJECT_SOURCE_DIR}/cmake/MessageIds.cmake
  COMMENT "Listing the message identifiers"
  VERBATIM)
add_custom_target(core_message_ids ALL DEPENDS ${CORE_MESSAGE_DIR}/message_ids.txt)
set_target_properties(core_message_ids PROPERTIES OUTPUT_FILE ${CORE_MESSAGE_DIR}/message_ids.txt)
