/// A colour of four single-precision components.
///
/// The range and the colour space are those of whoever hands the colour over; nothing is clipped, and alpha
/// is not multiplied in.
#ifndef U_COLORRGBA_H
#define U_COLORRGBA_H

struct U_ColorRGBA {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 0;

    friend constexpr bool operator==(const U_ColorRGBA&, const U_ColorRGBA&) = default;
};

#endif
