# Memory: the allocation front door, limits and purging, figures of the system, hogs.
ql_package(U_memory HEADERS headers INSTALL U_Memory.h PRIVATE indep linux)
