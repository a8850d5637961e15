# Runs ctest on a folder with a test that passes and one that is skipped.
file(REMOVE_RECURSE "${WORK_DIR}")
file(
  WRITE "${WORK_DIR}/CTestTestfile.cmake"
  "add_test(Disk.isMounted \"${CMAKE_COMMAND}\" -E echo \"DiskTest.cpp:12: Skipped\nno <disk> here\n\n[  SKIPPED ] Disk.isMounted\")\n"
  "set_tests_properties(Disk.isMounted PROPERTIES SKIP_REGULAR_EXPRESSION [=[\\[  SKIPPED \\]]=])\n"
  "add_test(Disk.isThere \"${CMAKE_COMMAND}\" -E true)\n"
)
file(
  WRITE "${WORK_DIR}/CTestCustom.cmake"
  "set(CTEST_CUSTOM_POST_TEST \"\\\"${CMAKE_COMMAND}\\\" -DRESULTS=${WORK_DIR}/tests.xml -P \\\"${LIST_SKIPPED}\\\"\")\n"
)
execute_process(
  COMMAND "${CTEST}" --test-dir "${WORK_DIR}" --output-junit "${WORK_DIR}/tests.xml"
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output
)
if(NOT output MATCHES "\n  Disk\\.isMounted: no <disk> here\n")
  message(FATAL_ERROR "the reason is not told:\n${output}")
endif()
if(output MATCHES "\n  Disk\\.isThere: ")
  message(FATAL_ERROR "a test that was not skipped is told of:\n${output}")
endif()
