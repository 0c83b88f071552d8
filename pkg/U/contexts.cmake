# Activities and renders: their contexts, lending them, the big mutex, the order of locks.
ql_package(U_contexts HEADERS headers
  INSTALL U_Context.h U_RenderContext.h U_SuspendContext.h U_BigMutex.h U_DeadLock.h
  PRIVATE indep
  SOURCES
    indep/U_Context.cpp
    indep/U_RenderContext.cpp
    indep/U_SuspendContext.cpp
    indep/U_KeyEvents.cpp
    indep/U_BigMutex.cpp
    indep/U_DeadLock.cpp
    mac-linux-ios-android/U_TerminalKeys.cpp)
ql_tests(U_contexts_tests
  SOURCES
    tests/ContextsGuide_test.cpp
    tests/U_Context_test.cpp
    tests/U_SuspendContext_test.cpp
    tests/U_BigMutex_test.cpp
    tests/U_TerminalKeys_test.cpp
  LIBS ql_test_support)
