#include "TestEnvironment.h"
#include "document/FXFaxImageEncoder.h"
#include "document/FXFaxPageGenerator.h"
#include "document/FXGroup4Encoder.h"
#include "document/GraphicsAdditions.h"

#include <QPdfDocument>
#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QTest>

#include <tiffio.h>

#include <functional>
#include <vector>

Q_DECLARE_METATYPE(FXRaster)

namespace {

// libtiff's Group 4 encoder as the reference: a TIFF file of one strip written row by row,
// the strip's bytes read back out of it.
QByteArray libtiffGroup4(const FXRaster &bilevel)
{
    QTemporaryFile file;
    if (!file.open())
        return QByteArray();
    TIFF *t = TIFFOpen(QFile::encodeName(file.fileName()).constData(), "w");
    if (!t)
        return QByteArray();
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, uint32_t(bilevel.width()));
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, uint32_t(bilevel.height()));
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, uint16_t(1));
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, uint16_t(1));
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, uint32_t(bilevel.height()));
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(t, TIFFTAG_GROUP4OPTIONS, uint32_t(0));
    // The coder counts runs of 0 bits as white, so black goes in as 1.
    std::vector<uchar> row(size_t(TIFFScanlineSize(t)));
    bool written = true;
    for (int y = 0; written && y < bilevel.height(); ++y) {
        for (size_t i = 0; i < row.size(); ++i)
            row[i] = uchar(~bilevel.row(y)[i]);
        written = TIFFWriteScanline(t, row.data(), uint32_t(y), 0) >= 0;
    }
    written = written && TIFFFlushData(t);
    const uint64_t offset = TIFFGetStrileOffset(t, 0);
    const uint64_t count = TIFFGetStrileByteCount(t, 0);
    TIFFClose(t);
    if (!written || !file.seek(qint64(offset)))
        return QByteArray();
    return file.read(qint64(count));
}

FXRaster pattern(int width, int height, const std::function<bool(int, int)> &black)
{
    FXRaster raster(width, height, FXRaster::Bilevel);
    for (int y = 0; y < height; ++y) {
        uchar *row = raster.row(y);
        for (int x = 0; x < width; ++x) {
            if (!black(x, y))
                row[x / 8] |= uchar(0x80 >> (x % 8));
        }
    }
    return raster;
}

FXRaster noise(int width, int height, double density, quint32 seed)
{
    QRandomGenerator random(seed);
    return pattern(width, height, [&](int, int) { return random.generateDouble() < density; });
}

// Random bits past the width in each row's last byte and random padding bytes.
FXRaster withGarbagePadding(FXRaster raster)
{
    QRandomGenerator random(7);
    const int rest = raster.width() % 8;
    for (int y = 0; y < raster.height(); ++y) {
        uchar *row = raster.row(y);
        if (rest)
            row[raster.usedBytesPerRow() - 1] ^= uchar(random.bounded(256) >> rest);
        for (qsizetype i = raster.usedBytesPerRow(); i < raster.bytesPerRow(); ++i)
            row[i] = uchar(random.bounded(256));
    }
    return raster;
}

// A fixture's first page as it is sent: thresholded text, or a diffused photograph in 1 bit.
FXRaster renderedPage(const QString &name, int type)
{
    QPdfDocument document;
    document.load(TestEnvironment::dataDir() + QStringLiteral("/document/") + name);
    return GraphicsAdditions::binaryRepresentation(FXFaxPageGenerator::convertScaledPage(
        FXFaxPageGenerator::renderScaledPage(document, 1), type, 3));
}

} // namespace

