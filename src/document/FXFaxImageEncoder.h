#pragma once

#include "document/FXRaster.h"

#include <QByteArray>

// Compresses a page raster into the stream of a PDF image: a single strip whose bytes are
// exactly what /CCITTFaxDecode or /FlateDecode expect. Group 4 goes through FXGroup4Encoder
// (libtiff's code, byte for byte, only faster), Flate through libtiff's encoder.
class FXFaxImageEncoder
{
public:
    // True when every pixel is black or white, so the page can go out as a 1-bit image.
    static bool isBilevel(const FXRaster &gray);

    // CCITT Group 4 (K -1) of a grey raster that isBilevel(), or of a 1-bit raster, coded the
    // way fax machines code it: white runs are white (BlackIs1 false). Empty on failure.
    static QByteArray group4(const FXRaster &raster);

    // A zlib stream of the 8-bit grey samples, row after row without padding. Empty on
    // failure.
    static QByteArray flate(const FXRaster &gray);
};
