# `cpack -G DEB`: a Debian package for each component, with the debug information in packages of its own.
# Last in the tree, since it packs the targets that there are.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGE_VENDOR Brennic)
set(CPACK_PACKAGE_CONTACT "Brennic <brennic@packages.brennic.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # every component has its own
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian/BeforePacking.cmake")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE brn-mesh-kernel)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_COMPONENTS_ALL "")
# For the script, which knows nothing but what is named CPACK_.
set(CPACK_BRN_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
set(CPACK_BRN_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
set(CPACK_BRN_ARCHITECTURE "${CMAKE_LIBRARY_ARCHITECTURE}")
set(CPACK_BRN_OBJCOPY "${CMAKE_OBJCOPY}")

set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(kernel_package "libbrn-mesh-kernel${BRN_SOVERSION}")
set(widgets_package "libbrn-mesh-widgets${BRN_SOVERSION}")

# brn_debian_package(<component> <package> SECTION <section> SUMMARY <line> DESCRIPTION <lines>... [DEPENDS <packages>]
#                    [SUGGESTS <packages>] [ARCHITECTURE all])
macro(brn_debian_package component package)
  cmake_parse_arguments(package "" "SECTION;SUMMARY;DEPENDS;SUGGESTS;ARCHITECTURE" "DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} key)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${package_SECTION})
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${package_DEPENDS}")
  set(CPACK_DEBIAN_${key}_PACKAGE_SUGGESTS "${package_SUGGESTS}")
  set(CPACK_DEBIAN_${key}_PACKAGE_ARCHITECTURE "${package_ARCHITECTURE}")
  list(JOIN package_DESCRIPTION "\n" package_lines)
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${package_SUMMARY}\n${package_lines}")
endmacro()

# brn_debian_binaries(<component> <package> ...): the same for programs or libraries. Their dependencies are read off them;
# their debug information goes into <package>-dbgsym, made of the component <component>-dbgsym, which the script fills.
macro(brn_debian_binaries component package)
  brn_debian_package(${component} ${package} ${ARGN})
  set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON)
  install(DIRECTORY DESTINATION lib/debug COMPONENT ${component}-debug EXCLUDE_FROM_ALL)
  brn_debian_package(
    ${component}-debug ${package}-dbgsym
    SECTION debug
    DEPENDS "${package} ${this_version}"
    SUMMARY "Debug symbols for ${package}"
    DESCRIPTION "Lets a debugger name what runs in ${package}," "live or in a crash dump."
  )
endmacro()

# What the descriptions of the packages of a library have in common.
set(about_kernel
    "Logging, profiler waypoints, crash dumps, background tasks on queues of" #
    "five service classes and trees of progress, for programs that process" "meshes." "."
)
set(about_widgets "Views of the run-time services of mesh processing, for programs with" "windows." ".")

brn_debian_binaries(
  runtime ${kernel_package}
  SECTION libs
  SUMMARY "Run-time services for desktop mesh processing"
  DESCRIPTION ${about_kernel} "This package holds the shared libraries."
)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
brn_debian_package(
  development libbrn-mesh-kernel-dev
  SECTION libdevel
  DEPENDS "${kernel_package} ${this_version}, ${BRN_QT_PACKAGE}, libfmt-dev"
  SUGGESTS libbrn-mesh-kernel-doc
  SUMMARY "Run-time services for mesh processing - development files"
  DESCRIPTION ${about_kernel} "This package holds the headers, the CMake package and the entry for" "pkg-config."
)
brn_debian_package(
  documentation libbrn-mesh-kernel-doc
  SECTION doc
  ARCHITECTURE all
  SUMMARY "Run-time services for mesh processing - documentation"
  DESCRIPTION ${about_kernel} "This package holds the guides, the reference of every public class, and" "small programs to begin with."
)
if(TARGET brn_mesh_widgets)
  brn_debian_binaries(
    widgets ${widgets_package}
    SECTION libs
    DEPENDS "${kernel_package} ${this_version}"
    SUMMARY "Qt widgets for the run-time services of mesh processing"
    DESCRIPTION ${about_widgets} "This package holds the shared library."
  )
  set(CPACK_DEBIAN_WIDGETS_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
  brn_debian_package(
    widgets-development libbrn-mesh-widgets-dev
    SECTION libdevel
    DEPENDS "${widgets_package} ${this_version}, libbrn-mesh-kernel-dev ${this_version}, ${BRN_QT_PACKAGE}"
    SUMMARY "Qt widgets for mesh processing - development files"
    DESCRIPTION ${about_widgets} "This package holds the headers, the CMake package and the entry for" "pkg-config."
  )
endif()
if(TARGET brn_waypoints)
  brn_debian_binaries(
    tools brn-mesh-tools
    SECTION devel
    SUMMARY "Programs for the reports of mesh processing"
    DESCRIPTION "brn_waypoints reads the waypoint reports that programs leave, shows them" "and compares them."
  )
endif()
include(CPack)
