# brn_target_defaults(<target>): language level, visibility, warnings and sanitizers, the same for every
# target of this tree and for nobody else.
function(brn_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON
  )
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE _WIN32_WINNT=0x0A00)
    if(TARGET brn_runtime_dlls) # without which a program that was built alone does not start
      add_dependencies(${target} brn_runtime_dlls)
    endif()
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(
      ${target}
      PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wold-style-cast
              -Woverloaded-virtual $<$<BOOL:${BRN_WARNINGS_AS_ERRORS}>:-Werror>
    )
    if(BRN_SANITIZER)
      # GCC sees uninitialized variables in its own instrumentation.
      target_compile_options(
        ${target} PRIVATE -fsanitize=${BRN_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer
                          $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
      )
      target_link_options(${target} PRIVATE -fsanitize=${BRN_SANITIZER})
    endif()
  endif()
endfunction()

# The suffix of the source files that belong to the platform: Thing_linux.cpp, Thing_win.cpp.
if(WIN32)
  set(BRN_PLATFORM_SUFFIX win)
else()
  set(BRN_PLATFORM_SUFFIX linux)
endif()
