#include "LogCapture.h"
#include "ReferencePixelPipeline.h"
#include "document/GraphicsAdditions.h"

#include <QRandomGenerator>
#include <QTest>

using Rows = QList<QList<int>>;

namespace {

FXRaster rgbaPixel(int r, int g, int b, int a = 255)
{
    FXRaster raster(1, 1, FXRaster::Rgba);
    const uchar rgba[] = {uchar(r), uchar(g), uchar(b), uchar(a)};
    std::copy(rgba, rgba + 4, raster.bytes());
    return raster;
}

FXRaster grayRaster(const Rows &rows)
{
    FXRaster raster(int(rows.first().size()), int(rows.size()), FXRaster::Gray);
    for (int y = 0; y < rows.size(); ++y)
        std::copy(rows[y].begin(), rows[y].end(), raster.row(y));
    return raster;
}

Rows rowsOf(const FXRaster &gray)
{
    Rows rows;
    for (int y = 0; y < gray.height(); ++y)
        rows.append(QList<int>(gray.row(y), gray.row(y) + gray.width()));
    return rows;
}

// The diffusion as plainly described, on the raster's own bytes (padding included), to check
// the register-carrying implementation against on arbitrary images.
Rows plainDiffusion(const FXRaster &source)
{
    const int stride = int(source.bytesPerRow());
    std::vector<int> g(source.bytes(), source.bytes() + source.byteCount());
    const auto add = [&](int i, int share) {
        if (i < int(g.size()))
            g[size_t(i)] = std::clamp(g[size_t(i)] + share, 0, 255);
    };
    for (int y = 0; y + 1 < source.height(); ++y) {
        for (int x = 1; x < source.width(); ++x) {
            const int i = y * stride + x;
            const int e = g[size_t(i)] - (g[size_t(i)] >= 128 ? 255 : 0);
            g[size_t(i)] -= e;
            add(i + 1, 7 * e / 16);
            add(i + stride - 1, 3 * e / 16);
            add(i + stride, 5 * e / 16);
            add(i + stride + 1, e / 16);
        }
    }
    Rows rows;
    for (int y = 0; y < source.height(); ++y)
        rows.append(QList<int>(g.begin() + y * stride, g.begin() + y * stride + source.width()));
    return rows;
}

} // namespace

