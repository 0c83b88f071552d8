# The frame of the services, the model of spans and its text.
ql_package(SegMatServices HEADERS headers INSTALL SegMatServices.h SMS_SpanManager.h
  PRIVATE indep
  SOURCES
    indep/SMS_Interfaces.cpp)
