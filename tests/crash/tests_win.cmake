# Started under Wine by a script, which reads with the readers of the machine that builds what each leaves.

# brn_crash_scenario(<name> ARGUMENTS ... EXPECT ...): see RunScenario.cmake.
function(brn_crash_scenario name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PROGRAM" "ARGUMENTS;EXPECT")
  if(NOT arg_PROGRAM)
    set(arg_PROGRAM crash_child)
  endif()
  list(TRANSFORM arg_EXPECT PREPEND -D OUTPUT_VARIABLE definitions)
  add_test(
    NAME ${name}
    COMMAND
      "${CMAKE_COMMAND}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" "-DPROGRAM=$<TARGET_FILE:${arg_PROGRAM}>"
      "-DLLDB=${BRN_LLDB}" "-DOBJ2YAML=${BRN_OBJ2YAML}" "-DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/scenarios/${name}"
      "-DARGUMENTS=${arg_ARGUMENTS}" ${definitions} -P "${CMAKE_CURRENT_SOURCE_DIR}/RunScenario.cmake"
  )
  set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

add_executable(dump_test DumpMiniDumpTest_win.cpp)
brn_target_defaults(dump_test)
target_include_directories(dump_test PRIVATE "${PROJECT_SOURCE_DIR}/tests")
target_link_libraries(dump_test PRIVATE Brennic::brn_mesh_common Boost::headers GTest::gmock GTest::gtest_main)
brn_discover_tests(dump_test)

add_executable(crash_stack_test CrashStackTest_win.cpp)
brn_target_defaults(crash_stack_test)
target_link_libraries(crash_stack_test PRIVATE Brennic::brn_mesh_kernel GTest::gtest_main)
brn_discover_tests(crash_stack_test)

set(access_violation 0xc0000005)
set(fatal_exit 0x40000015)

# brn_crash_kind(<kind> <exit code> <exception's code> <function> [ARGUMENTS ...])
function(brn_crash_kind kind exit code function)
  brn_crash_scenario(
    CrashKind.${kind}
    ARGUMENTS ${kind} ${ARGN}
    EXPECT EXIT=${exit} CODE=${code} FUNCTION=${function}
  )
endfunction()

brn_crash_kind(null-write 5 ${access_violation} crashByNullWrite)
brn_crash_kind(jump-to-null 5 ${access_violation} crashByJumpToNull)
brn_crash_kind(execute-data 5 ${access_violation} "") # lldb does not find the way from code that no module has
brn_crash_kind(division 148 0xc0000094 crashByDivision)
brn_crash_kind(illegal-instruction 29 0xc000001d crashByIllegalInstruction)
brn_crash_kind(trap 3 0x80000003 crashByTrap)
brn_crash_kind(raised-exception 1 0xe0000001 crashByRaisedException)
brn_crash_kind(stack-overflow 253 0xc00000fd crashByRecursion)
brn_crash_kind(abort 3 ${fatal_exit} crashByAbort)
brn_crash_kind(terminate 3 ${fatal_exit} crashByTerminate)
brn_crash_kind(throw 3 ${fatal_exit} crashByException)
# This compiler leaves the table's entry of a pure function null where the run-time library is a DLL.
brn_crash_kind(pure-virtual 5 ${access_violation} crashByPureVirtualCall)
# Of the C library that other compilers use.
brn_crash_kind(others-abort 3 ${fatal_exit} crashByOthersAbort before=other-c-library)
brn_crash_kind(pure-call 3 ${fatal_exit} crashByPureCall before=other-c-library)
brn_crash_kind(invalid-parameter 23 0xc0000417 crashByInvalidParameter before=other-c-library)
brn_crash_scenario(
  CrashKind.heap-free-list
  ARGUMENTS heap-free-list
  EXPECT EXIT=5 CODE=${access_violation} FUNCTION=crashInHeapByFreeList REPORT=none
)
brn_crash_scenario(CrashKind.anExceptionThatIsCaughtIsNone ARGUMENTS caught-exception EXPECT EXIT=94 DUMP=none REPORT=none)

# brn_null_write(<name> [ARGUMENTS ...] [EXPECT ...])
function(brn_null_write name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ARGUMENTS;EXPECT")
  brn_crash_scenario(
    ${name}
    ARGUMENTS null-write ${arg_ARGUMENTS}
    EXPECT CODE=${access_violation} FUNCTION=crashByNullWrite ${arg_EXPECT}
  )
endfunction()

brn_crash_scenario(
  CrashPlace.anUncaughtExceptionOnAThreadOfTheHostIsNamed
  ARGUMENTS throw in=thread
  EXPECT EXIT=3 CODE=${fatal_exit} FUNCTION=crashByException
)
brn_crash_scenario(
  CrashPlace.anUncaughtExceptionOnAWorkerIsNamed
  ARGUMENTS throw in=worker
  EXPECT EXIT=3 CODE=${fatal_exit} FUNCTION=crashByException
)
brn_crash_scenario(
  CrashPlace.anUncaughtExceptionOnAWorkerIsNamedThoughLocalsWouldBeDestroyed
  ARGUMENTS throw-past-locals in=worker
  EXPECT EXIT=3 CODE=${fatal_exit} FUNCTION=crashByException
)
foreach(place IN ITEMS worker thread guarded-thread)
  brn_crash_scenario(
    CrashPlace.aStackOverflowIsCaughtOn_${place}
    ARGUMENTS stack-overflow in=${place}
    EXPECT EXIT=253 CODE=0xc00000fd FUNCTION=crashByRecursion
  )
endforeach()
brn_crash_scenario(
  CrashPlace.theHandlerHasRoomAfterAStackOverflow
  ARGUMENTS stack-overflow handler=allocate
  EXPECT EXIT=1 CODE=0xc00000fd FUNCTION=crashByRecursion HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashPlace.ofEightThreadsThatCrashAtOnceOneIsHandled ARGUMENTS in=eight-threads handler=true
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
)
brn_crash_scenario(
  CrashPlace.ofEightThreadsThatCrashAtOnceTheProcessEndsAsByOne
  ARGUMENTS abort in=eight-threads
  EXPECT EXIT=3 CODE=${fatal_exit} FUNCTION=crashByAbort
)
brn_null_write(CrashPlace.aCrashAfterTerminateIsCaught ARGUMENTS in=after-terminate EXPECT EXIT=5)
brn_null_write(CrashPlace.aCrashDuringExitIsCaught ARGUMENTS in=exit EXPECT EXIT=5)

foreach(answer IN ITEMS true false)
  brn_null_write(
    CrashHandler.thatReturns_${answer}_isFollowedByExitCodeOne ARGUMENTS handler=${answer}
    EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
  )
endforeach()
foreach(reaction IN ITEMS segfault abort throw)
  brn_null_write(
    CrashHandler.thatEndsBy_${reaction}_EndsTheProcessAllTheSame ARGUMENTS handler=${reaction}
    EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
  )
endforeach()
brn_crash_scenario(
  CrashHandler.thatAbortsInAnAbortEndsTheProcessAllTheSame
  ARGUMENTS abort handler=abort
  EXPECT EXIT=1 CODE=${fatal_exit} FUNCTION=crashByAbort HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashHandler.mayWaitAsLongAsItLikes ARGUMENTS handler=wait
  EXPECT TIME=25 "EXIT=Process terminated due to timeout" HANDLER=host\\crash_child.dmp
)
brn_crash_scenario(
  CrashHandler.thatCrashesInABrokenHeapEndsTheProcessAllTheSame
  ARGUMENTS heap-free-list handler=allocate
  EXPECT EXIT=1 CODE=${access_violation} FUNCTION=crashInHeapByFreeList REPORT=none HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashHandler.findsReportAndDumpFinished ARGUMENTS handler=check-files
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp NOTE=found "FOUND=dump and report"
)
brn_null_write(
  CrashHandler.mayAllocateAfterAnOrdinaryCrash ARGUMENTS handler=allocate
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashHandler.mayReplaceItself ARGUMENTS handler=change-settings
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
)

brn_null_write(
  CrashFiles.withoutALogPathAreBareNamesInTheWorkingDirectory ARGUMENTS log=none handler=true
  EXPECT EXIT=1 DUMP=crash_child.dmp REPORT=none HANDLER=crash_child.dmp
)
brn_null_write(
  CrashFiles.followALogPathThatIsSetAndInitialisedAnew ARGUMENTS log=re-pointed handler=true
  EXPECT EXIT=1 DUMP=host/other/crash_child.dmp REPORT=none HANDLER=host\\other\\crash_child.dmp
)
brn_null_write(
  CrashFiles.ofTwoKernelsAreTheFirstOnesIfTheSecondHasNoLogPath ARGUMENTS log=two-kernels EXPECT EXIT=5
)
brn_null_write(
  CrashFiles.ofTwoKernelsAreTheSecondOnesIfItHasALogPath ARGUMENTS log=two-kernels-with-paths
  EXPECT EXIT=5 DUMP=host/other/crash_child.dmp REPORT=none
)
brn_null_write(
  CrashFiles.areInADirectoryThatTheAnsiCodePageCannotName ARGUMENTS handler=true
  EXPECT EXIT=1 "HOST=Größe 模 😀" "HANDLER=Größe 模 😀\\crash_child.dmp"
)
brn_null_write(
  CrashFiles.areAmongTheTemporaryFilesIfTheDumpCannotBeWritten ARGUMENTS before=blocked-name
  EXPECT EXIT=5 DUMP=temporary
)
brn_crash_scenario(
  CrashInside.aDirectorySetAfterInitializeMeansNoReportAndADumpAmongTheTemporaryFiles
  PROGRAM crash_child_inside
  ARGUMENTS null-write
  EXPECT EXIT=1 CODE=${access_violation} FUNCTION=crashByNullWrite DUMP=temporary REPORT=none "HANDLER="
)

brn_null_write(
  CrashHandler.thatEndsItsThreadEndsTheProcessAllTheSame ARGUMENTS handler=end-thread in=thread
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashHandler.isCalledOnTheCrashingThread ARGUMENTS handler=note-thread in=thread
  EXPECT EXIT=1 HANDLER=host\\crash_child.dmp NOTE=thread "FOUND=the crashed thread"
)
brn_null_write(
  CrashSituation.aReportThatCrashesCostsNothing ARGUMENTS after=crashing-report
  EXPECT EXIT=5 REPORT=begun
)
# The report has to wait for the heap in vain, and so has the dump, whose writer is the system's.
brn_crash_scenario(
  CrashSituation.aHeapWhoseLockIsHeldCostsReportAndDumpButNotTheEnd
  ARGUMENTS heap-locked handler=true
  EXPECT EXIT=1 DUMP=none REPORT=none HANDLER=host\\crash_child.dmp
)
brn_null_write(
  CrashSituation.settingsThatChangeAllTheTimeDoNotMatter ARGUMENTS after=changing-settings EXPECT EXIT=1
)
brn_null_write(
  CrashSituation.aReportThatCannotBeWrittenCostsNothing ARGUMENTS after=blocked-report EXPECT EXIT=5 REPORT=none
)
foreach(situation IN ITEMS 64-threads 500-threads spinning-thread appender-locks-held)
  brn_null_write(CrashSituation.${situation}_doNotMatter ARGUMENTS after=${situation} EXPECT EXIT=5)
endforeach()

brn_null_write(
  CrashFiles.nameTheVersionsOfProgramAndLibrary
  EXPECT EXIT=5 "REPORT_HAS=<ProductVersion description=\"Crash child\" version=\"${PROJECT_VERSION}\"/>"
         "REPORT_HAS_TOO=<FileVersion description=\"Run-time services for programs that process meshes\" version=\"${PROJECT_VERSION}\"/>"
)
