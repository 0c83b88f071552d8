# Localised text, numbered messages, the library's error texts.
ql_package(U HEADERS headers INSTALL U_ZString.h U_LStr.h PRIVATE indep)
