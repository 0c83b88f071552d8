# Error states of a thread, posted and grouped errors, telemetry.
ql_package(U HEADERS headers INSTALL U_ErrState.h U_Telemetry.h PRIVATE indep
  SOURCES indep/U_ErrState.cpp indep/U_Deferred.cpp indep/U_Posted.cpp indep/U_ErrorGroups.cpp
          indep/U_Telemetry.cpp)
