# Variant values, trees of them, and their JSON text.
ql_package(U HEADERS headers INSTALL U_Any.h U_AnyTree.h U_ColorRGBA.h PRIVATE indep SOURCES
  indep/U_Any.cpp indep/U_AnyJSON.cpp indep/U_AnyTree.cpp indep/U_AnyTree_Errors.cpp indep/U_AnyTree_Read.cpp
  indep/U_AnyTree_Shapes.cpp indep/U_AnyTree_Write.cpp)

ql_tests(U_values_tests SOURCES
  tests/ValuesGuide_test.cpp tests/U_AnyJSON_test.cpp tests/U_AnyTree_test.cpp tests/U_Any_test.cpp
  ${PROJECT_SOURCE_DIR}/fuzz/json_round_trip.cpp
  LIBS ql_test_support)
