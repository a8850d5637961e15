# Toolchain file: builds for 64-bit Windows with Debian's MinGW-w64, and runs what it has built under Wine.
# The dependencies are in BRN_WINDOWS_PREFIX, by default where tools/windows-dependencies.sh puts them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
# The variant with C++11 threads.
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

if(NOT BRN_WINDOWS_PREFIX)
  execute_process(
    COMMAND "${CMAKE_CURRENT_LIST_DIR}/../tools/windows-dependencies.sh" --print
    OUTPUT_VARIABLE BRN_WINDOWS_PREFIX
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
  )
  if(NOT EXISTS "${BRN_WINDOWS_PREFIX}/.complete")
    message(FATAL_ERROR "The dependencies are missing: run tools/windows-dependencies.sh first")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES BRN_WINDOWS_PREFIX)
set(CMAKE_FIND_ROOT_PATH "${BRN_WINDOWS_PREFIX}" /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/run-in-wine.sh")

# Qt's tools run where the build runs.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake)
set(Qt6HostInfo_DIR /usr/lib/x86_64-linux-gnu/cmake/Qt6HostInfo)
