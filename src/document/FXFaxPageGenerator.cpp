#include "document/FXFaxPageGenerator.h"

#include "document/FXFaxImageEncoder.h"
#include "document/FXPDFInspection.h"
#include "document/FXPageImagePDFWriter.h"
#include "document/FXPageWorker.h"
#include "document/GraphicsAdditions.h"
#include "foundation/FXLogging.h"

#include <QBuffer>
#include <QPdfDocument>
#include <QtEndian>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <map>
#include <new>
#include <vector>

namespace {

constexpr char memoryNotAllocated[] = "Memory not allocated!";

// Finished pages held back at most by one slow page of the helper process.
constexpr size_t maxHeldPages = 8;

// The fixed raster message, if any, leads the line that names the page.
void reportSkippedPage(int page, int pageCount, bool outOfMemory = false)
{
    if (outOfMemory) {
        std::fputs(memoryNotAllocated, stderr);
        std::fputc(' ', stderr);
    }
    std::fprintf(stderr, "Page %d of %d could not be rendered and is left out.\n", page, pageCount);
}

// A rendered page is a QImage ARGB32: bytes blue, green, red, alpha, not premultiplied, and
// what the page leaves transparent must show white. A channel c of alpha a over white is
// (c a + 255 (255 - a)) / 255, rounded.
static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "the pixel loops read ARGB32 as B, G, R, A bytes");

inline int overWhite(int c, int alpha)
{
    return (c * alpha + 255 * (255 - alpha) + 127) / 255;
}

// Whether the brightest channel c of a pixel over white exceeds the level L, for one row of
// pixels, as 0 or 1 per pixel. Compositing over white is monotonic in the channel, so the
// brightest channel stays the brightest, and (c a + 255 (255 - a) + 127) / 255 > L reduces to
// a (255 - c) <= 64897 - 255 L: one product of two bytes and no branch.
inline uchar brighterPixel(const uchar *p, quint32 limit)
{
    const uchar brightest = std::max(std::max(p[0], p[1]), p[2]);
    return quint32(p[3]) * quint32(255 - brightest) <= limit;
}

void brighterThan(const uchar *__restrict pixels, int count, int level, uchar *__restrict flags)
{
    if (level >= 255) {
        std::memset(flags, 0, size_t(count));
        return;
    }
    const quint32 limit = quint32(64897 - 255 * std::max(level, 0));
    int x = 0;
#ifdef __SSE2__
    // Sixteen pixels a step. Most of a page is left transparent (alpha 0, white), which skips
    // the arithmetic.
    const __m128i low = _mm_set1_epi32(0xff);
    const __m128i bound = _mm_set1_epi32(int(limit) + 1);
    const __m128i one = _mm_set1_epi8(1);
    const __m128i alphaBytes = _mm_set1_epi32(int(0xff000000u));
    for (; x + 16 <= count; x += 16) {
        const auto *in = reinterpret_cast<const __m128i *>(pixels + 4 * x);
        __m128i v[4];
        for (int i = 0; i < 4; ++i)
            v[i] = _mm_loadu_si128(in + i);
        const __m128i alphas = _mm_and_si128(
            _mm_or_si128(_mm_or_si128(v[0], v[1]), _mm_or_si128(v[2], v[3])), alphaBytes);
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(alphas, _mm_setzero_si128())) == 0xffff) {
            _mm_storeu_si128(reinterpret_cast<__m128i *>(flags + x), one);
            continue;
        }
        __m128i brighter[4];
        for (int i = 0; i < 4; ++i) {
            // Byte 0 of each pixel ends up holding the largest of blue, green and red.
            __m128i brightest = _mm_max_epu8(v[i], _mm_srli_epi32(v[i], 8));
            brightest = _mm_and_si128(_mm_max_epu8(brightest, _mm_srli_epi32(v[i], 16)), low);
            const __m128i alpha = _mm_srli_epi32(v[i], 24);
            // Both factors sit in the low half of each 32-bit lane, so the 16-bit product is
            // the whole product.
            const __m128i product = _mm_mullo_epi16(alpha, _mm_sub_epi32(low, brightest));
            brighter[i] = _mm_cmpgt_epi32(bound, product);
        }
        const __m128i words = _mm_packs_epi32(brighter[0], brighter[1]);
        const __m128i words2 = _mm_packs_epi32(brighter[2], brighter[3]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(flags + x),
                         _mm_and_si128(_mm_packs_epi16(words, words2), one));
    }