class TestFXGroup4Encoder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchesLibtiff_data()
    {
        QTest::addColumn<FXRaster>("raster");
        QTest::addColumn<QByteArray>("expected");
        const auto add = [](const char *name, const FXRaster &raster) {
            QTest::newRow(name) << raster << libtiffGroup4(raster);
        };
        const auto never = [](int, int) { return false; };
        const auto always = [](int, int) { return true; };

        add("white page", pattern(2380, 3368, never));
        add("black", pattern(2380, 40, always));
        add("dot at column 0", pattern(2380, 5, [](int x, int y) { return x == 0 && y == 2; }));
        add("dot at last column",
            pattern(2380, 5, [](int x, int y) { return x == 2379 && y == 2; }));
        add("dot in last row", pattern(100, 9, [](int x, int y) { return x == 50 && y == 8; }));
        add("checkerboard 1x1", pattern(101, 37, [](int x, int y) { return (x + y) % 2; }));
        add("checkerboard 3x3",
            pattern(2380, 60, [](int x, int y) { return (x / 3 + y / 3) % 2; }));
        add("stripes 1 wide", pattern(2380, 4, [](int x, int) { return x % 2; }));
        add("columns starting black", pattern(64, 6, [](int x, int y) { return x < y; }));
        for (const double density : {0.01, 0.1, 0.5, 0.9, 0.99}) {
            const QByteArray name = "noise " + QByteArray::number(density);
            add(name.constData(), noise(2380, 60, density, 42));
        }
        for (const int width : {1, 7, 63, 64, 65, 127, 2380}) {
            const QByteArray name = "noise width " + QByteArray::number(width);
            add(name.constData(), noise(width, 40, 0.3, quint32(width)));
        }
        add("height 1", noise(2380, 1, 0.2, 1));
        add("height 2", noise(2380, 2, 0.2, 2));
        // White runs of every length from 0 to 2700 in horizontal mode, each followed by a
        // black run to column 2700, every other row white.
        add("run ladder",
            pattern(2800, 5402, [](int x, int y) { return y % 2 == 0 && x >= y / 2 && x < 2700; }));
        // Runs around the make-up code boundaries and beyond the longest one.
        add("long runs", pattern(9000, 18, [](int x, int y) {
                static constexpr int starts[] = {0, 2559, 2560, 2623, 2624, 5184, 5248, 6376, 8999};
                return y % 2 == 0 && x >= starts[y / 2];
            }));
        add("black 9000 wide", pattern(9000, 2, always));
        add("text page", renderedPage(QStringLiteral("text.pdf"), FXFaxPageGenerator::Text));
        add("diffused photo page",
            renderedPage(QStringLiteral("photo.pdf"), FXFaxPageGenerator::Mixed));

        // Garbage past the width must not change the code.
        for (const int width : {33, 2350}) {
            const FXRaster clean = noise(width, 30, 0.4, 3);
            const QByteArray name = "garbage padding width " + QByteArray::number(width);
            QTest::newRow(name.constData()) << withGarbagePadding(clean) << libtiffGroup4(clean);
        }
    }

    void matchesLibtiff()
    {
        QFETCH(FXRaster, raster);
        QFETCH(QByteArray, expected);
        QCOMPARE(raster.layout(), FXRaster::Bilevel);
        QVERIFY(!expected.isEmpty());

        const auto compare = [&](const QByteArray &actual) {
            if (actual == expected)
                return true;
            qsizetype at = 0;
            while (at < qMin(actual.size(), expected.size()) && actual[at] == expected[at])
                ++at;
            qWarning("%lld bytes, libtiff %lld; first difference at byte %lld",
                     qlonglong(actual.size()), qlonglong(expected.size()), qlonglong(at));
            return false;
        };
        QVERIFY(compare(FXGroup4Encoder::encode(raster)));
        // The grey form of the same page goes through the same coder.
        QVERIFY(compare(FXFaxImageEncoder::group4(raster)));
        QVERIFY(compare(FXFaxImageEncoder::group4(GraphicsAdditions::grayRepresentation(raster))));
    }

    void rejectsOtherRasters()
    {
        QVERIFY(FXGroup4Encoder::encode(FXRaster()).isEmpty());
        QVERIFY(FXGroup4Encoder::encode(FXRaster(16, 4, FXRaster::Gray)).isEmpty());
        QVERIFY(FXGroup4Encoder::encode(FXRaster(16, 4, FXRaster::Rgba)).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFXGroup4Encoder)
#include "tst_fxgroup4encoder.moc"
