// What the tests of error states, deferral and posted errors share.
#ifndef ERRORS_TEST_H
#define ERRORS_TEST_H

#include <string>
#include <thread>
#include <vector>

#include "QLTest.h"
#include "U_ErrState.h"
#include "zvkcore/debug/Assert.h"

namespace errorstest {

using qltest::Text;
using qltest::Text16;
using Texts = std::vector<std::string>;

template <class Body>
void OnWorker(Body body)
{
    std::thread(body).join();
}

// The library with its debugging assertions recorded.
class Errors : public qltest::Library {
  protected:
    void SetUp() override
    {
        m_former = zvkcore::debug::SetSimpleAssertHandler(
            [this](const char*, int line, const char*, const char*, const char* message) {
                assertions.push_back(std::to_string(line) + " " + message);
                return false;
            });
        Library::SetUp();
    }

    void TearDown() override
    {
        Library::TearDown();
        zvkcore::debug::SetSimpleAssertHandler(m_former);
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

    Texts assertions;

  private:
    zvkcore::debug::SimpleAssertHandler m_former;
};

}  // namespace errorstest

#endif
