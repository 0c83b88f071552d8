// What the tests of contexts, lending and the big mutex share: the words of a misuse, and an active context.
#ifndef CONTEXTTEST_H
#define CONTEXTTEST_H

#include <string>

#include "QLTest.h"

class ContextTest : public qltest::Library {
  public:
    /// Runs what must be refused; gives the verification's own words, or what went wrong instead.
    template <class Body>
    std::string FailureOf(Body&& body)
    {
        Forget();
        try {
            body();
        } catch (int code) {
            if (code != U_Err_BAD_PARAMETER) return "threw " + std::to_string(code);
            if (Reports().size() != 1) return std::to_string(Reports().size()) + " reports";
            const std::string& text = Reports()[0].text;
            const auto from = text.find('{') + 1;
            return text.substr(from, text.rfind('}') - from);
        }
        return "nothing was thrown";
    }
};

/// A new context, or render context, that is active on this thread for a scope.
template <class Context>
struct Active : boost::shared_ptr<Context> {
    Active() : boost::shared_ptr<Context>{Context::MakeNewContext()} { this->get()->Activate(); }
    ~Active() { this->get()->Deactivate(); }
    Active(const Active&) = delete;
};

#endif
