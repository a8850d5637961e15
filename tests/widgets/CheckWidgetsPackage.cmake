# Installs the build, puts that in another place, and builds a host with a window against it there; with PKG_CONFIG another
# one without CMake.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
  endif()
endfunction()

set(package_dir "${WORK_DIR}/a place with blanks")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first")
file(RENAME "${WORK_DIR}/first" "${package_dir}")
run(
  "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE_DIR}/tests/widgets/package" -B "${WORK_DIR}/host"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_PREFIX_PATH=${package_dir}"
  -DCMAKE_BUILD_TYPE=Debug "-DHOST_SOURCE=${SOURCE_DIR}/examples/progress_window/main.cpp"
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/host")
# expect_package_libraries(<host>)
function(expect_package_libraries host)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${library_dir}" ldd "${host}"
    OUTPUT_VARIABLE libraries COMMAND_ERROR_IS_FATAL ANY
  )
  foreach(library IN ITEMS brn_mesh_widgets brn_mesh_kernel)
    if(NOT libraries MATCHES "lib${library}[^ ]* => [^\n]*a place with blanks")
      message(FATAL_ERROR "${host} does not take ${library} from the package:\n${libraries}")
    endif()
  endforeach()
endfunction()
expect_package_libraries("${WORK_DIR}/host/widgets_package_host")

if(PKG_CONFIG)
  file(GLOB_RECURSE entry "${package_dir}/brn_mesh_widgets.pc")
  cmake_path(GET entry PARENT_PATH pkgconfig_dir)
  cmake_path(GET pkgconfig_dir PARENT_PATH library_dir)
  file(
    WRITE "${WORK_DIR}/build.sh"
    "flags=$(PKG_CONFIG_PATH='${pkgconfig_dir}' '${PKG_CONFIG}' --cflags --libs 'brn_mesh_widgets >= 1.0')\n"
    "eval \"'${CXX_COMPILER}' -std=c++17 -fPIC '${SOURCE_DIR}/examples/progress_window/main.cpp' -o pkg_config_host $flags\"\n"
  )
  run("${CMAKE_COMMAND}" -E chdir "${WORK_DIR}" sh -e build.sh)
  expect_package_libraries("${WORK_DIR}/pkg_config_host")
endif()
