ql_package(zvkcore_debug HEADERS headers
  INSTALL zvkcore/debug/Assert.h zvkcore/debug/CodeProfiler.h zvkcore/debug/DeadLockDetector.h
          zvkcore/debug/DebugDatabase.h zvkcore/debug/StackTrace.h zvkcore/debug/Trace.h
          zvkcore/debug/Trailmark.h)
