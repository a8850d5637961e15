# The parts of the crash filter that only Linux has.
target_sources(
  brn_mesh_kernel_objects
  PRIVATE
    diagnostics/CrashReportThread_linux.cpp
    diagnostics/CrashSignals_linux.cpp
    diagnostics/CrashSteps_linux.cpp
    diagnostics/ReportFile_linux.cpp
    diagnostics/StepTimer_linux.cpp
    # What the reports share with the dumps, and nobody else is to call.
    "${PROJECT_SOURCE_DIR}/src/brn_mesh_common/minidump/RaisedLimits_linux.cpp"
    "${PROJECT_SOURCE_DIR}/src/brn_mesh_common/minidump/AtomicFile_linux.cpp"
)
target_link_libraries(brn_mesh_kernel_objects PRIVATE ${CMAKE_DL_LIBS})
# Nothing is left to be resolved while the process dies.
target_link_options(brn_mesh_kernel_objects INTERFACE LINKER:-z,now)
