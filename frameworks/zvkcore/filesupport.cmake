ql_package(zvkcore_filesupport HEADERS headers
  INSTALL zvkcore/filesupport/ByteStream.h zvkcore/filesupport/ZipByteStream.h
  SOURCES source/filesupport/ByteStream.cpp source/filesupport/ZipByteStream.cpp
  LIBS PkgConfig::DEFLATE)
ql_tests(zvkcore_filesupport_tests SOURCES tests/FileSupport_test.cpp)
