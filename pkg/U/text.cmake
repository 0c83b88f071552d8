# Multibyte strings, conversions, templates and numbers as text.
ql_package(U HEADERS headers INSTALL U_String.h U_SubString.h PRIVATE indep)
