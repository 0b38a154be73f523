# What a caller gets: the library, its headers, the command, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(skar_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/SkarIO)
configure_package_config_file(cmake/SkarIOConfig.cmake.in SkarIOConfig.cmake
                              INSTALL_DESTINATION ${skar_package_folder})
write_basic_package_version_file(SkarIOConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/skario.pc.in skario.pc @ONLY)

install(TARGETS Skar_ioDev EXPORT SkarIOTargets)
install(EXPORT SkarIOTargets NAMESPACE SkarIO:: DESTINATION ${skar_package_folder})
install(FILES ${PROJECT_BINARY_DIR}/SkarIOConfig.cmake ${PROJECT_BINARY_DIR}/SkarIOConfigVersion.cmake
        DESTINATION ${skar_package_folder})
install(FILES ${PROJECT_BINARY_DIR}/skario.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY include/skar ${PROJECT_BINARY_DIR}/include/skar DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
if(TARGET skar)
    file(RELATIVE_PATH skar_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(skar PROPERTIES INSTALL_RPATH "$ORIGIN/${skar_bin_to_lib}")
endif()
