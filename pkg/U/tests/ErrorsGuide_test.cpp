// The examples of docs/guides/errors.md, compiled and run.
#include "ErrorsTest.h"

namespace {

using ErrorsGuide = errorstest::Errors;
using errorstest::Texts;

U_UTF16String Text(const char* text)
{
    return errorstest::Text16(text);
}

bool Import(const char* path)
{
    U_ReportError(0, U_Sev_WARNING, Text("cannot open ") + Text(path));
    return false;
}

constexpr unsigned location = 0;
constexpr const char* paths[] = {"take_1.exr", "take_2.exr"};

TEST_F(ErrorsGuide, ExamplesShowWhatThePageSays)
{
    U_StartQuietErrorsOnCurrentThread(1);  // 1: still write the log
    const bool found = Import(paths[0]);
    U_EndQuietErrorsOnCurrentThread();

    U_DeferredReportingState deferred;
    U_DeferredReportingStart(0, &deferred);  // 0: hold back the dialogs and the log
    const bool loaded = found || Import(paths[1]);
    U_DeferredReportingEnd(!loaded, "the project could not be loaded", &deferred);

    const U_UTF16String title = Text("Importing layers");
    {
        const U_ScErrorDialogAggregation gather{title, title};  // for problems, for warnings
        for (const auto& path : paths) Import(path);            // reports as usual
    }
    U_DisplayPostedErrors();

    const U_UTF16String group = U_FormUniqueGroupErrorMessageIdentifier(
        Text("Some files are missing."), Text("@0 missing files:"), Text("A file is missing."));
    U_ReportError(location, U_Sev_WARNING, U_GroupErrorMessage(Text("take_4.exr"), group));
    U_DisplayPostedErrors();

    EXPECT_EQ(TakeShown(), (Texts{"QLTest warning: cannot open take_2.exr",
                                  "Importing layers\r\r1)   QLTest warning: cannot open take_1.exr"
                                  "\r\r2)   QLTest warning: cannot open take_2.exr",
                                  "A file is missing.\r\rtake_4.exr"}));
}

}  // namespace
