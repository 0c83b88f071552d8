// The examples of docs/guides/errors.md, compiled and run.
#include "ErrorsTest.h"
#include "U_Telemetry.h"

namespace {

using namespace errorstest;

class ErrorsGuide : public Errors {
  protected:
    static U_UTF16String Text(const char* text) { return Text16(text); }
    static bool Import(const char* path)
    {
        U_ReportError(0, U_Sev_WARNING, Text("cannot open ") + Text(path));
        return false;
    }
    static constexpr const char* paths[] = {"take_1.exr", "take_2.exr"};
};

TEST_F(ErrorsGuide, TryQuietly)
{
    U_StartQuietErrorsOnCurrentThread(1);  // 1: still write the log
    const bool found = Import(paths[0]);
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_FALSE(found);
    EXPECT_EQ(Reports().size(), 1u);
    EXPECT_TRUE(Dialogs().empty());
}

TEST_F(ErrorsGuide, ReportAStretchOfWorkOnce)
{
    U_DeferredReportingState deferred;
    U_DeferredReportingStart(0, &deferred);  // 0: hold back the dialogs and the log
    const bool loaded = Import(paths[0]) && Import(paths[1]);
    U_DeferredReportingEnd(!loaded, "the project could not be loaded", &deferred);
    EXPECT_EQ(TakeShown(), Texts{"QLTest warning: cannot open take_1.exr"});
}

TEST_F(ErrorsGuide, GatherTheFailuresOfAJob)
{
    const U_UTF16String title = Text("Importing layers");
    {
        const U_ScErrorDialogAggregation gather{title, title};  // for problems, for warnings
        for (const auto& path : paths) Import(path);            // reports as usual
    }
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(), Texts{"Importing layers\r\r1)   QLTest warning: cannot open take_1.exr"
                                 "\r\r2)   QLTest warning: cannot open take_2.exr"});
}

TEST_F(ErrorsGuide, GatherErrorsOfOneKind)
{
    const U_UTF16String group = U_FormUniqueGroupErrorMessageIdentifier(
        Text("Some files are missing."), Text("@0 missing files:"), Text("A file is missing."));
    for (const auto& path : paths) {
        U_ReportError(0x120001, U_Sev_WARNING, U_GroupErrorMessage(Text(path), group));
    }
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(),
              Texts{"Some files are missing.\r\r2 missing files:\r\r1)   take_1.exr\r\r2)   take_2.exr"});
}

}  // namespace
