# Lets a program of Windows crash, in a directory of its own, and looks at what it left:
#
#   EMULATOR PROGRAM LLDB OBJ2YAML WORK_DIR   what to run where
#   ARGUMENTS  what follows the host's directory on the command line
#   HOST       the host's directory; "host" by default
#   EXIT       the exit code, of which the system that runs Wine sees the last eight bits
#   TIME       how many seconds it may take, a minute by default; then it is killed
#   DUMP       the dump, below WORK_DIR; "none" for none, "temporary" for one among the temporary files; the one in the host's directory by default
#   CODE       the exception's code, as lldb prints it
#   FUNCTION   a function that is on the crashing thread's stack
#   REPORT     "whole" by default, "begun" or "none"
#   REPORT_HAS, REPORT_HAS_TOO  lines of it
#   HANDLER    what the host's handler was given, "path" for the path of the dump; not called by default
#   NOTE, FOUND  a file in the host's directory, and what it says: "the crashed thread" for that thread's number
foreach(name IN ITEMS EMULATOR PROGRAM LLDB OBJ2YAML WORK_DIR ARGUMENTS EXIT)
  if(NOT DEFINED ${name})
    message(FATAL_ERROR "${name} is not set")
  endif()
endforeach()
if(NOT TIME)
  set(TIME 60)
endif()
if(NOT HOST)
  set(HOST host)
endif()
cmake_path(GET PROGRAM STEM program_name)
set(host_dir "${WORK_DIR}/${HOST}")

# expect_equal(<what> <actual> <expected>)
function(expect_equal what actual expected)
  if(NOT "${actual}" STREQUAL "${expected}")
    message(SEND_ERROR "${what} is \"${actual}\", not \"${expected}\"")
  endif()
endfunction()

function(expect_match what text part)
  string(FIND "${text}" "${part}" place)
  if(place EQUAL -1)
    message(SEND_ERROR "${what} has no \"${part}\":\n${text}")
  endif()
endfunction()

# text_of(<file> <variable>): "no file" if there is none.
function(text_of file variable)
  set(text "no file")
  if(EXISTS "${file}" AND NOT IS_DIRECTORY "${file}")
    file(READ "${file}" text)
  endif()
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(expect_dump dump)
  if(NOT EXISTS "${dump}")
    message(SEND_ERROR "there is no ${dump}")
    return()
  endif()
  execute_process(COMMAND "${OBJ2YAML}" "${dump}" RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE error)
  expect_equal("obj2yaml's exit code" "${result}${error}" 0)
  foreach(secret IN ITEMS "hidden in the env" "h.i.d.d.e.n. .i.n. .t.h.e. .e.n.v")
    execute_process(COMMAND grep --quiet --text "${secret}" "${dump}" RESULT_VARIABLE result)
    expect_equal("the result of a search for an environment variable" "${result}" 1)
  endforeach()
  cmake_path(GET PROGRAM PARENT_PATH libraries)
  # An unwinder that has lost its way in a system library needs that library.
  execute_process(
    COMMAND "${LLDB}" --no-lldbinit --batch -O
            "settings set target.exec-search-paths ${libraries} /usr/lib/x86_64-linux-gnu/wine/x86_64-windows" -c "${dump}"
            "${PROGRAM}" -o "thread info" -o "thread backtrace -c 20"
    OUTPUT_VARIABLE output ERROR_QUIET
  )
  expect_match("lldb's output" "${output}" "stop reason = Exception ${CODE}")
  expect_match("lldb's output" "${output}" "${FUNCTION}")
  string(REGEX MATCH "tid = (0x[0-9a-f]+)" thread "${output}")
  math(EXPR thread "${CMAKE_MATCH_1}")
  set(crashed_thread ${thread} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${host_dir}" "${WORK_DIR}/tmp")
set(command "${PROGRAM}" "${HOST}" ${ARGUMENTS})
if(DUMP STREQUAL "temporary") # Wine gives programs no directory for temporary files but its own
  string(REPLACE "/" "\\" temporary_files "Z:${WORK_DIR}/tmp")
  string(REPLACE "/" "\\" windows_program "Z:${PROGRAM}")
  set(command cmd /c set "TMP=${temporary_files}" && "${windows_program}" "${HOST}" ${ARGUMENTS})
endif()
set(ENV{BRN_SECRET} "hidden in the environment")
execute_process(
  COMMAND "${EMULATOR}" ${command}
  WORKING_DIRECTORY "${WORK_DIR}"
  RESULT_VARIABLE exit_code OUTPUT_VARIABLE output ERROR_VARIABLE output
  TIMEOUT ${TIME}
)
expect_equal("the exit code" "${exit_code}" "${EXIT}")

set(DUMP_PATH "${HOST}/${program_name}.dmp")
if(NOT DUMP)
  set(DUMP "${DUMP_PATH}")
elseif(NOT DUMP MATCHES "^(none|temporary)$")
  set(DUMP_PATH "${DUMP}")
endif()
file(GLOB_RECURSE dumps "${WORK_DIR}/*.dmp" "${WORK_DIR}/*.part")
if(DUMP STREQUAL "none")
  expect_equal("the list of dumps" "${dumps}" "")
elseif(DUMP STREQUAL "temporary")
  if(NOT dumps MATCHES "^${WORK_DIR}/tmp/${program_name}-[0-9]+-20[0-9][0-9][0-9][0-9][0-9][0-9]-[0-9][0-9][0-9][0-9][0-9][0-9]-[a-z2-7]+.dmp$")
    message(SEND_ERROR "the dumps are \"${dumps}\"")
  endif()
  expect_dump("${dumps}")
else()
  expect_equal("the list of dumps" "${dumps}" "${WORK_DIR}/${DUMP}")
  expect_dump("${WORK_DIR}/${DUMP}")
endif()

if(REPORT STREQUAL "none")
  set(expected_report "no file")
elseif(REPORT STREQUAL "begun")
  set(expected_report "")
else()
  set(expected_report "<Waypoint name=\"Before the crash\"")
endif()
text_of("${host_dir}/${program_name}_command_log.xml" report)
foreach(part IN LISTS expected_report REPORT_HAS REPORT_HAS_TOO)
  expect_match("the report" "${report}" "${part}")
endforeach()
if(NOT DEFINED HANDLER)
  set(HANDLER "no file")
elseif(HANDLER STREQUAL "path")
  string(REPLACE "/" "\\" HANDLER "${DUMP_PATH}")
endif()
text_of("${host_dir}/handler" handler)
expect_equal("what the handler was given" "${handler}" "${HANDLER}")
if(NOTE)
  if(FOUND STREQUAL "the crashed thread")
    set(FOUND ${crashed_thread})
  endif()
  text_of("${host_dir}/${NOTE}" note)
  expect_equal("${NOTE}" "${note}" "${FOUND}")
endif()
