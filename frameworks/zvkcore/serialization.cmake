# JSON string tokens.
ql_package(zvkcore_serialization HEADERS headers INSTALL zvkcore/serialization/JSON.h
  SOURCES source/serialization/JSON.cpp)
