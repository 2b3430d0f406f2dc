# The installable package: find_package(modelbase CONFIG) provides modelbase::modelbase.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/modelbase)
install(EXPORT modelbaseTargets NAMESPACE modelbase:: DESTINATION ${package_dir})
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/modelbaseConfig.cmake.in
    ${PROJECT_BINARY_DIR}/modelbaseConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/modelbaseConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/modelbaseConfig.cmake
              ${PROJECT_BINARY_DIR}/modelbaseConfigVersion.cmake
        DESTINATION ${package_dir})
