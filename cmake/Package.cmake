# Installs the libraries with their headers and the CMake package brn_mesh_kernel.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/brn_mesh_kernel")
set(generated_dir "${PROJECT_BINARY_DIR}/package")

# Beside each other wherever the package is put.
if(NOT WIN32)
  set_target_properties(brn_mesh_common brn_mesh_kernel PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

install(
  TARGETS brn_mesh_common brn_mesh_kernel
  EXPORT brn_mesh_kernel_targets
  FILE_SET HEADERS
)
install(
  EXPORT brn_mesh_kernel_targets
  NAMESPACE Brennic::
  FILE brn_mesh_kernel-targets.cmake
  DESTINATION "${package_dir}"
)
if(WIN32)
  install(FILES ${BRN_RUNTIME_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}")
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
)

set(CPACK_PACKAGE_VENDOR Brennic)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(BRN_ZIP_NAME "${PROJECT_NAME}-${PROJECT_VERSION}-win64")
  set(CPACK_PACKAGE_FILE_NAME ${BRN_ZIP_NAME})
  set(CPACK_STRIP_FILES ON)
endif()
include(CPack)
