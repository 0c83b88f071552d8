ql_package(zvkcore_utility HEADERS headers
  INSTALL zvkcore/utility/ImmutableString.h zvkcore/utility/Guid.h zvkcore/utility/Clock.h
          zvkcore/utility/Dictionary.h zvkcore/utility/ScAutoreleasePool.h
          zvkcore/utility/System.h zvkcore/utility/BinaryText.h
  SOURCES source/utility/BinaryText.cpp source/utility/Clock.cpp source/utility/Dictionary.cpp
          source/utility/Guid.cpp source/utility/ImmutableString.cpp source/utility/ScAutoreleasePool.cpp
          source/utility/System.cpp)
ql_tests(zvkcore_services_tests SOURCES tests/BinaryText_test.cpp tests/Services_test.cpp)
