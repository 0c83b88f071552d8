# Birth and death, thread roles, the road of a report.
ql_package(U HEADERS headers INSTALL U.h U_Err.h PRIVATE indep)
