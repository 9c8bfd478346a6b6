# The CMake package that is installed beside the libraries: find_package(ov3dobject) makes the targets ov3d::...
# (docs/embedding.md). The contract stands apart from the rest, since it needs no Qt.

include(CMakePackageConfigHelpers)

set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/ov3dobject")
install(EXPORT ov3dobjectContract NAMESPACE ov3d:: DESTINATION "${folder}")
install(EXPORT ov3dobjectTargets NAMESPACE ov3d:: DESTINATION "${folder}")

configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/ov3dobjectConfig.cmake.in"
    "${CMAKE_BINARY_DIR}/package/ov3dobjectConfig.cmake" INSTALL_DESTINATION "${folder}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/ov3dobjectConfigVersion.cmake"
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/package/ov3dobjectConfig.cmake"
              "${CMAKE_BINARY_DIR}/package/ov3dobjectConfigVersion.cmake"
    DESTINATION "${folder}")
