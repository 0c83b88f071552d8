# Localised text, numbered messages, the library's error texts.
ql_package(U
  HEADERS headers
  INSTALL U_ZString.h U_LStr.h
  PRIVATE indep
  SOURCES indep/U_ZString.cpp indep/U_LStr.cpp indep/Up_ErrText.cpp)

ql_tests(U_dictionary_tests
  SOURCES tests/U_ZString_test.cpp tests/U_LStr_test.cpp tests/Up_ErrText_test.cpp
  LIBS ql_test_support)
