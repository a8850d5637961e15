# Configures the tree as if one dependency after the other were not installed.
foreach(name IN ITEMS SOURCE_DIR WORK_DIR GENERATOR CXX_COMPILER)
  if(NOT ${name})
    message(FATAL_ERROR "${name} is not set")
  endif()
endforeach()

foreach(pair IN ITEMS Boost=libboost-dev GTest=libgtest-dev CLI11=libcli11-dev fmt=libfmt-dev QT=qt6-base-dev)
  string(REGEX MATCH "^([^=]*)=(.*)$" pair "${pair}")
  set(dependency ${CMAKE_MATCH_1})
  set(package ${CMAKE_MATCH_2})
  file(REMOVE_RECURSE "${WORK_DIR}")
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE_DIR}" -B "${WORK_DIR}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
            "-DCMAKE_DISABLE_FIND_PACKAGE_${dependency}=ON"
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
  )
  if(result EQUAL 0)
    message(SEND_ERROR "configured without ${dependency}")
  elseif(NOT output MATCHES "${package}" OR NOT output MATCHES "tools/setup\\.sh")
    message(SEND_ERROR "without ${dependency} neither ${package} nor the script is named:\n${output}")
  endif()
endforeach()
