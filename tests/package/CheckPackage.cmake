# Makes the package of the build, puts it in another place, builds a host against it there and runs it. The package is the zip
# where there is one, else what the build installs. With PKG_CONFIG a second host is built without CMake. The examples of the
# package are built too, and its guides looked for.
foreach(name IN ITEMS BUILD_DIR SOURCE_DIR WORK_DIR GENERATOR CXX_COMPILER)
  if(NOT ${name})
    message(FATAL_ERROR "${name} is not set")
  endif()
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
  endif()
endfunction()

set(package_dir "${WORK_DIR}/a place with blanks")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
if(ZIP_NAME)
  run("${CMAKE_COMMAND}" -E chdir "${BUILD_DIR}" "${CMAKE_CPACK_COMMAND}" -G ZIP -B "${WORK_DIR}")
  file(ARCHIVE_EXTRACT INPUT "${WORK_DIR}/${ZIP_NAME}.zip" DESTINATION "${WORK_DIR}")
  file(RENAME "${WORK_DIR}/${ZIP_NAME}" "${package_dir}")
else()
  run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first" --component runtime)
  file(GLOB_RECURSE installed RELATIVE "${WORK_DIR}/first" "${WORK_DIR}/first/*")
  list(FILTER installed EXCLUDE REGEX "^lib/([^/]+/)?lib[a-z_]+\\.so\\.[0-9.]+$")
  if(installed)
    message(FATAL_ERROR "more than libraries is installed for programs that are built already: ${installed}")
  endif()
  run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first" --component development)
  run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first" --component documentation)
  file(RENAME "${WORK_DIR}/first" "${package_dir}")
endif()
set(documentation_dir "${package_dir}/share/doc/brn_mesh_kernel")
foreach(file IN ITEMS guides/tasks.md guides/images/mesh_workbench.png examples/quick_start/main.cpp)
  if(NOT EXISTS "${documentation_dir}/${file}")
    message(FATAL_ERROR "the package has no ${file}")
  endif()
endforeach()
if(TOOLCHAIN_FILE) # which looks for packages nowhere else, and takes its compiler itself
  set(compiler "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
               "-Dbrn_mesh_kernel_DIR=${package_dir}/lib/cmake/brn_mesh_kernel"
               "-DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${package_dir}/bin"
  )
  set(host "${package_dir}/bin/package_host.exe")
else()
  set(compiler "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_PREFIX_PATH=${package_dir}")
  set(host "${WORK_DIR}/host/package_host")
endif()
run(
  "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE_DIR}/tests/package/host" -B "${WORK_DIR}/host" ${compiler}
  -DCMAKE_BUILD_TYPE=Debug "-DQUICK_START_SOURCE=${SOURCE_DIR}/examples/quick_start/main.cpp"
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/host")
run(
  "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${documentation_dir}/examples" -B "${WORK_DIR}/examples" ${compiler}
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_DISABLE_FIND_PACKAGE_brn_mesh_widgets=ON
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/examples")

# run_host(<command> ...)
function(run_host)
  file(REMOVE "${WORK_DIR}/host.log" "${WORK_DIR}/host.xml")
  run("${CMAKE_COMMAND}" -E chdir "${WORK_DIR}" ${ARGN})
  foreach(file IN ITEMS host.log host.xml)
    if(NOT EXISTS "${WORK_DIR}/${file}")
      message(FATAL_ERROR "the host wrote no ${file}: ${ARGN}")
    endif()
  endforeach()
endfunction()
run_host(${EMULATOR} "${host}")

if(PKG_CONFIG)
  file(GLOB_RECURSE entry "${package_dir}/brn_mesh_kernel.pc")
  cmake_path(GET entry PARENT_PATH pkgconfig_dir)
  cmake_path(GET pkgconfig_dir PARENT_PATH library_dir)
  file(
    WRITE "${WORK_DIR}/build.sh"
    "flags=$(PKG_CONFIG_PATH='${pkgconfig_dir}' '${PKG_CONFIG}' --cflags --libs 'brn_mesh_kernel >= 1.0')\n"
    "eval \"'${CXX_COMPILER}' -std=c++17 -fPIC '${SOURCE_DIR}/examples/quick_start/main.cpp' -o pkg_config_host $flags\"\n"
  )
  run("${CMAKE_COMMAND}" -E chdir "${WORK_DIR}" sh -e build.sh)
  run_host("${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${library_dir}" "${WORK_DIR}/pkg_config_host")
endif()
