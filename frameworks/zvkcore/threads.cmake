ql_package(zvkcore_threads HEADERS headers
  INSTALL zvkcore/threads/Executors.h zvkcore/threads/Gate.h zvkcore/threads/PerThreadData.h
          zvkcore/threads/RecursiveMutex.h zvkcore/threads/ThreadID.h zvkcore/threads/ThreadSafeMap.h
  SOURCES source/threads/Executors.cpp source/threads/Gate.cpp source/threads/RecursiveMutex.cpp
          source/threads/ThreadID.cpp source/threads/WaitWord.cpp)
ql_tests(zvkcore_threads_tests
  SOURCES tests/threads/Executors_test.cpp tests/threads/Locks_test.cpp tests/threads/PerThread_test.cpp)
