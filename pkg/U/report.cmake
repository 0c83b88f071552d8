# Birth and death, thread roles, the road of a report.
ql_package(U HEADERS headers INSTALL U.h U_Err.h PRIVATE indep
  SOURCES
    indep/U.cpp indep/U_Globals.cpp indep/U_Handlers.cpp indep/U_Interact.cpp indep/U_NewHandler.cpp
    indep/U_ThreadRoles.cpp indep/U_Translators.cpp
    indep/U_Assert.cpp indep/U_Err.cpp indep/U_ErrBuffer.cpp indep/U_ErrDialog.cpp indep/U_ErrFormat.cpp
    indep/U_StackCrawl.cpp
    mac-linux-ios-android/U_Beep.cpp mac-linux-ios-android/U_Signals.cpp)
ql_tests(U_report_tests
  SOURCES tests/U_test.cpp tests/U_Err_test.cpp tests/U_ErrDialog_test.cpp tests/U_Handlers_test.cpp
          tests/U_ThreadRoles_test.cpp
  LIBS ql_test_support)

# The example of the guide, as a user would build it.
if(QL_BUILD_TESTS)
  add_executable(U_reporting_host tests/ReportingHost.cpp)
  target_link_libraries(U_reporting_host PRIVATE ql_private_flags qlfoundation)
  add_test(NAME U_reporting_host COMMAND U_reporting_host)
  set_tests_properties(U_reporting_host PROPERTIES PASS_REGULAR_EXPRESSION
                       "00120003 4 Sample warning: the footage is missing")
endif()