#endif
    for (; x < count; ++x)
        flags[x] = brighterPixel(pixels + 4 * x, limit);
}

// Packs flags (0 or 1 per pixel) into bits, the first pixel in the most significant bit; the
// unused low bits of the last byte are 0.
void packFlags(const uchar *flags, int count, uchar *out)
{
    int x = 0;
    for (; x + 8 <= count; x += 8) {
        quint64 eight;
        std::memcpy(&eight, flags + x, 8);
        // Byte i (0 or 1) lands in bit 7 - i of the top byte.
        out[x / 8] = uchar((qFromLittleEndian(eight) * 0x8040201008040201ULL) >> 56);
    }
    if (x < count) {
        uchar last = 0;
        for (int i = 0; x + i < count; ++i)
            last |= uchar(flags[x + i] << (7 - i));
        out[x / 8] = last;
    }
}

// BT.601 luma, as GraphicsAdditions::grayRepresentation computes it, of pixels over white.
// Most pixels of a page are either untouched (transparent) or opaque.
void lumaOverWhite(const uchar *pixels, int count, uchar *out)
{
    for (int x = 0; x < count; ++x) {
        const uchar *p = pixels + 4 * x;
        const int alpha = p[3];
        int r = p[2], g = p[1], b = p[0];
        if (alpha == 0) {
            out[x] = 255;
            continue;
        }
        if (alpha != 255) {
            r = overWhite(r, alpha);
            g = overWhite(g, alpha);
            b = overWhite(b, alpha);
        }
        out[x] = uchar((299 * r + 587 * g + 114 * b + 500) / 1000);
    }
}

// Where a scaled page sits on the canvas: centred, the odd pixel of a band going right and
// down, so that the page is never resampled.
QRect placement(const QImage &page)
{
    return QRect((FXFaxPageGenerator::canvasWidth - page.width()) / 2,
                 (FXFaxPageGenerator::canvasHeight - page.height()) / 2, page.width(),
                 page.height());
}

FXRaster thresholdScaledPage(const QImage &page, int level)
{
    FXRaster bits(FXFaxPageGenerator::canvasWidth, FXFaxPageGenerator::canvasHeight,
                  FXRaster::Bilevel);
    if (bits.isNull())
        return bits;
    const QRect area = placement(page);
    const int width = bits.width();
    std::vector<uchar> flags(size_t(width), uchar(255 > level));
    std::vector<uchar> bandRow(size_t(bits.usedBytesPerRow()));
    packFlags(flags.data(), width, bandRow.data());
    for (int y = 0; y < bits.height(); ++y) {
        uchar *out = bits.row(y);
        if (y < area.top() || y > area.bottom()) {
            std::copy(bandRow.begin(), bandRow.end(), out);
            continue;
        }
        brighterThan(page.constScanLine(y - area.top()), area.width(), level,
                     flags.data() + area.left());
        packFlags(flags.data(), width, out);
    }
    return bits;
}

FXRaster grayScaledPage(const QImage &page)
{
    FXRaster gray(FXFaxPageGenerator::canvasWidth, FXFaxPageGenerator::canvasHeight,
                  FXRaster::Gray);
    if (gray.isNull())
        return gray;
    const QRect area = placement(page);
    std::memset(gray.bytes(), 255, size_t(gray.byteCount()));
    for (int y = 0; y < page.height(); ++y)
        lumaOverWhite(page.constScanLine(y), page.width(), gray.row(area.top() + y) + area.left());
    return gray;
}

} // namespace

float FXFaxPageGenerator::thresholdForLevel(int level)
{
    switch (level) {
    case 0:
        return 0.34f;
    case 1:
        return 0.55f;
    case 2:
        return 0.70f;
    case 3:
        return 0.84f;
    case 4:
        return 0.99f;
    default:
        return 0.84f;
    }
}

QString FXFaxPageGenerator::pageLabel(int page, int pageCount)
{
    return QString::asprintf("%02d/%02d", page, pageCount);
}

