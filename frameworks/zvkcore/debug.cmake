# GCC ships libbacktrace, header and archive, in its own folder, where other compilers do not look.
file(GLOB QL_GCC_FOLDERS LIST_DIRECTORIES true "/usr/lib/gcc/*/*")
find_file(QL_BACKTRACE_HEADER backtrace.h PATHS ${QL_GCC_FOLDERS} PATH_SUFFIXES include REQUIRED)
find_library(QL_BACKTRACE_LIBRARY libbacktrace.a PATHS ${QL_GCC_FOLDERS} REQUIRED)
mark_as_advanced(QL_BACKTRACE_HEADER QL_BACKTRACE_LIBRARY)

ql_package(zvkcore_debug HEADERS headers
  INSTALL zvkcore/debug/Assert.h zvkcore/debug/CodeProfiler.h zvkcore/debug/DeadLockDetector.h
          zvkcore/debug/DebugDatabase.h zvkcore/debug/StackTrace.h zvkcore/debug/Trace.h
          zvkcore/debug/Trailmark.h
  SOURCES source/debug/Assert.cpp source/debug/CodeProfiler.cpp source/debug/DeadLockDetector.cpp
          source/debug/DebugDatabase.cpp source/debug/FunctionNames.cpp source/debug/StackTrace.cpp
          source/debug/Trace.cpp source/debug/Trailmark.cpp
  LIBS "${QL_BACKTRACE_LIBRARY}")
set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/source/debug/FunctionNames.cpp"
  TARGET_DIRECTORY qlfoundation_objects
  PROPERTIES COMPILE_DEFINITIONS "QL_BACKTRACE_HEADER=\"${QL_BACKTRACE_HEADER}\"")
# The archive is an inner matter: none of its functions is to be seen from outside.
target_link_options(qlfoundation PRIVATE "LINKER:--exclude-libs,libbacktrace.a")
ql_tests(zvkcore_debug_tests
  SOURCES tests/debug/DeadLockDetector_test.cpp tests/debug/Services_test.cpp tests/debug/StackTrace_test.cpp
          tests/debug/Trace_test.cpp)
