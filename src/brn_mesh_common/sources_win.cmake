# What only Windows has: the version texts in files, and a writer of dumps that the system brings.
target_sources(
  brn_mesh_common PRIVATE minidump/DumpPath_win.cpp minidump/DumpThread_win.cpp minidump/AtomicFile_win.cpp
)
target_link_libraries(brn_mesh_common PRIVATE ntdll version)
