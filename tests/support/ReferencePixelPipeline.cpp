#include "ReferencePixelPipeline.h"

#include "document/FXFaxPageGenerator.h"
#include "document/GraphicsAdditions.h"

#include <QRgba64>

#include <algorithm>
#include <cstring>

namespace {

struct Rgb
{
    uchar red, green, blue;
};

// Colour components as bytes, truncated toward zero as the components (0.0 to 1.0) times
// 255 would be; an 8-bit colour comes back unchanged.
Rgb bytesOfColour(const QColor &colour)
{
    const QRgba64 rgb = colour.toRgb().rgba64();
    const auto toByte = [](quint16 component) { return uchar(quint32(component) * 255 / 65535); };
    return {toByte(rgb.red()), toByte(rgb.green()), toByte(rgb.blue())};
}

// A channel c of alpha a over white: (c a + 255 (255 - a)) / 255, rounded.
int overWhite(int c, int alpha)
{
    return (c * alpha + 255 * (255 - alpha) + 127) / 255;
}

// One ARGB32 pixel (bytes blue, green, red, alpha) over white, as RGBA bytes.
void compositeOverWhite(const uchar *in, uchar *out)
{
    const int alpha = in[3];
    const uchar red = uchar(overWhite(in[2], alpha));
    const uchar green = uchar(overWhite(in[1], alpha));
    const uchar blue = uchar(overWhite(in[0], alpha));
    out[0] = red;
    out[1] = green;
    out[2] = blue;
    out[3] = 255;
}

} // namespace

FXRaster ReferencePixelPipeline::monochromeImageRepWithThreshold(FXRaster rep, float threshold,
                                                                 const QColor &offColour,
                                                                 const QColor &onColour)
{
    if (rep.isNull())
        return rep;
    const Rgb off = bytesOfColour(offColour);
    const Rgb on = bytesOfColour(onColour);
    const int level = GraphicsAdditions::levelForThreshold(threshold);
    const qsizetype stride = rep.samplesPerPixel();
    const qsizetype runLength = rep.usedBytesPerRow();
    const bool packed = runLength == rep.bytesPerRow();
    const int runs = packed ? 1 : rep.height();
    const qsizetype n = packed ? runLength * rep.height() : runLength;

    uchar *bytes = rep.bytes();
    for (int r = 0; r < runs; ++r) {
        uchar *run = bytes + r * rep.bytesPerRow();
        for (qsizetype i = 2; i < n; i += stride) {
            uchar *pixel = run + i - 2;
            const int brightness = std::max({pixel[0], pixel[1], pixel[2]});
            const Rgb &colour = brightness > level ? on : off;
            pixel[0] = colour.red;
            pixel[1] = colour.green;
            pixel[2] = colour.blue;
        }
    }
    return rep;
}

FXRaster ReferencePixelPipeline::placeOnCanvas(QImage page)
{
    constexpr int width = FXFaxPageGenerator::canvasWidth;
    constexpr int height = FXFaxPageGenerator::canvasHeight;
    if (page.isNull() || page.width() > width || page.height() > height)
        return FXRaster();
    page.convertTo(QImage::Format_ARGB32);
    FXRaster canvas(width, height, FXRaster::Rgba);
    if (canvas.isNull())
        return canvas;
    std::memset(canvas.bytes(), 255, size_t(canvas.byteCount()));
    const int left = (width - page.width()) / 2;
    const int top = (height - page.height()) / 2;
    for (int y = 0; y < page.height(); ++y) {
        const uchar *in = page.constScanLine(y);
        uchar *out = canvas.row(top + y) + qsizetype(left) * 4;
        for (int x = 0; x < page.width(); ++x)
            compositeOverWhite(in + x * 4, out + x * 4);
    }
    return canvas;
}

FXRaster ReferencePixelPipeline::renderPageImage(QPdfDocument &document, int page)
{
    return placeOnCanvas(FXFaxPageGenerator::renderScaledPage(document, page));
}

FXRaster ReferencePixelPipeline::convertPage(FXRaster canvas, int useType, int threshold)
{
    if (useType != FXFaxPageGenerator::Text)
        return GraphicsAdditions::errorDiffusionRepresentation(std::move(canvas));
    return monochromeImageRepWithThreshold(
        std::move(canvas), FXFaxPageGenerator::thresholdForLevel(threshold), Qt::black, Qt::white);
}
