include(CMakePackageConfigHelpers)

# The installed libraries and the tool find their neighbours relative to
# themselves, so an installed tree works wherever it lies and with an empty
# environment: libcore.so finds librivet.so beside it even when a consumer's
# link dropped its own reference to rivet (--as-needed).
if(NOT APPLE AND NOT WIN32)
  file(RELATIVE_PATH CORE_BIN_TO_LIB ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}
       ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(core rivet PROPERTIES INSTALL_RPATH "$ORIGIN")
  if(CORE_BUILD_TOOLS)
    set_target_properties(coretool PROPERTIES INSTALL_RPATH "$ORIGIN/${CORE_BIN_TO_LIB}")
  endif()
endif()

install(TARGETS core rivet rivet_new
        EXPORT coreTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/core/include/core
                  ${PROJECT_SOURCE_DIR}/rivet/include/rivet
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(CORE_BUILD_TOOLS)
  install(TARGETS coretool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(CORE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/core)
install(EXPORT coreTargets NAMESPACE core:: DESTINATION ${CORE_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/coreConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/coreConfig.cmake
                              INSTALL_DESTINATION ${CORE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/coreConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION}
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/coreConfig.cmake ${PROJECT_BINARY_DIR}/coreConfigVersion.cmake
        DESTINATION ${CORE_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/core.pc.in ${PROJECT_BINARY_DIR}/core.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/core.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
