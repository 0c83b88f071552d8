# Error states of a thread, posted and grouped errors, telemetry.
ql_package(U HEADERS headers INSTALL U_ErrState.h U_Telemetry.h PRIVATE indep
  SOURCES indep/U_ErrState.cpp indep/U_Deferred.cpp indep/U_Posted.cpp indep/U_ErrorGroups.cpp
          indep/U_Telemetry.cpp)
ql_tests(U_errors_tests
  SOURCES tests/U_ErrState_test.cpp tests/U_Deferred_test.cpp tests/U_Posted_test.cpp
          tests/U_ErrorGroups_test.cpp tests/U_Telemetry_test.cpp tests/ErrorsGuide_test.cpp
  LIBS ql_test_support)
