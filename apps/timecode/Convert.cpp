// One value at a time: text to an exact time, and an exact time to text. What does not fit 32-bit terms
// exactly is refused instead of rounded. No state but the converter's own.

#include "Convert.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <numeric>

namespace timecode {
namespace {

struct NamedRate {
    std::string_view name;
    int32_t rate;
};

constexpr NamedRate kNamedRates[] = {
    {"11.988", 785646},
    {"23.976", 1571291},
    {"29.97", 1964114},
    {"59.94", 3928228},
};

[[noreturn]] void Refuse(const std::string& value, const char* why)
{
    throw BadValue("'" + value + "' " + why);
}

// The whole text as a number, or a refusal.
int64_t Number(std::string_view text, const std::string& value, const char* why)
{
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) Refuse(value, why);
    return number;
}

T_Time Fit(int64_t num, int64_t den, const std::string& value)
{
    constexpr const char* kWhy = "does not fit an exact time";
    if (num == INT64_MIN) Refuse(value, kWhy);  // it has no magnitude to divide
    const int64_t divisor = std::gcd(num, den);
    num /= divisor;
    den /= divisor;
    if (num < -INT32_MAX || num > INT32_MAX || den > UINT32_MAX) Refuse(value, kWhy);
    return {static_cast<int32_t>(num), static_cast<uint32_t>(den)};
}

T_Time ReadRatio(const std::string& value)
{
    constexpr const char* kWhy = "is no ratio, such as 1001/30";
    const size_t slash = value.find('/');
    if (slash == std::string::npos) return Fit(Number(value, value, kWhy), 1, value);
    const std::string_view text = value;
    const int64_t den = Number(text.substr(slash + 1), value, kWhy);
    if (den < 1) Refuse(value, "has no denominator above 0");
    return Fit(Number(text.substr(0, slash), value, kWhy), den, value);
}

T_Time ReadSeconds(const std::string& value)
{
    constexpr const char* kWhy = "is no number of seconds, such as 12.5";
    constexpr size_t kMostDecimals = 9;
    const size_t point = value.find('.');
    if (point == std::string::npos) return Fit(Number(value, value, kWhy), 1, value);
    const size_t decimals = value.size() - point - 1;
    if (decimals > kMostDecimals) Refuse(value, "has more than 9 decimals");
    if (value.find('-', point) != std::string::npos) Refuse(value, kWhy);
    std::string digits = value;
    digits.erase(point, 1);
    int64_t scale = 1;
    for (size_t i = 0; i < decimals; ++i) scale *= 10;
    return Fit(Number(digits, value, kWhy), scale, value);
}

// Four numbers with colons or semicolons between them.
bool Split(std::string_view text, int64_t (&fields)[4])
{
    for (int i = 0; i < 4; ++i) {
        const size_t end = i < 3 ? text.find_first_of(":;") : text.size();
        if (end == std::string_view::npos || end == 0) return false;
        const auto [stop, error] = std::from_chars(text.data(), text.data() + end, fields[i]);
        if (error != std::errc() || stop != text.data() + end || text[0] == '-') return false;
        text.remove_prefix(i < 3 ? end + 1 : end);
    }
    return true;
}

}  // namespace

int32_t RateOf(std::string_view name)
{
    for (const NamedRate& rate : kNamedRates) {
        if (rate.name == name) return rate.rate;
    }
    const std::string value(name);
    constexpr const char* kWhy =
        "is no frame rate: 11.988, 23.976, 29.97, 59.94 or a whole number from 1 to 999";
    const int64_t whole = Number(name, value, kWhy);
    if (whole < 1 || whole > T_GetMaxFPS()) Refuse(value, kWhy);
    return static_cast<int32_t>(whole << 16);
}

Converter::Converter(int32_t rate, bool non_drop) : m_rate(rate)
{
    m_info.useTimecode = 1;
    m_info.nonDrop = non_drop;
    m_info.offset = {0, 1};
    uint8_t is_timecode = 0;
    uint8_t is_drop = 0;
    uint8_t is_non_drop_ntsc = 0;
    T_ExamineTimeInfo(&m_info, rate, &is_timecode, &is_drop, &is_non_drop_ntsc, &m_frame);
    m_base = T_GetTimeFormatInfoFrameMax(&m_info, rate);
    m_drops = is_drop != 0;
}

