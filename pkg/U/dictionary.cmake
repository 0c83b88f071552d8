# Localised text, numbered messages, the library's error texts.
ql_package(U
  HEADERS headers
  INSTALL U_ZString.h U_LStr.h
  PRIVATE indep
  SOURCES indep/U_ZString.cpp indep/U_LStr.cpp indep/Up_ErrText.cpp)
