# Compiles Call.cpp with calls that are right, and with others that the compiler has to refuse in the line of the call.
string(REPLACE "|" ";" INCLUDES "${INCLUDES}")
list(REMOVE_DUPLICATES INCLUDES)
list(TRANSFORM INCLUDES PREPEND "-isystem" OUTPUT_VARIABLE flags)
list(REMOVE_ITEM flags -isystem -isystem/usr/include)
list(PREPEND flags -std=c++17 -fsyntax-only -fPIC)

function(compile call)
  execute_process(
    COMMAND "${CXX_COMPILER}" ${flags} "-DBRN_CALL=${call}" "${SOURCE}"
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
  )
  set(result "${result}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

foreach(
  call IN ITEMS
  [[BRN_LOG(Info, "nothing")]]
  [[BRN_LOG(Info, "{} {:d} {:>5}", L"text", 1, QString())]]
  [[BRN_LOG_TO(logger, Info, "{:.2f} {}", 1.5, std::wstring())]]
  [[log(Info, FMT_STRING("{:s}"), L"text")]]
)
  compile("${call}")
  if(NOT result EQUAL 0)
    message(SEND_ERROR "refused: ${call}\n${output}")
  endif()
endforeach()

foreach(
  call IN ITEMS
  [[BRN_LOG(Info, "{} {}", 1)]]
  [[BRN_LOG(Info, "{")]]
  [[BRN_LOG(Info, "}")]]
  [[BRN_LOG(Info, "{:d}", "text")]]
  [[BRN_LOG(Info, "{:d}", L"text")]]
  [[BRN_LOG(Info, "{:x}", QString())]]
  [[BRN_LOG(Info, "{:.2d}", 1)]]
  [[BRN_LOG(Info, "{1}", 1)]]
  [[BRN_LOG(Info, "{:{}}", 1)]]
  [[BRN_LOG(Info, "{}", Unknown())]]
  [[BRN_LOG(Info, notLiteral)]]
  [[BRN_LOG(1, "a level is none of the numbers")]]
  [[BRN_LOG_TO(logger, Info, "{:d}", std::wstring())]]
  [[log(Info, FMT_STRING("{:d}"), L"text")]]
)
  compile("${call}")
  if(result EQUAL 0)
    message(SEND_ERROR "compiled: ${call}")
  elseif(NOT output MATCHES "Call\\.cpp")
    message(SEND_ERROR "refused for another reason: ${call}\n${output}")
  endif()
endforeach()
