# Compares the types in the interface of the libraries (layouts, enumerators, parameters) with what is recorded; with RECORD=ON
# records them. What was linked against the record must run with the library: new functions are none of its business.
#
#   RECORD_DIR    where the records are
#   COMMON_LIBRARY, KERNEL_LIBRARY, WIDGETS_LIBRARY  the shared libraries, with debug information; the last where it is built
#   HEADERS       a folder of the public headers alone
#   ABIDW, ABIDIFF  the programs of libabigail
# Neither places in the sources nor the machine's folders are part of the interface.
function(write_types library file)
  execute_process(
    COMMAND
      "${ABIDW}" --headers-dir "${HEADERS}" --suppressions "${CMAKE_CURRENT_LIST_DIR}/recorded.suppr" --drop-private-types
      --drop-undefined-syms --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-elf-needed --no-show-locs
      --no-parameter-names --type-id-style hash "${library}"
    OUTPUT_VARIABLE types COMMAND_ERROR_IS_FATAL ANY
  )
  string(REGEX REPLACE "path='[^']*/(src/[^']*)'" "path='\\1'" types "${types}")
  file(WRITE "${file}" "${types}")
endfunction()

foreach(library IN LISTS COMMON_LIBRARY KERNEL_LIBRARY WIDGETS_LIBRARY)
  cmake_path(GET library STEM name)
  string(REGEX REPLACE "^lib" "" name "${name}")
  set(record "${RECORD_DIR}/${name}.types.xml")
  if(RECORD)
    write_types("${library}" "${record}")
    continue()
  endif()
  if(NOT EXISTS "${record}")
    message(SEND_ERROR "${record} is missing: build the target record_abi.")
    continue()
  endif()
  set(current "${CMAKE_CURRENT_BINARY_DIR}/${name}.types.xml")
  write_types("${library}" "${current}")
  execute_process(
    COMMAND "${ABIDIFF}" --no-added-syms --suppressions "${CMAKE_CURRENT_LIST_DIR}/compared.suppr" "${record}" "${current}"
    RESULT_VARIABLE result
    OUTPUT_VARIABLE changes
    ERROR_VARIABLE changes
  )
  if(NOT result EQUAL 0)
    message("${changes}")
    message(SEND_ERROR "What was linked against ${name} does not run with this one. If that is meant, raise the major version, "
                       "build the target record_abi and say so in the changelog."
    )
  endif()
endforeach()
