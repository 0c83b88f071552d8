# Multibyte strings, conversions, templates and numbers as text.
ql_package(U HEADERS headers INSTALL U_String.h U_SubString.h PRIVATE indep SOURCES
  indep/U_ByteSize.cpp indep/U_CharByte.cpp indep/U_Compare.cpp indep/U_Conversions.cpp indep/U_Copies.cpp
  indep/U_Encodings.cpp indep/U_FloatSpec.cpp indep/U_NumberText.cpp indep/U_Searches.cpp indep/U_SubString.cpp
  indep/U_TextHelpers.cpp mac-linux-ios-android/U_CharLocale.cpp)
