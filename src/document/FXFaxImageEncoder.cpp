#include "document/FXFaxImageEncoder.h"

#include "document/FXGroup4Encoder.h"
#include "document/GraphicsAdditions.h"
#include "foundation/FXLogging.h"

#include <tiffio.h>

#include <cstdarg>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace {

// A growable in-memory file for libtiff: the encoded strip is taken straight out of it.
struct MemoryFile
{
    QByteArray data;
    qint64 position = 0;
};

tsize_t readProc(thandle_t handle, tdata_t buffer, tsize_t size)
{
    auto *file = static_cast<MemoryFile *>(handle);
    const qint64 available = qMax<qint64>(0, file->data.size() - file->position);
    const qint64 count = qMin<qint64>(size, available);
    if (count > 0)
        std::memcpy(buffer, file->data.constData() + file->position, size_t(count));
    file->position += count;
    return tsize_t(count);
}

tsize_t writeProc(thandle_t handle, tdata_t buffer, tsize_t size)
{
    auto *file = static_cast<MemoryFile *>(handle);
    const qint64 end = file->position + size;
    // No exception may unwind through libtiff: a failed allocation is a short write.
    try {
        if (end > file->data.size()) {
            if (file->data.capacity() < end)
                file->data.reserve(qMax<qint64>(end, file->data.capacity() * 2));
            file->data.resize(end);
        }
    } catch (const std::bad_alloc &) {
        return -1;
    }
    std::memcpy(file->data.data() + file->position, buffer, size_t(size));
    file->position = end;
    return size;
}

toff_t seekProc(thandle_t handle, toff_t offset, int whence)
{
    auto *file = static_cast<MemoryFile *>(handle);
    qint64 base = 0;
    if (whence == SEEK_CUR)
        base = file->position;
    else if (whence == SEEK_END)
        base = file->data.size();
    file->position = base + qint64(offset);
    return toff_t(file->position);
}

int closeProc(thandle_t)
{
    return 0;
}

toff_t sizeProc(thandle_t handle)
{
    return toff_t(static_cast<MemoryFile *>(handle)->data.size());
}

int mapProc(thandle_t, tdata_t *, toff_t *)
{
    return 0;
}

void unmapProc(thandle_t, tdata_t, toff_t)
{}

int reportProblem(TIFF *, void *, const char *module, const char *format, va_list arguments)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    qCWarning(lcDocument, "libtiff %s: %s", module ? module : "", text);
    return 1;
}

struct TiffCloser
{
    void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};

using Tiff = std::unique_ptr<TIFF, TiffCloser>;

Tiff openMemoryTiff(MemoryFile &file)
{
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, reportProblem, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, reportProblem, nullptr);
    Tiff tiff(TIFFClientOpenExt("page", "w", &file, readProc, writeProc, seekProc, closeProc,
                                sizeProc, mapProc, unmapProc, options));
    TIFFOpenOptionsFree(options);
    return tiff;
}

// Writes one strip through write(tiff) and returns the strip's bytes.
template <typename StripWrite>
QByteArray encodeStrip(int width, int height, int bitsPerSample, uint16_t compression,
                       uint16_t photometric, StripWrite write)
{
    MemoryFile file;
    uint64_t offset = 0;
    uint64_t count = 0;
    {
        Tiff tiff = openMemoryTiff(file);
        if (!tiff)
            return QByteArray();
        TIFF *t = tiff.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, uint32_t(width));
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, uint32_t(height));
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, uint16_t(bitsPerSample));
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, uint16_t(1));
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, photometric);
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, uint32_t(height));
        TIFFSetField(t, TIFFTAG_COMPRESSION, compression);
        if (!write(t))
            return QByteArray();
        // Pushes the strip out so that its place in the file is known. Closing then appends
        // the directory behind it, which is not needed.
        if (!TIFFFlushData(t))
            return QByteArray();
        offset = TIFFGetStrileOffset(t, 0);
        count = TIFFGetStrileByteCount(t, 0);
    }
    if (count == 0 || offset + count > uint64_t(file.data.size()))
        return QByteArray();
    file.data.truncate(qsizetype(offset + count));
    file.data.remove(0, qsizetype(offset));
    return file.data;
}

// Feeds the strip row by row; fill(row, y) makes row y in libtiff's layout.
template <typename RowFill>
auto scanlines(int height, RowFill fill)
{
    return [height, fill](TIFF *t) {
        // A modest output buffer: the coder flushes into the memory file as it goes.
        if (!TIFFWriteBufferSetup(t, nullptr, 1 << 20))
            return false;
        std::vector<uchar> row(size_t(TIFFScanlineSize(t)));
        if (row.empty())
            return false;
        for (int y = 0; y < height; ++y) {
            fill(row.data(), y);
            if (TIFFWriteScanline(t, row.data(), uint32_t(y), 0) < 0)
                return false;
        }
        return true;
    };
}

} // namespace

bool FXFaxImageEncoder::isBilevel(const FXRaster &gray)
{
    if (gray.layout() == FXRaster::Bilevel)
        return true;
    if (gray.layout() != FXRaster::Gray)
        return false;
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *row = gray.row(y);
        for (int x = 0; x < gray.width(); ++x) {
            if (uchar(row[x] + 1) > 1) // neither 0 nor 255
                return false;
        }
    }
    return true;
}

QByteArray FXFaxImageEncoder::group4(const FXRaster &raster)
{
    if (raster.layout() == FXRaster::Bilevel)
        return FXGroup4Encoder::encode(raster);
    if (raster.isNull() || !isBilevel(raster))
        return QByteArray();
    try {
        // 0 and 255 only, so the 1-bit form holds the same pixels.
        return FXGroup4Encoder::encode(GraphicsAdditions::binaryRepresentation(raster));
    } catch (const std::bad_alloc &) {
        return QByteArray();
    }
}

QByteArray FXFaxImageEncoder::flate(const FXRaster &gray)
{
    if (gray.layout() != FXRaster::Gray)
        return QByteArray();
    const int width = gray.width();
    const int height = gray.height();
    if (gray.bytesPerRow() == width) {
        // Handed over whole, the strip goes through libdeflate rather than zlib.
        return encodeStrip(width, height, 8, COMPRESSION_ADOBE_DEFLATE, PHOTOMETRIC_MINISBLACK,
                           [&](TIFF *t) {
                               return TIFFWriteEncodedStrip(t, 0, const_cast<uchar *>(gray.bytes()),
                                                            gray.byteCount())
                                      >= 0;
                           });
    }
    return encodeStrip(width, height, 8, COMPRESSION_ADOBE_DEFLATE, PHOTOMETRIC_MINISBLACK,
                       scanlines(height, [&](uchar *out, int y) {
                           std::memcpy(out, gray.row(y), size_t(width));
                       }));
}