std::string Converter::Convert(const std::string& value, Unit from, Unit to) const
{
    return Write(Read(value, from), to);
}

T_Time Converter::Read(const std::string& value, Unit unit) const
{
    switch (unit) {
        case Unit::kTimecode:
            return ReadTimecode(value);
        case Unit::kFrames:
            return TimeOfFrames(Number(value, value, "is no number of frames"), value);
        case Unit::kSeconds:
            return ReadSeconds(value);
        case Unit::kRatio:
            break;
    }
    return ReadRatio(value);
}

T_Time Converter::ReadTimecode(const std::string& value) const
{
    const bool is_negative = !value.empty() && value[0] == '-';
    int64_t fields[4];
    if (!Split(std::string_view(value).substr(is_negative ? 1 : 0), fields)) {
        Refuse(value, "is no timecode, such as 01:00:00:00");
    }
    const auto [hours, minutes, seconds, frames] = fields;
    if (hours > 23 || minutes > 59 || seconds > 59 || frames >= m_base) {
        Refuse(value, "has a field out of its range at this rate");
    }
    if (m_drops && minutes % 10 != 0 && seconds == 0 && frames < m_base / 15) {
        Refuse(value, "is a label that drop-frame counting skips");
    }
    const T_TimeComponents parts = {is_negative,
                                    static_cast<int32_t>(hours),
                                    static_cast<int32_t>(minutes),
                                    static_cast<int32_t>(seconds),
                                    0,
                                    static_cast<int32_t>(frames)};
    T_Time time;
    if (T_ComponentsToTime(&parts, &m_info, T_TimeFormatType_PositionNoOffset, m_rate, &time) != 0) {
        Refuse(value, "does not fit an exact time");
    }
    return time;
}

T_Time Converter::TimeOfFrames(int64_t frames, const std::string& value) const
{
    if (frames < -INT32_MAX || frames > INT32_MAX) Refuse(value, "does not fit an exact time");
    const M_Ratio count = {static_cast<int32_t>(frames), 1};
    const M_Ratio frame = T_TimeToRatio(m_frame);
    M_Ratio time;
    uint8_t status = 0;
    M_MulRatio(&count, &frame, &time, &status);
    if (status != M_Status_EXACT) Refuse(value, "does not fit an exact time");
    return {time.num, time.den};
}

// Counted in 64 bits: the library would approximate where 32 run out, and land on a neighbouring frame.
int64_t Converter::FramesOf(const T_Time& time) const
{
    const int64_t num = int64_t{time.value} * m_frame.scale;
    const int64_t den = int64_t{time.scale} * m_frame.value;
    const int64_t frames = num < 0 ? (num - den + 1) / den : num / den;
    if (frames < -INT32_MAX || frames > INT32_MAX) throw BadValue("the time is too long to count its frames");
    return frames;
}

std::string Converter::Write(const T_Time& time, Unit unit) const
{
    T_Time lowest;
    T_ReduceTime(&time, &lowest, nullptr);
    char text[T_kFormattedTimeSize];
    if (unit == Unit::kRatio) {
        std::snprintf(text, sizeof text, "%" PRId32 "/%" PRIu32, lowest.value, lowest.scale);
        return text;
    }
    if (unit == Unit::kSeconds) {
        std::snprintf(text, sizeof text, "%.6f", static_cast<double>(time.value) / time.scale);
        return text;
    }
    const int64_t frames = FramesOf(time);
    if (unit == Unit::kFrames) return std::to_string(frames);
    T_TimeFormatInfo info = m_info;
    info.useTimecode = 1;
    const T_Time shown = TimeOfFrames(frames, std::to_string(frames));
    try {
        T_GeneralFormatTime(&shown, &info, T_TimeFormatType_PositionNoOffset, m_rate, true, text);
        return text;
    } catch (int) {
        throw BadValue("the time is too long to count its frames");
    }
}

}  // namespace timecode
