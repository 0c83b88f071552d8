/// Times as people read them: timecode with drop-frame labels, feet and frames, plain frame numbers.
///
///     T_TimeFormatInfo info = {};
///     info.useTimecode = 1;
///     char text[T_kFormattedTimeSize];
///     T_Time time = {1800 * 100, 2997};
///     T_GeneralFormatTime(&time, &info, T_TimeFormatType_Duration, 1964114, true, text);  // 00;01;00;02
///
/// A frame rate is 16.16 fixed point (29.97 is 1964114), and 0 means "use `timebase`". Rates within 4
/// of 29.97, 59.94, 23.976 and 11.988 stand for exact durations over 2997, so a hundred thousand frames show
/// no drift.
///
/// Drop-frame counting (29.97 and 59.94, unless `nonDrop` is set) labels frames so that labels keep up with
/// the clock: two labels (four at 59.94) are skipped at the start of every minute but each tenth.
///
///   real frame    1798        1799        1800        1801    ...  17981       17982
///   label         00;59;28    00;59;29    01;00;02    01;00;03     09;59;29    10;00;00
///
/// A rate of 0 is never drop-frame, whatever the timebase.
///
/// Errors. Failures of the ratio layer are thrown as an `int`, from every function here but
/// `T_GetTimeFormatInfoFrameMax` and `T_HonorOffsetForType`; `T_ComponentsToTime` also returns those of its
/// last step. They arise from times and offsets with a zero scale or far out of range, so a C host hands in
/// sound ones.
///
/// threads  any
/// source   SMPTE ST 12-1, drop-frame compensation
#ifndef T_FORMAT_H
#define T_FORMAT_H

#include "T_Time.h"

// --- Types -------------------------------------------------------------------------------------------------

/// What to show.
typedef struct T_TimeFormatInfo {
    uint8_t useTimecode;    ///< other than 0: hours, minutes, seconds and frames
    uint8_t nonDrop;        ///< other than 0: no drop-frame counting at 29.97 and 59.94
    int32_t timebase;       ///< frames per second when no rate is passed in
    int32_t framesPerFoot;  ///< frames in a foot; 0 shows plain frame numbers
    uint8_t startsAtOne;    ///< 1: frame numbers count from one
    T_Time offset;          ///< added to shown positions
} T_TimeFormatInfo;

/// How a time is meant.
enum {
    T_TimeFormatType_Position = 0,         ///< rounds to the frame shown then; offset and startsAtOne apply
    T_TimeFormatType_Duration = 1,         ///< counts frames begun; neither applies
    T_TimeFormatType_PositionNoOffset = 2  ///< a position with startsAtOne alone
};
typedef int32_t T_TimeFormatType;

/// A time taken apart. A field that a format does not use stays as the caller set it.
typedef struct T_TimeComponents {
    uint8_t negative;
    int32_t hours;  ///< 0 to 23: hours wrap
    int32_t minutes;
    int32_t seconds;
    int32_t feet;
    int32_t frames;
} T_TimeComponents;

enum {
    T_kFormattedTimeSize = 64  ///< room for every text of `T_GeneralFormatTime`
};

#ifdef __cplusplus
extern "C" {
#endif

// --- Functions ---------------------------------------------------------------------------------------------

/// The whole frames per second that labels count in: the rate rounded, or the timebase; at least 1, at most
/// `T_GetMaxFPS`.
U_EXPORT int32_t T_GetTimeFormatInfoFrameMax(const T_TimeFormatInfo* info, int32_t rate);

/// Tells how a format counts.
///
/// is_timecode        0 only for plain frames: `useTimecode` 0 and a rate other than 0
/// is_drop            drop-frame labels
/// is_non_drop_ntsc   a rate over 2997 without drop-frame labels
/// frame_duration     may be null
U_EXPORT void T_ExamineTimeInfo(const T_TimeFormatInfo* info, int32_t rate, uint8_t* is_timecode,
                                uint8_t* is_drop, uint8_t* is_non_drop_ntsc, T_Time* frame_duration);

/// Takes a time apart. Timecode writes `negative`, `hours`, `minutes`, `seconds` and `frames`; plain counts
/// write `frames`, which then carries the sign, and `feet` when `framesPerFoot` is not 0.
///
/// Frames round down for positions at or after 0, up in magnitude for positions before 0 and for durations.
/// A negative offset is rounded up in magnitude too.
U_EXPORT void T_TimeToComponents(const T_Time* time, const T_TimeFormatInfo* info, T_TimeFormatType type,
                                 int32_t rate, T_TimeComponents* out);

/// Puts a time together again. Two differences from the way there stand: a negative offset is rounded down in
/// magnitude, and in timecode the offset is taken off the magnitude before the sign, so a negative time with
/// an offset comes back as another.
///
/// returns  0; the code of the last product, and then `out` is `T_BadTime`
U_EXPORT Err T_ComponentsToTime(const T_TimeComponents* components, const T_TimeFormatInfo* info,
                                T_TimeFormatType type, int32_t rate, T_Time* out);

/// Writes a time as text: "1:02:03;04" ("01:02:03;04" with `wide_hours`) with semicolons for drop-frame and
/// colons otherwise, "0002+01" for feet and frames, "00005" for frame numbers. At a base of 101 frames per
/// second and more, frames take one digit more.
///
/// out      room for `T_kFormattedTimeSize` bytes; terminated
/// returns  the length of the text
U_EXPORT int T_GeneralFormatTime(const T_Time* time, const T_TimeFormatInfo* info, T_TimeFormatType type,
                                 int32_t rate, bool wide_hours, char* out);

/// True for `T_TimeFormatType_Position` alone.
U_EXPORT bool T_HonorOffsetForType(T_TimeFormatType type);

#ifdef __cplusplus
}
#endif
#endif
