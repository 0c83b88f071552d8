// What the summaries of the host's commands are written with.
#ifndef QLHOST_SUMMARYTEXT_H
#define QLHOST_SUMMARYTEXT_H

#include <cstdio>
#include <string>

namespace qlhost {

inline std::string Fixed(double value, int decimals)
{
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

inline void Print(const std::string& line)
{
    std::printf("%s\n", line.c_str());
}

}  // namespace qlhost

#endif
