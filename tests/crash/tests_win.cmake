# Started under Wine by a script, which reads with the readers of the machine that builds what each leaves.

# brn_crash_scenario(<name> ARGUMENTS ... EXPECT ...): see RunScenario.cmake.
function(brn_crash_scenario name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PROGRAM" "ARGUMENTS;EXPECT")
  if(NOT arg_PROGRAM)
    set(arg_PROGRAM crash_child)
  endif()
  add_test(
    NAME ${name}
    COMMAND
      "${CMAKE_COMMAND}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" "-DPROGRAM=$<TARGET_FILE:${arg_PROGRAM}>"
      "-DLLDB=${BRN_LLDB}" "-DOBJ2YAML=${BRN_OBJ2YAML}" "-DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/work/${name}"
      "-DARGUMENTS=${arg_ARGUMENTS}" ${arg_EXPECT} -P "${CMAKE_CURRENT_SOURCE_DIR}/RunScenario.cmake"
  )
  set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

