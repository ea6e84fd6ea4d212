#pragma once

#include "document/FXRaster.h"

#include <QColor>
#include <QImage>

class QPdfDocument;

// The page pipeline written out step by step, as the conversions are defined: the rendered
// page composited onto a white canvas, then converted. Slow and plain on purpose; the one-pass
// preparation of FXFaxPageGenerator must give the same pixels.
class ReferencePixelPipeline
{
public:
    // Each pixel becomes the on colour when its brightest channel is strictly above
    // L = rint(t * 255), t clamped to [0, 1], and the off colour otherwise. The raster keeps
    // its layout; alpha is left as it is. Rows are worked through as runs of samples, so a
    // raster that is not RGBA is processed byte by byte all the same (a sliding window of three
    // samples), as the conversion has always behaved.
    static FXRaster monochromeImageRepWithThreshold(FXRaster rep, float threshold,
                                                    const QColor &offColour,
                                                    const QColor &onColour);

    // A page rendered at its scaled size, centred on an opaque white RGBA canvas of 2380 x 3368
    // (the odd pixel of a band going right and down). Null when it does not fit.
    static FXRaster placeOnCanvas(QImage scaledPage);
    // Page `page` (counted from 1) rendered and placed on the canvas.
    static FXRaster renderPageImage(QPdfDocument &document, int page);
    // The canvas converted for sending: text (useType 0) by the threshold of the level, anything
    // else by error diffusion. RGBA for text, 8-bit grey for mixed.
    static FXRaster convertPage(FXRaster canvas, int useType, int threshold);
};
