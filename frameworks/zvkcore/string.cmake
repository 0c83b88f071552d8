ql_package(zvkcore_string HEADERS headers
  INSTALL zvkcore/string/UTFString.h zvkcore/string/Convert.h zvkcore/string/NumberLocale.h
  SOURCES source/string/Convert.cpp source/string/Format.cpp source/string/NumberLocale.cpp source/string/Scan.cpp
          source/string/Truncate.cpp)
ql_tests(zvkcore_string_tests SOURCES tests/String_test.cpp)

# Strings are filled by loops of the standard library over single units, which GCC turns into vector code only when told.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/source/string/Convert.cpp"
    TARGET_DIRECTORY qlfoundation_objects
    PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-ftree-vectorize;-fvect-cost-model=dynamic>")
endif()
