ql_package(zvkcore_string HEADERS headers
  INSTALL zvkcore/string/UTFString.h zvkcore/string/NumberLocale.h)
