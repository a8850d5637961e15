# Installs the guides, the examples that an installed package can build, the reference where it has been made, and the manual
# pages of the programs. Components: `documentation`, and for a manual page that of its program.
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/docs/"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/guides"
  COMPONENT documentation
  FILES_MATCHING
  PATTERN "*.md"
  PATTERN "images/*"
  PATTERN "man" EXCLUDE
)
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/examples/quick_start" "${PROJECT_SOURCE_DIR}/examples/background_work"
            "${PROJECT_SOURCE_DIR}/examples/crash_stack" "${PROJECT_SOURCE_DIR}/examples/progress_window"
            "${PROJECT_SOURCE_DIR}/examples/typed_log"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples"
  COMPONENT documentation
  FILES_MATCHING
  PATTERN "*.cpp"
)
install(
  FILES "${PROJECT_SOURCE_DIR}/examples/installed/CMakeLists.txt"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples"
  COMPONENT documentation
)
install(
  DIRECTORY "${PROJECT_BINARY_DIR}/docs/html/"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/reference"
  COMPONENT documentation
  OPTIONAL
)
if(TARGET brn_waypoints AND NOT WIN32)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/man/brn_waypoints.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
endif()
