# What tools/crash-readers.sh installs. Without it the other readers have to do.
set(cache_directory "$ENV{HOME}/.cache")
if(DEFINED ENV{XDG_CACHE_HOME})
  set(cache_directory "$ENV{XDG_CACHE_HOME}")
endif()
set(BRN_MINIDUMP_STACKWALK
    "${cache_directory}/brn_mesh_kernel/crash-readers/node_modules/minidump/bin/linux-x64/minidump_stackwalk"
    CACHE FILEPATH "A third reader of the dumps"
)

# brn_crash_test(<name> SOURCES ...): starts crash_child and reads what it leaves.
function(brn_crash_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES")
  add_executable(${name} ${arg_SOURCES})
  brn_target_defaults(${name})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_compile_definitions(
    ${name}
    PRIVATE BRN_CRASH_CHILD="$<TARGET_FILE:crash_child>"
            BRN_CRASH_CHILD_INSIDE="$<TARGET_FILE:crash_child_inside>" BRN_LLDB="${BRN_LLDB}" BRN_OBJ2YAML="${BRN_OBJ2YAML}"
            BRN_CRASH_SCENARIOS="${CMAKE_CURRENT_SOURCE_DIR}/scenarios.txt"
            BRN_MINIDUMP_STACKWALK="${BRN_MINIDUMP_STACKWALK}" BRN_SANITIZER_NAME="${BRN_SANITIZER}"
  )
  target_link_libraries(
    ${name} PRIVATE Brennic::brn_mesh_common Qt${QT_VERSION_MAJOR}::Core Boost::headers GTest::gmock GTest::gtest_main Threads::Threads
  )
  add_dependencies(${name} crash_child crash_child_inside)
  brn_discover_tests(${name})
endfunction()

brn_crash_test(
  crash_test
  SOURCES CrashFilesTest.cpp
          CrashHandlersTest.cpp
          CrashInsideTest.cpp
          CrashPlacesTest.cpp
          CrashScenarioTest.cpp
          CrashSituationsTest.cpp
          CrashUnderDebuggerTest.cpp
          support/ChildProcess.cpp
          support/TimeLimits.cpp
          support/CrashFixture.cpp
          support/DumpReaders.cpp
          support/Minidump.cpp
)
brn_crash_test(
  dump_test
  SOURCES DumpMiniDumpTest.cpp DumpStackwalkTest.cpp support/DumpReaders.cpp support/Minidump.cpp
)
if(NOT BRN_SANITIZER) # which brings a heap of its own
  brn_crash_test(dump_allocation_test SOURCES DumpAllocationTest.cpp)
endif()
brn_crash_test(crash_stack_test SOURCES CrashStackTest.cpp)
target_link_libraries(crash_stack_test PRIVATE Brennic::brn_mesh_kernel)
