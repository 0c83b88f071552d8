/// Times as tests compare and print them: by their words, not by their values.
#ifndef T_TESTS_TIMETEXT_H
#define T_TESTS_TIMETEXT_H

#include <string>

#include "T_Time.h"

inline std::string Words(const T_Time& time)
{
    return std::to_string(time.value) + '/' + std::to_string(time.scale);
}
inline std::string Words(const T_TimeSpan& span)
{
    return Words(span.start) + " for " + Words(span.duration);
}

inline const std::string kBad = "-2147483648/0";

#endif
