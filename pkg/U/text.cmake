# Multibyte strings, conversions, templates and numbers as text.
ql_package(U HEADERS headers INSTALL U_String.h U_SubString.h PRIVATE indep SOURCES
  indep/U_ByteSize.cpp indep/U_CharByte.cpp indep/U_Compare.cpp indep/U_Conversions.cpp indep/U_Copies.cpp
  indep/U_Encodings.cpp indep/U_FloatSpec.cpp indep/U_NumberText.cpp indep/U_Searches.cpp indep/U_SubString.cpp
  indep/U_TextHelpers.cpp mac-linux-ios-android/U_CharLocale.cpp)
include(${CMAKE_CURRENT_LIST_DIR}/locales.cmake)

ql_tests(U_text_tests SOURCES
  tests/TextGuide_test.cpp tests/U_CharByte_test.cpp tests/U_Conversions_test.cpp tests/U_NumberText_test.cpp
  tests/U_String_test.cpp tests/U_SubString_test.cpp
  LIBS ql_test_support)
if(TARGET U_text_tests)
  target_compile_definitions(U_text_tests PRIVATE QL_LOCALE_DIR="${QL_LOCALE_DIR}")
  add_dependencies(U_text_tests ql_locales)
endif()
