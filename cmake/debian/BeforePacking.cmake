# Run by CPack between installing and packing: makes Debian packages of what a build installs.
if(NOT CPACK_BRN_LIBDIR STREQUAL "lib/${CPACK_BRN_ARCHITECTURE}")
  message(
    FATAL_ERROR "This build installs its libraries into ${CPACK_BRN_LIBDIR}, which no Debian package does: configure with "
                "-DCMAKE_INSTALL_LIBDIR=lib/${CPACK_BRN_ARCHITECTURE}"
  )
endif()

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The day of the version, so that packing twice gives the same.
file(STRINGS "${CPACK_BRN_SOURCE_DIR}/CHANGELOG.md" heading REGEX "^## " LIMIT_COUNT 1)
if(NOT heading MATCHES "^## ${CPACK_PACKAGE_VERSION} - ([0-9-]+)$")
  message(FATAL_ERROR "The first heading of CHANGELOG.md is not \"## ${CPACK_PACKAGE_VERSION} - YYYY-MM-DD\"")
endif()
execute_process(
  COMMAND date --utc --rfc-email "--date=${CMAKE_MATCH_1}"
  OUTPUT_VARIABLE date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
)
string(
  CONCAT changelog
         "${CPACK_DEBIAN_PACKAGE_SOURCE} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) bookworm; urgency=medium\n\n"
         "  * Version ${CPACK_PACKAGE_VERSION}; changelog.gz tells what it brings.\n\n"
         " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n"
)

# The pages that every package has.
function(add_pages root package)
  set(folder "${root}/usr/share/doc/${package}")
  file(MAKE_DIRECTORY "${folder}")
  file(COPY_FILE "${CPACK_BRN_SOURCE_DIR}/cmake/debian/copyright" "${folder}/copyright")
  file(COPY_FILE "${CPACK_BRN_SOURCE_DIR}/CHANGELOG.md" "${folder}/changelog")
  file(WRITE "${folder}/changelog.Debian" "${changelog}")
  run(gzip -9 --no-name "${folder}/changelog" "${folder}/changelog.Debian")
  file(GLOB pages "${folder}/*")
  file(CHMOD ${pages} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

# Moves the debug information of a program or library to where debuggers look for it by its build id.
function(split_debug_information file root)
  execute_process(COMMAND readelf --notes "${file}" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
  if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
    message(FATAL_ERROR "${file} has no build id")
  endif()
  set(debug_file "${root}/usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug")
  cmake_path(GET debug_file PARENT_PATH folder)
  file(MAKE_DIRECTORY "${folder}")
  run("${CPACK_BRN_OBJCOPY}" --only-keep-debug --compress-debug-sections "${file}" "${debug_file}")
  file(CHMOD "${debug_file}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  run("${CPACK_BRN_OBJCOPY}" --strip-unneeded --remove-section=.comment --remove-section=.note "${file}")
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
  string(TOUPPER ${component} key)
  add_pages("${root}" ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  file(GLOB manual_pages "${root}/usr/share/man/man1/*.1")
  foreach(page IN LISTS manual_pages)
    run(gzip -9 --no-name "${page}")
  endforeach()
  file(GLOB binaries "${root}/usr/${CPACK_BRN_LIBDIR}/*.so.*" "${root}/usr/bin/*")
  foreach(binary IN LISTS binaries)
    if(NOT IS_SYMLINK "${binary}")
      file(RPATH_REMOVE FILE "${binary}") # the loader looks there anyway
      split_debug_information("${binary}" "${root}-debug")
    endif()
  endforeach()
endforeach()
