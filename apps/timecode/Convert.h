/// Reading and writing one value: timecode, a count of frames, seconds as a decimal or as a ratio.
#ifndef TIMECODE_CONVERT_H
#define TIMECODE_CONVERT_H

#include <stdexcept>
#include <string>
#include <string_view>

#include "T_Format.h"

namespace timecode {

enum class Unit {
    kTimecode,  ///< 01:00:00:00, or 01;00;00;00 where labels are dropped; either separator is read
    kFrames,    ///< a whole number
    kSeconds,   ///< a decimal; what is written is rounded to millionths
    kRatio      ///< seconds as numerator/denominator, exact
};

/// A value that cannot be read, or does not fit. The text is one line for a person and names the value.
struct BadValue : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A frame rate by its name: 23.976, 29.97 and their kin, or a whole number from 1 to 999.
/// throws  BadValue
int32_t RateOf(std::string_view name);

/// Converts values of one rate.
class Converter {
  public:
    /// rate      frames per second in 16.16 fixed point
    /// non_drop  count 29.97 and 59.94 without dropping labels
    Converter(int32_t rate, bool non_drop);

    /// throws  BadValue
    std::string Convert(const std::string& value, Unit from, Unit to) const;

  private:
    T_Time Read(const std::string& value, Unit unit) const;
    std::string Write(const T_Time& time, Unit unit) const;
    T_Time ReadTimecode(const std::string& value) const;
    T_Time TimeOfFrames(int64_t frames, const std::string& value) const;
    int64_t FramesOf(const T_Time& time) const;

    T_TimeFormatInfo m_info = {};
    int32_t m_rate;
    int32_t m_base;  // labels in a second
    T_Time m_frame;  // how long a frame is
    bool m_drops;
};

}  // namespace timecode

#endif
