// What the tests of reports, error states, deferral and posted errors share.
#ifndef ERRORS_TEST_H
#define ERRORS_TEST_H

#include <mutex>
#include <string>
#include <vector>

#include "Contend.h"
#include "QLTest.h"
#include "U_ErrState.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Assert.h"
#include "zvkcore/debug/Trace.h"

namespace errorstest {

using qltest::Text;
using qltest::Text16;
using zvktest::Contend;
using zvktest::OnAnotherThread;
using Texts = std::vector<std::string>;

// The log asks once in a process, at the first birth, whether there is a log file.
inline const bool g_hasLogFile = zvkcore::console::ConsoleLogFile::GetInstance()->Open(
    (testing::TempDir() + "ErrorsTest.log").c_str(), false);

// The library with its log lines and debugging assertions recorded.
class Errors : public qltest::Library {
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(g_hasLogFile);
        Library::SetUp();
        m_formerSink =
            zvkcore::debug::SetTraceSink([this](int, std::string_view channel, std::string_view text) {
                const std::lock_guard lock(m_guard);
                if (channel == "ALOG") log.emplace_back(text);
            });
        m_formerHandler = zvkcore::debug::SetSimpleAssertHandler(
            [this](const char*, int line, const char*, const char*, const char* message) {
                const std::lock_guard lock(m_guard);
                assertions.push_back(std::to_string(line) + " " + message);
                return false;
            });
    }

    void TearDown() override
    {
        Library::TearDown();
        zvkcore::debug::SetSimpleAssertHandler(m_formerHandler);
        zvkcore::debug::SetTraceSink(m_formerSink);
    }

    void Forget()
    {
        Library::Forget();
        log.clear();
        assertions.clear();
    }

    static int CountedErrors()
    {
        int errors = -1;
        U_GetHowManyErrors(&errors);
        return errors;
    }

    // The texts of the dialogs since the last call, without the blank lines around them.
    Texts TakeShown()
    {
        Texts texts;
        for (const auto& dialog : Dialogs()) {
            const size_t from = dialog.text.find_first_not_of('\n');
            texts.push_back(dialog.text.substr(from, dialog.text.find_last_not_of('\n') + 1 - from));
        }
        Dialogs().clear();
        return texts;
    }

    Texts log;
    Texts assertions;

  private:
    std::mutex m_guard;  // of both, while threads report
    zvkcore::debug::TraceSink m_formerSink;
    zvkcore::debug::SimpleAssertHandler m_formerHandler;
};

}  // namespace errorstest

#endif
