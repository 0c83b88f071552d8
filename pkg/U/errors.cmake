# Error states of a thread, posted and grouped errors, telemetry.
ql_package(U HEADERS headers INSTALL U_ErrState.h U_Telemetry.h PRIVATE indep)
