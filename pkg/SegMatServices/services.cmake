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
ql_tests(SegMatServices_tests
  SOURCES tests/SegMatServices_test.cpp tests/SMS_SpanManager_test.cpp tests/SMS_SpanText_test.cpp
          tests/SMS_Freezing_test.cpp tests/SMS_Pixels_test.cpp tests/SMS_SpanRender_test.cpp
          tests/SegmentationGuide_test.cpp
  LIBS ql_test_support)
