# The parts of the crash filter that only Windows has.
target_sources(
  brn_mesh_kernel_objects
  PRIVATE
    diagnostics/CrashSteps_win.cpp
    diagnostics/CrashThread_win.cpp
    diagnostics/ReportFile_win.cpp
    # What the reports share with the dumps, and nobody else is to call.
    "${PROJECT_SOURCE_DIR}/src/brn_mesh_common/minidump/DumpPath_win.cpp"
    "${PROJECT_SOURCE_DIR}/src/brn_mesh_common/minidump/AtomicFile_win.cpp"
)
target_link_libraries(brn_mesh_kernel_objects PRIVATE ntdll)
