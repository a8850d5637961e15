# The parts of the crash filter that only Windows has.
target_sources(brn_mesh_kernel_objects PRIVATE diagnostics/CrashSteps_win.cpp diagnostics/CrashThread_win.cpp)
target_link_libraries(brn_mesh_kernel_objects PRIVATE ntdll)
