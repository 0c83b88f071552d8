ql_package(zvkcore_utility HEADERS headers
  INSTALL zvkcore/utility/ImmutableString.h zvkcore/utility/Guid.h zvkcore/utility/Clock.h
          zvkcore/utility/System.h)
