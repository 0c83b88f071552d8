ql_package(zvkcore_config HEADERS headers
  INSTALL zvkcore/config/Config.h zvkcore/config/UsageLogger.h
  SOURCES source/config/Config.cpp source/config/UsageLogger.cpp)
