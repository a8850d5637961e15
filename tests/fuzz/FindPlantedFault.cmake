# Runs PROGRAM, which has a planted fault, on the KEPT corpus for a minute at most; fails unless it finds the fault. SCRATCH is a
# folder for what it finds on the way.
file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}")
set(limits -timeout=10 -rss_limit_mb=2048 -max_len=4096 "-artifact_prefix=${SCRATCH}/")
# None of the kept inputs leads there: it has to be found.
file(GLOB inputs "${KEPT}/*")
execute_process(COMMAND "${PROGRAM}" ${limits} ${inputs} RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE text)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "A kept input fails already:\n${text}")
endif()
execute_process(
  COMMAND "${PROGRAM}" -max_total_time=60 ${limits} "${SCRATCH}" "${KEPT}" RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE text
)
if(status EQUAL 0 OR NOT text MATCHES "\nplanted fault\n")
  message(FATAL_ERROR "The planted fault was not found (status ${status}):\n${text}")
endif()
