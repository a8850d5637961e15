# Run by ctest after the tests (CTestCustom.cmake in the build's folder): tells of each test that was skipped why, which ctest
# itself does not.
#
#   RESULTS  the JUnit file that ctest has written; the presets name it
if(NOT EXISTS "${RESULTS}")
  return()
endif()
file(READ "${RESULTS}" text)
file(REMOVE "${RESULTS}") # the next run may write none
string(REPLACE ";" "," text "${text}")
string(REGEX REPLACE "<testcase " ";" tests "${text}")
set(lines "")
foreach(test IN LISTS tests)
  if(NOT test MATCHES "<skipped " OR NOT test MATCHES "^name=\"([^\"]*)\"")
    continue()
  endif()
  set(name "${CMAKE_MATCH_1}")
  set(reason "it does not say why")
  # GoogleTest: "file:line: Skipped", the reason, an empty line. Other programs: "Skipped: the reason".
  if(test MATCHES ": Skipped\n([^\n]+)")
    set(reason "${CMAKE_MATCH_1}")
  elseif(test MATCHES "Skipped: ([^\n<]+)")
    set(reason "${CMAKE_MATCH_1}")
  endif()
  foreach(pair IN ITEMS "&lt,=<" "&gt,=>" "&quot,=\"" "&apos,='" "&amp,=&")
    string(REGEX MATCH "^([^=]*)=(.*)$" pair "${pair}")
    string(REPLACE "${CMAKE_MATCH_1}" "${CMAKE_MATCH_2}" reason "${reason}")
  endforeach()
  string(APPEND lines "  ${name}: ${reason}\n")
endforeach()
if(lines)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "\nSkipped, and why:\n${lines}")
endif()