class TestGraphicsAdditions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void levelForThreshold_data()
    {
        QTest::addColumn<float>("threshold");
        QTest::addColumn<int>("level");
        QTest::newRow("0.34") << 0.34f << 87;
        QTest::newRow("0.55") << 0.55f << 140;
        // 0.70f widened is 0.69999998..., so 178.499... and not 178.5 rounded to even.
        QTest::newRow("0.70") << 0.70f << 178;
        QTest::newRow("0.84") << 0.84f << 214;
        QTest::newRow("0.99") << 0.99f << 252;
        QTest::newRow("above 1 clamps") << 1.5f << 255;
        QTest::newRow("below 0 clamps") << -0.2f << 0;
        QTest::newRow("tie goes to even") << 0.5f << 128; // 127.5
    }
    void levelForThreshold()
    {
        QFETCH(float, threshold);
        QFETCH(int, level);
        QCOMPARE(GraphicsAdditions::levelForThreshold(threshold), level);
    }

    void monochromePixel_data()
    {
        QTest::addColumn<QColor>("pixel");
        QTest::addColumn<float>("threshold");
        QTest::addColumn<bool>("on");
        QTest::newRow("one bright channel is enough") << QColor(200, 10, 10) << 0.70f << true;
        QTest::newRow("equal to the level stays off") << QColor(178, 178, 178) << 0.70f << false;
        QTest::newRow("one above the level") << QColor(10, 179, 10) << 0.70f << true;
        QTest::newRow("pure blue at the top level") << QColor(0, 0, 255) << 0.99f << true;
        QTest::newRow("t 1.5: white is off") << QColor(255, 255, 255) << 1.5f << false;
        QTest::newRow("t -0.2: almost black is on") << QColor(0, 0, 1) << -0.2f << true;
        QTest::newRow("t -0.2: black stays off") << QColor(0, 0, 0) << -0.2f << false;
        QTest::newRow("NaN is taken as 0") << QColor(0, 1, 0) << std::nanf("") << true;
        // Colour bytes are exact: 200 is not truncated from 199.99...
    }
    void monochromePixel()
    {
        QFETCH(QColor, pixel);
        QFETCH(float, threshold);
        QFETCH(bool, on);
        const QColor offColour(10, 20, 30);
        const QColor onColour(200, 100, 50);
        const FXRaster source = rgbaPixel(pixel.red(), pixel.green(), pixel.blue(), 77);
        const FXRaster result = ReferencePixelPipeline::monochromeImageRepWithThreshold(
            source, threshold, offColour, onColour);
        const QColor expected = on ? onColour : offColour;
        const uchar *p = result.bytes();
        QCOMPARE(QColor(p[0], p[1], p[2]), expected);
        QCOMPARE(p[3], uchar(77)); // alpha untouched
        // The receiver is not changed.
        QCOMPARE(QColor(source.bytes()[0], source.bytes()[1], source.bytes()[2]), pixel);
    }

    void gray_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<int>("gray");
        QTest::newRow("white") << QColor(255, 255, 255) << 255;
        QTest::newRow("black") << QColor(0, 0, 0) << 0;
        QTest::newRow("red") << QColor(255, 0, 0) << 76;    // 76.245
        QTest::newRow("green") << QColor(0, 255, 0) << 150; // 149.685
        QTest::newRow("blue") << QColor(0, 0, 255) << 29;   // 29.07
        QTest::newRow("mid grey") << QColor(128, 128, 128) << 128;
        QTest::newRow("rounds half up") << QColor(0, 5, 7) << 4; // 3.733
    }
    void gray()
    {
        QFETCH(QColor, colour);
        QFETCH(int, gray);
        const FXRaster result = GraphicsAdditions::grayRepresentation(
            rgbaPixel(colour.red(), colour.green(), colour.blue(), 0));
        QCOMPARE(result.layout(), FXRaster::Gray);
        QCOMPARE(int(result.bytes()[0]), gray);
    }

    void grayOfNothingIsLogged()
    {
        LogCapture log;
        QVERIFY(GraphicsAdditions::grayRepresentation(FXRaster()).isNull());
        QVERIFY(GraphicsAdditions::binaryRepresentation(FXRaster()).isNull());
        QVERIFY(GraphicsAdditions::errorDiffusionRepresentation(FXRaster()).isNull());
        QCOMPARE(log.count(QStringLiteral("***  -[NSBitmapImageRep(GraphicsAdditions) "
                                          "grayRepresentation] context is nil")),
                 3);
    }

    void binary_data()
    {
        QTest::addColumn<Rows>("gray");
        QTest::addColumn<QList<int>>("bytes");
        QTest::newRow("ten pixels make two bytes")
            << Rows{{255, 0, 128, 127, 0, 0, 0, 255, 200, 255}} << QList<int>{0xA1, 0xC0};
        QTest::newRow("a full byte")
            << Rows{{255, 255, 255, 255, 255, 255, 255, 255}} << QList<int>{0xFF};
        QTest::newRow("one pixel") << Rows{{128}} << QList<int>{0x80};
    }
    void binary()
    {
        QFETCH(Rows, gray);
        QFETCH(QList<int>, bytes);
        const FXRaster result = GraphicsAdditions::binaryRepresentation(grayRaster(gray));
        QCOMPARE(result.layout(), FXRaster::Bilevel);
        QCOMPARE(result.usedBytesPerRow(), bytes.size());
        QList<int> written;
        for (int i = 0; i < bytes.size(); ++i)
            written << result.row(0)[i];
        QCOMPARE(written, bytes);
    }

    void diffusion_data()
    {
        QTest::addColumn<Rows>("gray");
        QTest::addColumn<Rows>("expected");
        // (0,1) becomes 255 with e = -127: right -55, below left -23, below -39, below right
        // -7; then (0,2), 73, becomes 0 and gives 13 below left and 22 below.
        QTest::newRow("uniform 128")
            << Rows{{128, 128, 128}, {128, 128, 128}} << Rows{{128, 255, 0}, {105, 102, 143}};
        QTest::newRow("one row keeps its grey")
            << Rows{{10, 128, 200, 90}} << Rows{{10, 128, 200, 90}};
        QTest::newRow("one column keeps its grey")
            << Rows{{10}, {128}, {200}} << Rows{{10}, {128}, {200}};
        // Rows of four grey bytes are packed: the share right of a row's last pixel lands on
        // the next row's first pixel, and below right of the last visited row's last pixel
        // falls off the end.
        QTest::newRow("packed rows") << Rows{{0, 0, 0, 100}, {0, 0, 0, 0}, {0, 0, 0, 0}}
                                     << Rows{{0, 0, 0, 0}, {43, 0, 0, 0}, {22, 3, 12, 12}};
        // Rows of five are padded to eight bytes: the padding takes that share instead.
        QTest::newRow("padded rows") << Rows{{0, 0, 0, 0, 100}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}}
                                     << Rows{{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 3, 12, 12}};
        // 127 becomes 0 and pushes 55, 23, 39 and 7 onto 250s: each sum stops at 255.
        QTest::newRow("clamped at white")
            << Rows{{0, 127, 250}, {250, 250, 250}} << Rows{{0, 0, 255}, {255, 255, 255}};
        QTest::newRow("clamped at black")
            << Rows{{255, 128, 5}, {5, 5, 5}} << Rows{{255, 255, 0}, {0, 0, 0}};
    }
    void diffusion()
    {
        QFETCH(Rows, gray);
        QFETCH(Rows, expected);
        const FXRaster source = grayRaster(gray);
        const FXRaster result = GraphicsAdditions::errorDiffusionRepresentation(source);
        QCOMPARE(rowsOf(result), expected);
        QCOMPARE(rowsOf(source), gray);
    }

    void diffusionMatchesThePlainScan_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("2 x 2") << 2 << 2;
        QTest::newRow("packed 8 x 9") << 8 << 9;
        QTest::newRow("padded 13 x 7") << 13 << 7;
        QTest::newRow("padded 3 x 40") << 3 << 40;
        QTest::newRow("wide 301 x 5") << 301 << 5;
    }
    void diffusionMatchesThePlainScan()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QRandomGenerator random(quint32(width * 1000 + height));
        for (int round = 0; round < 20; ++round) {
            Rows rows(height, QList<int>(width));
            for (auto &row : rows)
                for (int &v : row)
                    v = round % 2 ? int(random.bounded(256)) : 120 + int(random.bounded(16));
            const FXRaster source = grayRaster(rows);
            QCOMPARE(rowsOf(GraphicsAdditions::errorDiffusionRepresentation(source)),
                     plainDiffusion(source));
        }
    }
};

QTEST_GUILESS_MAIN(TestGraphicsAdditions)
#include "tst_graphicsadditions.moc"
