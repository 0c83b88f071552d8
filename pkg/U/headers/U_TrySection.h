/// How a function with an error-code result keeps failures inside.
///
///     Err T_Label(int64_t frame, T_Labels* out)
///     {
///         return U_TrySection([&] { *out = Tp_Label(frame); });
///     }
///
/// A thrown `int` is an error code and becomes the result. A `std::exception` is reported, or named by a
/// registered translator, and its code becomes the result. Any other exception passes on to the terminate
/// handler: nothing in the library throws one.
#ifndef U_TRYSECTION_H
#define U_TRYSECTION_H

#include <exception>
#include <type_traits>
#include <utility>

#include "U_Types.h"

/// Gives the error code of an exception, asking the registered translators, the latest first.
///
/// returns  4 for `std::bad_alloc`, without a report (who ran out has reported); 3 for `std::bad_cast`; what
///          a translator says; else 14, reported as a warning
/// threads  any
U_EXPORT int U_TranslateAndReportException(std::exception& exception);

/// Runs `body`, which returns nothing or an error code, and gives the error code.
template <class Body>
Err U_TrySection(Body&& body)
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            std::forward<Body>(body)();
            return U_Err_NONE;
        } else {
            return std::forward<Body>(body)();
        }
    } catch (int code) {
        return code;
    } catch (std::exception& exception) {
        return U_TranslateAndReportException(exception);
    }
}

#endif
