# Memory: the allocation front door, limits and purging, figures of the system, hogs.
ql_package(U_memory HEADERS headers INSTALL U_Memory.h PRIVATE indep
  SOURCES
    indep/U_Hogs.cpp
    indep/U_Memory_Amount.cpp
    indep/U_Memory_AsyncPurge.cpp
    indep/U_Memory_External.cpp
    indep/U_Memory_Figures.cpp
    indep/U_Memory_Front.cpp
    indep/U_Memory_Life.cpp
    indep/U_Memory_Limits.cpp
    indep/U_Memory_Preview.cpp
    indep/U_Memory_Purge.cpp
    indep/U_Memory_Recycled.cpp
    indep/U_Memory_Report.cpp
    indep/U_Memory_Shared.cpp
    indep/U_Memory_Usage.cpp
    indep/U_TraceLine.cpp
    linux/Up_MemoryProbe_Linux.cpp)
# A small allocation is too short for a detour by the procedure linkage table on its way to the C library.
set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/indep/U_Memory_Front.cpp"
  TARGET_DIRECTORY qlfoundation_objects PROPERTIES COMPILE_OPTIONS "-fno-plt")

ql_tests(U_memory_tests
  SOURCES
    tests/MemoryGuide_test.cpp
    tests/U_Hogs_test.cpp
    tests/U_Memory_Amount_test.cpp
    tests/U_Memory_Faults_test.cpp
    tests/U_Memory_Figures_test.cpp
    tests/U_Memory_Front_test.cpp
    tests/U_Memory_Purge_test.cpp
    tests/U_Memory_Shared_test.cpp
  LIBS ql_test_support)
