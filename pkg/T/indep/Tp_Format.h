/// How a format counts frames, and the drop-frame labels: what taking apart, putting together and formatting
/// share.
#ifndef TP_FORMAT_H
#define TP_FORMAT_H

#include "T_Format.h"

/// A format at a rate, examined.
struct Tp_Counting {
    bool is_timecode = false;
    bool is_drop = false;
    bool is_non_drop_ntsc = false;
    int32_t base = 1;  // labels in a second: T_GetTimeFormatInfoFrameMax
    T_Time frame_duration = {1, 1};
};

/// throws  the code, as `int`, for which the frame duration could not be had
Tp_Counting Tp_Examine(const T_TimeFormatInfo& info, int32_t rate);

/// Real frames to drop-frame labels, and back. `base` is 30 or 60; counts are 0 or more, others wrap.
int32_t Tp_FramesToLabels(int32_t frames, int32_t base);
int32_t Tp_LabelsToFrames(int32_t labels, int32_t base);

/// `T_TimeToComponents` for a format that was examined.
void Tp_TakeApart(const T_Time& time, const T_TimeFormatInfo& info, const Tp_Counting& counting,
                  T_TimeFormatType type, T_TimeComponents* out);

#endif
