#pragma once

#include <QImage>

// A page raster as the conversions see it: width, height, samples per pixel, bits per sample,
// bytes per row and one buffer of bytes. Three layouts exist:
//   8-bit RGBA (4 samples, red first), 8-bit grey (1 sample, 255 is white) and
//   1-bit (1 sample, most significant bit first, 1 is white).
// The bytes live in a QImage of the matching format (RGBA8888, Grayscale8, Mono), so a raster
// goes to and from QImage without copying, and copies are shared until one of them is written.
class FXRaster
{
public:
    enum Layout { Null, Rgba, Gray, Bilevel };

    FXRaster() = default;
    // A zero-filled raster; null when the size is empty or the memory cannot be had.
    FXRaster(int width, int height, Layout layout);

    // Shares the image's bytes when it already has one of the three formats (a Mono image
    // must map index 1 to white); other formats are converted to RGBA.
    static FXRaster fromImage(const QImage &image);
    QImage toImage() const { return m_image; }

    bool isNull() const { return m_layout == Null; }
    Layout layout() const { return m_layout; }
    int width() const { return m_image.width(); }
    int height() const { return m_image.height(); }
    int samplesPerPixel() const { return m_layout == Rgba ? 4 : (m_layout == Null ? 0 : 1); }
    int bitsPerSample() const { return m_layout == Bilevel ? 1 : (m_layout == Null ? 0 : 8); }
    qsizetype bytesPerRow() const { return m_image.bytesPerLine(); }
    // Bytes of a row that hold pixels; the rest of bytesPerRow() is padding.
    qsizetype usedBytesPerRow() const;
    qsizetype byteCount() const { return m_image.sizeInBytes(); }

    // Writing detaches the raster from any copy that shares its bytes.
    uchar *bytes() { return m_image.bits(); }
    const uchar *bytes() const { return m_image.constBits(); }
    uchar *row(int y) { return m_image.scanLine(y); }
    const uchar *row(int y) const { return m_image.constScanLine(y); }

private:
    QImage m_image;
    Layout m_layout = Null;
};
