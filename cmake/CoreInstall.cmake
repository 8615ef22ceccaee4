include(CMakePackageConfigHelpers)

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
