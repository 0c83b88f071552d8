// Times as text. The fields come from T_Components.cpp; here they are only written. No state but the highest
// frame rate.

#include "T_Format.h"

#include <cstring>

#include "Tp_Format.h"

namespace {

constexpr int32_t kFirstWideBase = 101;

char* PutDigits(uint32_t value, int least_digits, char* out)
{
    char digits[10];
    int count = 0;
    while (value != 0 || count < least_digits) {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    while (count > 0) *out++ = digits[--count];
    return out;
}

uint32_t MagnitudeOf(int32_t value)
{
    return value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
}

// As "%.<digits>d" writes it: at least so many digits, and a sign in front of them.
char* PutNumber(int32_t value, int digits, char* out)
{
    if (value < 0) *out++ = '-';
    return PutDigits(MagnitudeOf(value), digits, out);
}

// As "%0<width>d" writes it: the sign counts as one place.
char* PutPadded(int32_t value, int width, char* out)
{
    return PutNumber(value, value < 0 ? width - 1 : width, out);
}

char* PutTimecode(const T_TimeComponents& parts, char separator, int hour_digits, int frame_digits, char* out)
{
    if (parts.negative != 0) *out++ = '-';
    out = PutNumber(parts.hours, hour_digits, out);
    *out++ = separator;
    out = PutNumber(parts.minutes, 2, out);
    *out++ = separator;
    out = PutNumber(parts.seconds, 2, out);
    *out++ = separator;
    return PutNumber(parts.frames, frame_digits, out);
}

}  // namespace

int T_GeneralFormatTime(const T_Time* time, const T_TimeFormatInfo* info, T_TimeFormatType type, int32_t rate,
                        bool wide_hours, char* out)
{
    T_TimeComponents parts = {0, -1, -1, -1, -1, -1};
    const Tp_Counting counting = Tp_Examine(*info, rate);
    Tp_TakeApart(*time, *info, counting, type, &parts);

    const bool is_narrow = T_GetMaxFPS() < kFirstWideBase || counting.base < kFirstWideBase;
    const int more_digits = is_narrow ? 0 : 1;
    char* end = out;
    if (counting.is_timecode) {
        const char separator = counting.is_drop && !counting.is_non_drop_ntsc ? ';' : ':';
        end = PutTimecode(parts, separator, wide_hours ? 2 : 1, 2 + more_digits, out);
    } else if (info->framesPerFoot != 0) {
        end = PutPadded(parts.feet, 4, out);
        *end++ = '+';
        end = PutPadded(parts.frames, 2 + more_digits, end);
    } else {
        end = PutPadded(parts.frames, 5 + more_digits, out);
    }
    *end = '\0';
    return static_cast<int>(end - out);
}
