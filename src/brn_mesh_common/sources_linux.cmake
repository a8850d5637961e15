# The dump writer of Linux; elsewhere the platform brings its own.
list(APPEND public_headers ExceptionPointers_linux.h)
set(minidump_sources
    minidump/DumpFile_linux.cpp
    minidump/DumpOutput_linux.cpp
    minidump/DumpPath_linux.cpp
    minidump/DumpSession_linux.cpp
    minidump/DumpWriter_linux.cpp
    minidump/ElfBuildId_linux.cpp
    minidump/HelperProcess_linux.cpp
    minidump/MachineRecords_linux.cpp
    minidump/MemoryList_linux.cpp
    minidump/MemoryMap_linux.cpp
    minidump/ModuleList_linux.cpp
    minidump/ProcFile_linux.cpp
    minidump/RaisedLimits_linux.cpp
    minidump/SignalledThreads_linux.cpp
    minidump/ThreadPlace_linux.cpp
    minidump/AtomicFile_linux.cpp
    minidump/TracedThreads_linux.cpp
)
target_sources(brn_mesh_common PRIVATE WinUtil_linux.cpp ${minidump_sources})
# ThreadSanitizer does not know processes that share memory.
if(BRN_SANITIZER MATCHES "thread")
  set_source_files_properties(${minidump_sources} PROPERTIES COMPILE_OPTIONS -fno-sanitize=thread)
endif()
# Nothing is left to be resolved while the process dies.
target_link_options(brn_mesh_common PRIVATE LINKER:-z,now)
