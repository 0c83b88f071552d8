// Timecode of a frame at one of the rates that the host knows.
#ifndef QLHOST_LABELS_H
#define QLHOST_LABELS_H

#include <T_Format.h>

#include <string>
#include <string_view>

namespace qlhost {

struct Rate {
    std::string_view name;
    std::int32_t fixed;  // 16.16 frames a second
    bool nonDrop;
};

/// Null for a name that is not known.
const Rate* FindRate(std::string_view name);

/// All names, for help and for errors.
std::string RateNames();

/// The time of one frame.
T_Time FrameDuration(const Rate& rate);

/// The label of a frame, counted from 0.
std::string Timecode(const Rate& rate, std::int64_t frame);

}  // namespace qlhost

#endif
