#include "document/GraphicsAdditions.h"

#include "foundation/FXLogging.h"

#include <algorithm>
#include <cmath>

namespace {

inline uchar clampToByte(int value)
{
    return uchar(std::clamp(value, 0, 255));
}

} // namespace

int GraphicsAdditions::levelForThreshold(float threshold)
{
    if (std::isnan(threshold))
        threshold = 0.0f;
    threshold = std::clamp(threshold, 0.0f, 1.0f);
    // Widened before the product: 0.70f is 0.699999988..., whose level is 178, not 179.
    return int(std::rint(double(threshold) * 255.0));
}

FXRaster GraphicsAdditions::grayRepresentation(FXRaster rep)
{
    if (rep.layout() == FXRaster::Gray)
        return rep;
    FXRaster gray(rep.width(), rep.height(), FXRaster::Gray);
    if (rep.isNull() || gray.isNull()) {
        qCWarning(lcDocument, "***  %s context is nil",
                  "-[NSBitmapImageRep(GraphicsAdditions) grayRepresentation]");
        return FXRaster();
    }
    const int width = rep.width();
    for (int y = 0; y < rep.height(); ++y) {
        const uchar *in = rep.row(y);
        uchar *out = gray.row(y);
        switch (rep.layout()) {
        case FXRaster::Rgba:
            for (int x = 0; x < width; ++x, in += 4)
                out[x] = uchar((299 * in[0] + 587 * in[1] + 114 * in[2] + 500) / 1000);
            break;
        case FXRaster::Bilevel:
            for (int x = 0; x < width; ++x)
                out[x] = (in[x / 8] >> (7 - x % 8)) & 1 ? 255 : 0;
            break;
        case FXRaster::Gray:
        case FXRaster::Null:
            break;
        }
    }
    return gray;
}

FXRaster GraphicsAdditions::binaryRepresentation(const FXRaster &rep)
{
    const FXRaster gray = grayRepresentation(rep);
    if (gray.isNull())
        return FXRaster();
    FXRaster binary(gray.width(), gray.height(), FXRaster::Bilevel);
    if (binary.isNull())
        return FXRaster();
    const int width = gray.width();
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.row(y);
        uchar *out = binary.row(y);
        uchar accumulated = 0;
        for (int x = 0; x < width; ++x) {
            if (in[x] >= 128)
                accumulated |= uchar(1 << (7 - x % 8));
            if (x % 8 == 7 || x == width - 1) {
                out[x / 8] = accumulated;
                accumulated = 0;
            }
        }
    }
    return binary;
}

FXRaster GraphicsAdditions::errorDiffusionRepresentation(FXRaster rep)
{
    FXRaster gray = grayRepresentation(std::move(rep));
    if (gray.isNull() || gray.height() < 2 || gray.width() <= 1)
        return gray;
    const int width = gray.width();
    const int height = gray.height();
    const qsizetype stride = gray.bytesPerRow();
    const qsizetype size = gray.byteCount();
    uchar *g = gray.bytes();

    for (int y = 0; y <= height - 2; ++y) {
        uchar *row = g + y * stride;
        uchar *below = row + stride;
        // The pixel to the right and the three below are carried in registers; each addition
        // is clamped on its own, in the order of the plain scan.
        int right = row[1];
        int belowLeft = below[0];
        int belowHere = below[1];
        for (int x = 1; x < width; ++x) {
            const int old = right;
            const int quantised = old >= 128 ? 255 : 0;
            // Integer division truncates toward zero, so shares of small errors vanish.
            const int e = old - quantised;
            row[x] = uchar(quantised);
            belowLeft = clampToByte(belowLeft + 3 * e / 16);
            below[x - 1] = uchar(belowLeft);
            belowLeft = clampToByte(belowHere + 5 * e / 16);
            if (x + 1 < width) {
                right = clampToByte(row[x + 1] + 7 * e / 16);
                belowHere = clampToByte(below[x + 1] + e / 16);
            } else {
                // Past the row's last pixel: row padding, or the first pixel of the next row
                // when rows are packed. Below right of the second-to-last row's last pixel
                // lies past a packed buffer; that share is dropped.
                row[x + 1] = clampToByte(row[x + 1] + 7 * e / 16);
                if (below + x + 1 - g < size)
                    below[x + 1] = clampToByte(below[x + 1] + e / 16);
            }
        }
        below[width - 1] = uchar(belowLeft);
    }
    return gray;
}
