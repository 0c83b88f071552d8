ql_package(zvkcore_string HEADERS headers
  INSTALL zvkcore/string/UTFString.h zvkcore/string/Convert.h zvkcore/string/NumberLocale.h
  SOURCES source/string/Convert.cpp source/string/Format.cpp source/string/NumberLocale.cpp source/string/Scan.cpp
          source/string/Truncate.cpp)
ql_tests(zvkcore_string_tests SOURCES tests/String_test.cpp)
