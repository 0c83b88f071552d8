/// A colour of four single-precision components.
///
/// The range and the colour space are those of whoever hands the colour over; nothing is clipped, and alpha is not
/// multiplied in. The header stands alone under C11.
#ifndef U_COLORRGBA_H
#define U_COLORRGBA_H

typedef struct U_ColorRGBA {
    float red;
    float green;
    float blue;
    float alpha;

#ifdef __cplusplus
    friend constexpr bool operator==(const U_ColorRGBA&, const U_ColorRGBA&) = default;
#endif
} U_ColorRGBA;

#endif
