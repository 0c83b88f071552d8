# Hulls, convexity, areas and clipping of polygons.
ql_package(M_polygon HEADERS headers INSTALL M_Polygon.h
  PRIVATE indep
  SOURCES indep/M_Hull.cpp indep/M_Polygon.cpp)

ql_tests(M_polygon_tests SOURCES tests/M_Polygon_test.cpp LIBS ql_test_support)
