# The DLLs that programs need at run time, and that Windows does not bring: the compiler's own, Qt's and log4cplus's.
# Sets BRN_RUNTIME_DLLS, and has them lie beside the programs of the build.
function(brn_find_compiler_dll variable name)
  execute_process(
    COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${name}"
    OUTPUT_VARIABLE path
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
  )
  if(NOT IS_ABSOLUTE "${path}")
    message(FATAL_ERROR "The compiler does not know where ${name} is")
  endif()
  set(${variable} "${path}" PARENT_SCOPE)
endfunction()

set(BRN_RUNTIME_DLLS "$<TARGET_FILE:Qt${QT_VERSION_MAJOR}::Core>" "$<TARGET_FILE:${BRN_LOG4CPLUS_TARGET}>")
if(MINGW)
  foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    brn_find_compiler_dll(path ${name})
    list(APPEND BRN_RUNTIME_DLLS "${path}")
  endforeach()
endif()

add_custom_target(
  brn_runtime_dlls ALL
  COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
  COMMAND "${CMAKE_COMMAND}" -E copy_if_different ${BRN_RUNTIME_DLLS} "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
  VERBATIM
)
