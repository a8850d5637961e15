# Installs the build, moves the package to another place, builds a host against it there and runs it.
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

file(REMOVE_RECURSE "${WORK_DIR}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first")
file(RENAME "${WORK_DIR}/first" "${WORK_DIR}/a place with blanks")
run(
  "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE_DIR}/tests/package/host" -B "${WORK_DIR}/host"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=Debug
  "-DCMAKE_PREFIX_PATH=${WORK_DIR}/a place with blanks"
  "-DQUICK_START_SOURCE=${SOURCE_DIR}/examples/quick_start/main.cpp"
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/host")
run("${CMAKE_COMMAND}" -E chdir "${WORK_DIR}" "${WORK_DIR}/host/package_host")
foreach(file IN ITEMS host.log host.xml)
  if(NOT EXISTS "${WORK_DIR}/${file}")
    message(FATAL_ERROR "the host wrote no ${file}")
  endif()
endforeach()
