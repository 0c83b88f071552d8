# The frame of the services, the model of spans and its text.
ql_package(SegMatServices HEADERS headers INSTALL SegMatServices.h SMS_SpanManager.h
  PRIVATE indep
  SOURCES
    indep/SegMatServices.cpp
    indep/SMS_CacheIndex.cpp
    indep/SMS_Factory.cpp
    indep/SMS_Interfaces.cpp
    indep/SMS_SpanManager.cpp
    indep/SMS_SpanObjects.cpp
    indep/SMS_SpanText.cpp)
ql_tests(SegMatServices_tests SOURCES tests/SegMatServices_test.cpp tests/SMS_SpanManager_test.cpp
                                      tests/SMS_SpanText_test.cpp tests/SegmentationGuide_test.cpp LIBS ql_test_support)

# The same types seen from both sides of a shared object's boundary.
if(QL_BUILD_TESTS)
  add_library(SegMatServices_boundary_plugin MODULE tests/BoundaryPlugin.cpp)
  set_target_properties(SegMatServices_boundary_plugin PROPERTIES CXX_VISIBILITY_PRESET hidden)
  target_link_libraries(SegMatServices_boundary_plugin PRIVATE ql_private_flags qlfoundation)
  ql_tests(SegMatServices_boundary_tests SHARED SOURCES tests/Boundary_test.cpp LIBS ${CMAKE_DL_LIBS})
  target_compile_definitions(SegMatServices_boundary_tests
    PRIVATE "BOUNDARY_PLUGIN=\"$<TARGET_FILE:SegMatServices_boundary_plugin>\"")
  add_dependencies(SegMatServices_boundary_tests SegMatServices_boundary_plugin)
endif()
