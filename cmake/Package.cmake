# Installs the libraries with their headers, the CMake package brn_mesh_kernel and its entry for pkg-config. Two components:
# `runtime` is what programs need that are built already, `development` what building them needs.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/brn_mesh_kernel")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(generated_dir "${PROJECT_BINARY_DIR}/package")

# Beside each other wherever the package is put.
if(NOT WIN32)
  set_target_properties(brn_mesh_common brn_mesh_kernel PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

install(
  TARGETS brn_mesh_common brn_mesh_kernel
  EXPORT brn_mesh_kernel_targets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  FILE_SET HEADERS COMPONENT development
)
install(
  EXPORT brn_mesh_kernel_targets
  NAMESPACE Brennic::
  FILE brn_mesh_kernel-targets.cmake
  DESTINATION "${package_dir}"
  COMPONENT development
)
if(WIN32)
  install(FILES ${BRN_RUNTIME_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
endif()
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/brn_mesh_kernel-config.cmake.in" "${generated_dir}/brn_mesh_kernel-config.cmake"
  INSTALL_DESTINATION "${package_dir}"
  NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(
  "${generated_dir}/brn_mesh_kernel-config-version.cmake"
  COMPATIBILITY SameMajorVersion
)
install(
  FILES "${generated_dir}/brn_mesh_kernel-config.cmake" "${generated_dir}/brn_mesh_kernel-config-version.cmake"
  DESTINATION "${package_dir}"
  COMPONENT development
)

# Absolute folders, as some distributions set them, are not found from the file's own place.
if(NOT WIN32 AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  file(RELATIVE_PATH prefix_from_pkgconfig "/${pkgconfig_dir}" "/")
  string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/brn_mesh_kernel.pc.in" "${generated_dir}/brn_mesh_kernel.pc" @ONLY)
  install(FILES "${generated_dir}/brn_mesh_kernel.pc" DESTINATION "${pkgconfig_dir}" COMPONENT development)
endif()
