#pragma once

#include "document/FXRaster.h"

// The two-level conversions of a fax page, and the grey and 1-bit forms under them.
// None of them changes its argument: pass an rvalue to let the result reuse its bytes.
class GraphicsAdditions
{
public:
    // 8-bit grey, 255 white. Colour becomes ITU-R BT.601 luma,
    // 0.299 R + 0.587 G + 0.114 B rounded to the nearest integer; alpha is ignored, the
    // rendered pages being opaque. A grey raster comes back as it is. Null (with a logged
    // message) when there is no raster to make.
    static FXRaster grayRepresentation(FXRaster rep);

    // 1 bit per pixel, 1 for a grey value of 128 or more (white), packed from the most
    // significant bit; the unused low bits of a row's last byte stay 0.
    static FXRaster binaryRepresentation(const FXRaster &rep);

    // Floyd-Steinberg on the grey form, scanning every row left to right from x = 1 and
    // leaving the last row alone, so column 0 and the last row keep grey values. The error
    // pushed right of (and below right of) a row's last pixel lands on the byte after it: row
    // padding, or the first pixel of the next row when rows are packed.
    static FXRaster errorDiffusionRepresentation(FXRaster rep);

    // The byte level L of a threshold t: rint(t * 255), t clamped to [0, 1]. A pixel is white
    // when its brightest channel is strictly above it.
    static int levelForThreshold(float threshold);
};
