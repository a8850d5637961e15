# Compares the exported names and the virtual slots of the libraries with what is recorded; with RECORD=ON records them.
#
#   RECORD_DIR    where the records are
#   COMMON_LIBRARY, KERNEL_LIBRARY, WIDGETS_LIBRARY  the shared libraries; the last where it is built
#   LIST_EXPORTS  the command that lists the names that a library exports
#   CLASSES       what the compiler has written down about the classes of the public headers

# exported_names(<library> <variable>): one a line. Without what the compiler may export or not as it likes, weak functions
# and those of lambdas.
function(exported_names library variable)
  separate_arguments(list_exports UNIX_COMMAND "${LIST_EXPORTS}")
  execute_process(COMMAND ${list_exports} "${library}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE ";" "" text "${text}")
  string(REGEX MATCHALL "[^\n]+" lines "${text}")
  list(FILTER lines INCLUDE REGEX " _Z(N|NK|TV|TI|TS|TVN|TIN|TSN)[A-Z]*7Brennic")
  list(FILTER lines EXCLUDE REGEX " W |Ul[A-Z]")
  list(TRANSFORM lines REPLACE "^.* (_Z[^ \r]+)\r?$" "\\1")
  list(SORT lines)
  list(JOIN lines "\n" text)
  set(${variable} "${text}\n" PARENT_SCOPE)
endfunction()

# virtual_slots(<variable>): the tables of the library's classes, a slot a line.
function(virtual_slots variable)
  file(STRINGS "${CLASSES}" lines)
  set(text "")
  set(is_wanted OFF)
  foreach(line IN LISTS lines)
    if(line MATCHES "^Vtable for (Brennic::.*)$")
      set(is_wanted ON)
      string(APPEND text "${CMAKE_MATCH_1}\n")
    elseif(line MATCHES "^(Class|Vtable|VTT) ")
      set(is_wanted OFF)
    elseif(is_wanted AND line MATCHES "^([0-9]+) +(.*)$")
      string(REPLACE "(int (*)(...))" "" slot "${CMAKE_MATCH_2}")
      string(APPEND text "  ${CMAKE_MATCH_1} ${slot}\n")
    endif()
  endforeach()
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# check(<file> <text>)
function(check file text)
  if(RECORD)
    file(WRITE "${RECORD_DIR}/${file}" "${text}")
    return()
  endif()
  set(recorded "")
  if(EXISTS "${RECORD_DIR}/${file}")
    file(READ "${RECORD_DIR}/${file}" recorded)
  endif()
  if(NOT text STREQUAL recorded)
    file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/${file}" "${text}")
    execute_process(COMMAND diff "${RECORD_DIR}/${file}" "${CMAKE_CURRENT_BINARY_DIR}/${file}")
    message(SEND_ERROR "${file} has changed. If it is meant to, build the target record_abi and say so in the changelog.")
  endif()
endfunction()

foreach(library IN LISTS COMMON_LIBRARY KERNEL_LIBRARY WIDGETS_LIBRARY)
  cmake_path(GET library STEM name)
  string(REGEX REPLACE "^lib" "" name "${name}")
  exported_names("${library}" names)
  check(${name}.exports.txt "${names}")
endforeach()
virtual_slots(slots)
check(virtual_slots.txt "${slots}")
