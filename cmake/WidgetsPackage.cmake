# Installs brn_mesh_widgets with its headers, its CMake package and its entry for pkg-config.
include(CMakePackageConfigHelpers)

set(widgets_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/brn_mesh_widgets")
set(widgets_generated_dir "${PROJECT_BINARY_DIR}/package")

# Beside the kernel wherever the package is put.
if(NOT WIN32)
  set_target_properties(brn_mesh_widgets PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

install(
  TARGETS brn_mesh_widgets
  EXPORT brn_mesh_widgets_targets
  RUNTIME COMPONENT widgets
  LIBRARY COMPONENT widgets NAMELINK_COMPONENT widgets-development
  ARCHIVE COMPONENT widgets-development
  FILE_SET HEADERS COMPONENT widgets-development
)
install(
  EXPORT brn_mesh_widgets_targets
  NAMESPACE Brennic::
  FILE brn_mesh_widgets-targets.cmake
  DESTINATION "${widgets_package_dir}"
  COMPONENT widgets-development
)
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/brn_mesh_widgets-config.cmake.in"
  "${widgets_generated_dir}/brn_mesh_widgets-config.cmake"
  INSTALL_DESTINATION "${widgets_package_dir}"
  NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(
  "${widgets_generated_dir}/brn_mesh_widgets-config-version.cmake"
  COMPATIBILITY SameMajorVersion
)
install(
  FILES "${widgets_generated_dir}/brn_mesh_widgets-config.cmake"
        "${widgets_generated_dir}/brn_mesh_widgets-config-version.cmake"
  DESTINATION "${widgets_package_dir}"
  COMPONENT widgets-development
)

# As for the kernel, whose entry stands beside it: Package.cmake.
if(NOT WIN32 AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  file(RELATIVE_PATH prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/brn_mesh_widgets.pc.in" "${widgets_generated_dir}/brn_mesh_widgets.pc" @ONLY)
  install(
    FILES "${widgets_generated_dir}/brn_mesh_widgets.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT widgets-development
  )
endif()
