# Started under Wine by a script, which reads with the readers of the machine that builds what each leaves.

add_executable(dump_test DumpMiniDumpTest_win.cpp)
brn_target_defaults(dump_test)
target_include_directories(dump_test PRIVATE "${PROJECT_SOURCE_DIR}/tests")
target_link_libraries(dump_test PRIVATE Brennic::brn_mesh_common Boost::headers GTest::gmock GTest::gtest_main)
brn_discover_tests(dump_test)

add_executable(crash_stack_test CrashStackTest_win.cpp)
brn_target_defaults(crash_stack_test)
target_link_libraries(crash_stack_test PRIVATE Brennic::brn_mesh_kernel GTest::gtest_main)
brn_discover_tests(crash_stack_test)

# The scenarios of scenarios.txt, and what its rows cannot say: texts of the report.
# brn_crash_scenario(<name> ARGUMENTS ... EXPECT ...): see RunScenario.cmake.
function(brn_crash_scenario name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PROGRAM" "ARGUMENTS;EXPECT")
  if(NOT arg_PROGRAM)
    set(arg_PROGRAM crash_child)
  endif()
  list(TRANSFORM arg_EXPECT PREPEND -D OUTPUT_VARIABLE definitions)
  add_test(
    NAME ${name}
    COMMAND
      "${CMAKE_COMMAND}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" "-DPROGRAM=$<TARGET_FILE:${arg_PROGRAM}>"
      "-DLLDB=${BRN_LLDB}" "-DOBJ2YAML=${BRN_OBJ2YAML}" "-DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/scenarios/${name}"
      "-DARGUMENTS=${arg_ARGUMENTS}" ${definitions} -P "${CMAKE_CURRENT_SOURCE_DIR}/RunScenario.cmake"
  )
  set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

# brn_add_scenario(<row of scenarios.txt>)
function(brn_add_scenario row)
  string(REGEX REPLACE " *\\| *" ";" cells "${row}")
  list(POP_FRONT cells name arguments function linux windows)
  if(windows STREQUAL "-")
    return()
  endif()
  string(REPLACE " " ";" arguments "${arguments}")
  string(REGEX MATCH "^([^ ]+) (.*)$" end "${windows}")
  set(expectations "CODE=${CMAKE_MATCH_1}" "EXIT=${CMAKE_MATCH_2}" "FUNCTION=${function}")
  set(program crash_child)
  foreach(cell IN LISTS cells)
    if(cell MATCHES "^linux:")
      continue()
    endif()
    string(REGEX REPLACE "^windows:" "" cell "${cell}")
    if(cell MATCHES "^PROGRAM=(.*)$")
      set(program ${CMAKE_MATCH_1})
    else()
      list(APPEND expectations "${cell}") # of two for one name the later one counts
    endif()
  endforeach()
  brn_crash_scenario(${name} PROGRAM ${program} ARGUMENTS ${arguments} EXPECT ${expectations})
endfunction()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS scenarios.txt)
file(READ scenarios.txt scenarios)
string(REPLACE "\n" ";" scenarios "${scenarios}")
foreach(row IN LISTS scenarios)
  if(row MATCHES "^[A-Z]")
    brn_add_scenario("${row}")
  endif()
endforeach()

brn_crash_scenario(
  CrashFiles.nameTheVersionsOfProgramAndLibrary
  ARGUMENTS null-write
  EXPECT CODE=0xc0000005 FUNCTION=crashByNullWrite EXIT=5
         "REPORT_HAS=<ProductVersion description=\"Crash child\" version=\"${PROJECT_VERSION}\"/>"
         "REPORT_HAS_TOO=<FileVersion description=\"Run-time services for programs that process meshes\" version=\"${PROJECT_VERSION}\"/>"
)
