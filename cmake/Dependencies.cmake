# What the libraries themselves need. Tests, benchmarks and examples find their own.
if(BRN_SANITIZER MATCHES thread)
  # An ordinary QtCore keeps its locks from ThreadSanitizer, which then reports races that are none.
  execute_process(
    COMMAND "${PROJECT_SOURCE_DIR}/tools/qtcore-tsan.sh" --print
    OUTPUT_VARIABLE qtcore_tsan_prefix
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
  )
  if(NOT EXISTS "${qtcore_tsan_prefix}/.complete")
    message(FATAL_ERROR "ThreadSanitizer needs a QtCore of its own: run tools/qtcore-tsan.sh first")
  endif()
  list(PREPEND CMAKE_PREFIX_PATH "${qtcore_tsan_prefix}")
endif()
if(BRN_QT_MAJOR_VERSION)
  set(brn_qt_names Qt${BRN_QT_MAJOR_VERSION})
else()
  set(brn_qt_names Qt6 Qt5)
endif()
if(BRN_QT_MAJOR_VERSION EQUAL 5)
  set(BRN_QT_PACKAGE qtbase5-dev)
else()
  set(BRN_QT_PACKAGE qt6-base-dev)
endif()
brn_need_package(${BRN_QT_PACKAGE} QT NAMES ${brn_qt_names} COMPONENTS Core)
brn_need_package(${BRN_QT_PACKAGE} Qt${QT_VERSION_MAJOR} 5.15 COMPONENTS Core)
brn_need_package(liblog4cplus-dev log4cplus 2.0)
brn_need_package(libtbb-dev TBB)
brn_need_package(libboost-dev Boost 1.74)
brn_need_package(libfmt-dev fmt)
find_package(Threads REQUIRED)

# log4cplus names its target by its characters: narrow on Debian, wide on Windows.
add_library(Brennic::log4cplus INTERFACE IMPORTED)
if(TARGET log4cplus::log4cplusU)
  set(BRN_LOG4CPLUS_TARGET log4cplus::log4cplusU)
else()
  set(BRN_LOG4CPLUS_TARGET log4cplus::log4cplus)
endif()
target_link_libraries(Brennic::log4cplus INTERFACE ${BRN_LOG4CPLUS_TARGET})
