ql_package(zvkcore_logging HEADERS headers SOURCES source/logging/LogException.cpp)
