ql_package(zvkcore_console HEADERS headers INSTALL zvkcore/console/ConsoleLogFile.h)
