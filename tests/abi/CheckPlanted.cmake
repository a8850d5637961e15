# Records a small library as it is meant, and compares it with each of its changed builds: each has to be told.
function(compare change)
  execute_process(
    COMMAND "${PYTHON}" "${ABI_RECORD}" "${PLANTED_DIR}/${change}.json" ${ARGN}
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
  )
  set(result ${result} PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

# expect_found(<change> <what the comparison says is gone> <what it says is there instead>...)
function(expect_found change)
  compare(${change})
  if(result EQUAL 0)
    message(SEND_ERROR "${change} was not found")
  endif()
  foreach(line IN LISTS ARGN)
    string(FIND "${output}" "\n${line}\n" place)
    if(place EQUAL -1)
      message(SEND_ERROR "${change} was found without the line \"${line}\":\n${output}")
    endif()
  endforeach()
endfunction()

file(REMOVE_RECURSE "${PLANTED_DIR}/record")
compare(NOTHING --record)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "nothing could be recorded:\n${output}")
endif()
compare(NOTHING)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the library differs from its own record:\n${output}")
endif()
expect_found(REMOVED_EXPORT "-double Brennic::Planted::area(Brennic::Planted::Shape const&)")
expect_found(
  SIGNATURE "-void Brennic::Planted::Shape::scale(double)" "+void Brennic::Planted::Shape::scale(float)"
)
expect_found(
  RETURNED_TYPE "-int Brennic::Planted::Shape::corners() const" "+long int Brennic::Planted::Shape::corners() const"
)
expect_found(REORDERED_VIRTUAL "-  slot  2 double width() const = 0" "+  slot  3 double width() const = 0")
expect_found(MEMBER "+  at   8 double m_weight" "-  at   8 double m_scale")
expect_found(ENUMERATOR "-  eGreen = 1" "+  eGreen = 2")