void FXFaxPageGenerator::keepPageMemory()
{
    // Below glibc's largest mmap threshold (32 MiB), a canvas comes from the heap; a trim
    // threshold above two canvases keeps the freed one there for the next page.
    static_assert(qint64(canvasWidth) * canvasHeight * 4 < (qint64(32) << 20));
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 80 << 20);
}

FXFaxPageGenerator::PreparedPage FXFaxPageGenerator::preparePage(QPdfDocument &document, int page,
                                                                 int useType, int threshold)
{
    PreparedPage prepared;
    try {
        FXRaster converted;
        {
            const QImage scaledPage = renderScaledPage(document, page);
            if (scaledPage.isNull())
                return prepared;
            converted = convertScaledPage(scaledPage, useType, threshold);
        }
        if (converted.isNull()) {
            prepared.outcome = PreparedPage::OutOfMemory;
            return prepared;
        }
        if (FXFaxImageEncoder::isBilevel(converted)) {
            prepared.stream = FXFaxImageEncoder::group4(converted);
        } else {
            prepared.stream = FXFaxImageEncoder::flate(converted);
            prepared.encoding = FXPageImagePDFWriter::Flate;
        }
        if (!prepared.stream.isEmpty()) {
            prepared.outcome = PreparedPage::Written;
            prepared.width = converted.width();
            prepared.height = converted.height();
        }
    } catch (const std::bad_alloc &) {
        prepared = PreparedPage();
        prepared.outcome = PreparedPage::OutOfMemory;
    }
    return prepared;
}

QImage FXFaxPageGenerator::renderScaledPage(QPdfDocument &document, int page)
{
    if (page < 1 || page > document.pageCount())
        return QImage();
    // The crop box as a viewer shows it: its origin does not shift the page, and /Rotate
    // turns it.
    const QSizeF box = document.pagePointSize(page - 1);
    const double w = box.width();
    const double h = box.height();
    if (!(w > 0 && h > 0) || !std::isfinite(w) || !std::isfinite(h))
        return QImage();
    const double s = std::min(canvasWidth / w, canvasHeight / h);
    // Truncated, as the page must not overhang; the tolerance keeps the axis the page touches
    // at the full canvas size where w * (2380 / w) lands a hair below 2380.
    const int scaledWidth = std::min(int(w * s + 1e-6), canvasWidth);
    const int scaledHeight = std::min(int(h * s + 1e-6), canvasHeight);
    if (scaledWidth < 1 || scaledHeight < 1)
        return QImage();

    QPdfDocumentRenderOptions options;
    options.setRenderFlags(QPdfDocumentRenderOptions::RenderFlag::Annotations);
    return document.render(page - 1, QSize(scaledWidth, scaledHeight), options);
}

FXRaster FXFaxPageGenerator::convertScaledPage(const QImage &scaledPage, int useType, int threshold)
{
    if (scaledPage.isNull() || scaledPage.width() > canvasWidth
        || scaledPage.height() > canvasHeight)
        return FXRaster();
    QImage page = scaledPage;
    if (page.format() != QImage::Format_ARGB32)
        page.convertTo(QImage::Format_ARGB32);
    if (useType != Text)
        return GraphicsAdditions::errorDiffusionRepresentation(grayScaledPage(page));
    return thresholdScaledPage(page,
                               GraphicsAdditions::levelForThreshold(thresholdForLevel(threshold)));
}

FXFaxPageGenerator::Result FXFaxPageGenerator::generatePDFWithData(const QByteArray &data,
                                                                   const QString &withHeader,
                                                                   int useType, int threshold,
                                                                   const QString &toPath,
                                                                   UnreadableInput unreadable)
{
    QByteArray bytes = data;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return generatePDFWithDevice(&buffer, withHeader, useType, threshold, toPath, unreadable);
}

FXFaxPageGenerator::Result FXFaxPageGenerator::generatePDFWithDevice(
    QIODevice *input, const QString &withHeader, int useType, int threshold, const QString &toPath,
    UnreadableInput unreadable, const PageWritten &pageWritten, int firstPage,
    const FirstPageReady &firstPageReady)
{
    // The header text is not stamped: the pages carry only their images.
    Q_UNUSED(withHeader)
    try {
        return preparePages(input, useType, threshold, toPath, unreadable, pageWritten, firstPage,
                            firstPageReady);
    } catch (const std::bad_alloc &) {
        Result result;
        result.errorString = QStringLiteral("Not enough memory to prepare the pages.");
        return result;
    }
}

