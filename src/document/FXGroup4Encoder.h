#pragma once

#include "document/FXRaster.h"

#include <QByteArray>

// CCITT Group 4 (T.6) coding of a 1-bit page: byte for byte the single strip libtiff's encoder
// writes with K -1, no EOL per row and white as the 0 colour of the code, closed by EOFB and
// padded to a byte with 0 bits. libtiff scans every row bit by bit; this finds a row's changing
// elements a 64-bit word at a time, codes from the lists of positions, and passes an unchanged
// row (blank margins above all) as one V0 per change.
class FXGroup4Encoder
{
public:
    // The coded strip of a Bilevel raster (1 is white; the padding of a row is ignored). Empty
    // for a null or other raster, or when the memory cannot be had.
    static QByteArray encode(const FXRaster &bilevel);
};
