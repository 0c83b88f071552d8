ql_package(zvkcore_threads HEADERS headers
  INSTALL zvkcore/threads/Executors.h zvkcore/threads/Gate.h zvkcore/threads/PerThreadData.h
          zvkcore/threads/RecursiveMutex.h zvkcore/threads/ThreadID.h zvkcore/threads/ThreadSafeMap.h)