FXFaxPageGenerator::Result FXFaxPageGenerator::preparePages(
    QIODevice *input, int useType, int threshold, const QString &toPath, UnreadableInput unreadable,
    const PageWritten &pageWritten, int firstPage, const FirstPageReady &firstPageReady)
{
    Result result;

    // Qt Pdf gets only what qpdf has found within bounds: a page tree too deep for it is
    // unreadable, and pages beyond the memory budget are left out.
    const FXPDFInspection::Result inspection =
        input ? FXPDFInspection::inspect(input) : FXPDFInspection::Result();
    QPdfDocument document;
    if (inspection.readable && input->isReadable() && !input->isSequential())
        document.load(input);
    result.readable = document.status() == QPdfDocument::Status::Ready;
    int pageCount = result.readable ? std::max(document.pageCount(), 0) : 0;
    if (result.readable && pageCount != inspection.pageCount
        && !inspection.pagesOverBudget.empty()) {
        // The two read the page tree differently, so the pages to leave out are not known.
        qCWarning(lcDocument, "Qt Pdf finds %d pages where qpdf finds %d", pageCount,
                  inspection.pageCount);
        result.readable = false;
        pageCount = 0;
    }
    result.sourcePageCount = pageCount;
    if (!result.readable && unreadable == LeaveOutputUntouched) {
        result.errorString = QStringLiteral("The document is not a readable PDF.");
        return result;
    }

    FXPageImagePDFWriter writer(toPath);
    if (!writer.open()) {
        result.errorString = writer.errorString();
        return result;
    }

    // Both processes take pages from the same counter; finished pages wait here until the
    // ones before them are written, so the document comes out as it would from one process.
    FXPageWorker worker(pageCount, inspection.pagesOverBudget);
    const bool outOfTurn = firstPageReady && firstPage >= 1 && firstPage <= pageCount;
    if (outOfTurn)
        worker.takeFirst(firstPage);
    if (pageCount >= 2)
        worker.start(input, useType, threshold);
    std::map<int, PreparedPage> finished;
    int nextToWrite = 1;
    bool writeFailed = false;
    const auto writeFinished = [&] {
        for (auto it = finished.find(nextToWrite); it != finished.end() && !writeFailed;
             it = finished.find(++nextToWrite)) {
            const PreparedPage &page = it->second;
            if (page.outcome != PreparedPage::Written)
                reportSkippedPage(nextToWrite, pageCount,
                                  page.outcome == PreparedPage::OutOfMemory);
            else if (!writer.addPage(page.stream, page.encoding, page.width, page.height))
                writeFailed = true;
            else if (pageWritten)
                pageWritten(writer);
            finished.erase(it);
        }
    };
    // The pages the helper took but never sent, when it has ended, are left out.
    const auto skipLostPages = [&] {
        for (int page : worker.lostPages(nextToWrite, finished))
            finished.emplace(page, PreparedPage());
    };
    const auto prepare = [&](int page) {
        PreparedPage prepared;
        if (worker.isSkipped(page))
            prepared.outcome = PreparedPage::OutOfMemory;
        else
            prepared = preparePage(document, page, useType, threshold);
        finished.emplace(page, std::move(prepared));
    };

    // Ready while the helper is on its first page; it is written at its place like any other.
    if (outOfTurn) {
        prepare(firstPage);
        firstPageReady(finished.at(firstPage), pageCount);
    }

    while (!writeFailed) {
        // Waits for the helper when too many of this process's pages are held back by one
        // of its pages, so that held pages stay few.
        worker.receive(finished, finished.size() >= maxHeldPages);
        skipLostPages();
        writeFinished();
        const int page = worker.claim();
        if (page == 0)
            break;
        prepare(page);
        writeFinished();
    }
    while (!writeFailed && worker.isRunning()) {
        worker.receive(finished, true);
        writeFinished();
    }
    if (!writeFailed) {
        skipLostPages();
        writeFinished();
    }

    if (writeFailed || !writer.commit()) {
        result.errorString = writer.errorString();
        return result;
    }
    result.written = true;
    result.pageCount = writer.pageCount();
    result.helperPageCount = worker.deliveredPageCount();
    return result;
}
