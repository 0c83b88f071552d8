ql_package(zvkcore_console HEADERS headers INSTALL zvkcore/console/ConsoleLogFile.h
  SOURCES source/console/ConsoleLogFile.cpp)
