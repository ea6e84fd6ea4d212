#include "TestEnvironment.h"
#include "document/FXFaxPageGenerator.h"
#include "document/GraphicsAdditions.h"

#include <QDir>
#include <QFile>
#include <QPdfDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

namespace {

QString fixturePath(const QString &name)
{
    return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
}

QByteArray fixture(const QString &name)
{
    QFile file(fixturePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

struct ToolRun
{
    int exitCode = -1;
    QString output;
};

// Runs one of the independent readers (poppler-utils, qpdf).
ToolRun runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    ToolRun run;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    return run;
}

struct ImageListing
{
    int page, width, height, bitsPerComponent;
    QString encoding;
};

QList<ImageListing> listImages(const QString &pdf)
{
    QList<ImageListing> images;
    const QStringList lines = runTool(QStringLiteral("pdfimages"), {QStringLiteral("-list"), pdf})
                                  .output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines.mid(2)) {
        const QStringList f = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (f.size() >= 9)
            images.append({f[0].toInt(), f[3].toInt(), f[4].toInt(), f[7].toInt(), f[8]});
    }
    return images;
}

// Black pixels of a page as written (a 1-bit raster, or grey below 128) and their bounds.
struct Darkness
{
    qint64 count = 0;
    QRect bounds;
};

Darkness darkness(const FXRaster &raster)
{
    Darkness d;
    int left = INT_MAX, top = INT_MAX, right = -1, bottom = -1;
    for (int y = 0; y < raster.height(); ++y) {
        const uchar *row = raster.row(y);
        for (int x = 0; x < raster.width(); ++x) {
            const bool dark = raster.layout() == FXRaster::Bilevel
                                  ? !((row[x / 8] >> (7 - x % 8)) & 1)
                                  : row[x * raster.samplesPerPixel()] < 128;
            if (dark) {
                ++d.count;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    if (right >= 0)
        d.bounds = QRect(QPoint(left, top), QPoint(right, bottom));
    return d;
}

bool sameUsedBytes(const FXRaster &a, const FXRaster &b)
{
    if (a.layout() != b.layout() || a.width() != b.width() || a.height() != b.height())
        return false;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.row(y), b.row(y), size_t(a.usedBytesPerRow())) != 0)
            return false;
    }
    return true;
}

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestFXFaxPageGenerator : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString output(const QString &name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_dir.isValid());
        for (const char *tool : {"pdfinfo", "pdfimages", "pdftocairo", "qpdf"})
            QVERIFY2(!QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty(), tool);
    }

    void thresholdTable_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<float>("threshold");
        QTest::newRow("0") << 0 << 0.34f;
        QTest::newRow("1") << 1 << 0.55f;
        QTest::newRow("2") << 2 << 0.70f;
        QTest::newRow("3") << 3 << 0.84f;
        QTest::newRow("4") << 4 << 0.99f;
        QTest::newRow("5 behaves as 3") << 5 << 0.84f;
        QTest::newRow("-1 behaves as 3") << -1 << 0.84f;
    }
    void thresholdTable()
    {
        QFETCH(int, level);
        QFETCH(float, threshold);
        QCOMPARE(FXFaxPageGenerator::thresholdForLevel(level), threshold);
    }

    void pageLabel_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("label");
        QTest::newRow("1 of 1") << 1 << 1 << QStringLiteral("01/01");
        QTest::newRow("3 of 12") << 3 << 12 << QStringLiteral("03/12");
        QTest::newRow("100 of 120") << 100 << 120 << QStringLiteral("100/120");
    }
    void pageLabel()
    {
        QFETCH(int, page);
        QFETCH(int, count);
        QFETCH(QString, label);
        QCOMPARE(FXFaxPageGenerator::pageLabel(page, count), label);
    }

    // Pages painted black edge to edge show where a page lands on the canvas.
    void placement_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QRect>("page");
        QTest::newRow("A4 fills the canvas") << "a4-black.pdf" << QRect(0, 0, 2380, 3368);
        QTest::newRow("US Letter: bands of 144") << "letter-black.pdf" << QRect(0, 144, 2380, 3080);
        // 2380 / 842 scales 595 to 1681.8, truncated; the odd band pixel goes down.
        QTest::newRow("landscape: scaled to the width")
            << "landscape-black.pdf" << QRect(0, 843, 2380, 1681);
        QTest::newRow("crop box away from the origin")
            << "cropbox-offset.pdf" << QRect(0, 0, 2380, 3368);
        QTest::newRow("turned a quarter") << "rotated.pdf" << QRect(0, 843, 2380, 1681);
    }
    void placement()
    {
        QFETCH(QString, name);
        QFETCH(QRect, page);
        QPdfDocument document;
        QCOMPARE(document.load(fixturePath(name)), QPdfDocument::Error::None);
        const FXRaster canvas = FXFaxPageGenerator::renderPageImage(document, 1);
        QCOMPARE(canvas.layout(), FXRaster::Rgba);
        QCOMPARE(canvas.width(), 2380);
        QCOMPARE(canvas.height(), 3368);
        // Opaque everywhere; black on the page, white in the bands.
        for (int y = 0; y < canvas.height(); ++y) {
            const auto *row = reinterpret_cast<const quint32 *>(canvas.row(y));
            for (int x = 0; x < canvas.width(); ++x) {
                const quint32 expected =
                    page.contains(x, y) ? qToLittleEndian(0xff000000u) : 0xffffffffu;
                if (row[x] != expected)
                    QFAIL(qPrintable(QStringLiteral("pixel %1,%2 is %3")
                                         .arg(x)
                                         .arg(y)
                                         .arg(row[x], 8, 16, QLatin1Char('0'))));
            }
        }
    }

    // The share of black in what is written for a page.
    void blackShare_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::addColumn<double>("share");
        QTest::newRow("blank page") << "blank.pdf" << 0 << 4 << 0.0;
        QTest::newRow("blank page, mixed") << "blank.pdf" << 1 << 0 << 0.0;
        QTest::newRow("black page") << "a4-black.pdf" << 0 << 0 << 1.0;
        // One saturated channel is bright enough at every level.
        QTest::newRow("red at level 0") << "red.pdf" << 0 << 0 << 0.0;
        QTest::newRow("red at level 4") << "red.pdf" << 0 << 4 << 0.0;
        // Half-transparent black shows as mid grey over white, not black over black.
        QTest::newRow("half-transparent, light") << "half-transparent.pdf" << 0 << 0 << 0.0;
        QTest::newRow("half-transparent, dark") << "half-transparent.pdf" << 0 << 4 << 1.0;
        QTest::newRow("half-transparent, mixed") << "half-transparent.pdf" << 1 << 2 << 0.5;
    }
    void blackShare()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, level);
        QFETCH(double, share);
        QPdfDocument document;
        QCOMPARE(document.load(fixturePath(name)), QPdfDocument::Error::None);
        const FXRaster page = FXFaxPageGenerator::convertScaledPage(
            FXFaxPageGenerator::renderScaledPage(document, 1), type, level);
        QCOMPARE(page.width(), 2380);
        const double measured = double(darkness(page).count) / (2380.0 * 3368.0);
        QVERIFY2(std::abs(measured - share) < 0.02, qPrintable(QString::number(measured)));
    }

    // The one-pass conversion the pipeline uses gives what the canvas and the documented
    // conversions give.
    void onePassMatchesCanvasConversion_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        for (const char *name : {"text.pdf", "photo.pdf", "half-transparent.pdf",
                                 "letter-black.pdf", "landscape-black.pdf"}) {
            for (int level = 0; level <= 4; level += 2)
                QTest::addRow("%s text %d", name, level) << QString::fromLatin1(name) << 0 << level;
            QTest::addRow("%s mixed", name) << QString::fromLatin1(name) << 1 << 2;
        }
    }
    void onePassMatchesCanvasConversion()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, level);
        QPdfDocument document;
        QCOMPARE(document.load(fixturePath(name)), QPdfDocument::Error::None);
        const QImage scaled = FXFaxPageGenerator::renderScaledPage(document, 1);
        const FXRaster converted =
            FXFaxPageGenerator::convertPage(FXFaxPageGenerator::placeOnCanvas(scaled), type, level);
        const FXRaster expected =
            type == 0 ? GraphicsAdditions::binaryRepresentation(converted) : converted;
        QVERIFY(
            sameUsedBytes(FXFaxPageGenerator::convertScaledPage(scaled, type, level), expected));
    }

    void output_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("encoding");
        QTest::addColumn<int>("bits");
        QTest::newRow("text") << "text.pdf" << 0 << 1 << "ccitt" << 1;
        QTest::newRow("three sizes") << "three-pages.pdf" << 0 << 3 << "ccitt" << 1;
        // White margins leave no grey in column 0 and the last row.
        QTest::newRow("three sizes, mixed") << "three-pages.pdf" << 1 << 3 << "ccitt" << 1;
        QTest::newRow("photograph") << "photo.pdf" << 0 << 1 << "ccitt" << 1;
        // The ramp reaches column 0, which keeps its grey: 8-bit Flate.
        QTest::newRow("photograph, mixed") << "photo.pdf" << 1 << 1 << "image" << 8;
        QTest::newRow("no pages") << "no-pages.pdf" << 0 << 0 << "" << 0;
    }
    void output()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, pages);
        QFETCH(QString, encoding);
        QFETCH(int, bits);
        const QString out = output(QStringLiteral("output.pdf"));
        // Run off the main thread, as the application does.
        const FXFaxPageGenerator::Result result =
            QtConcurrent::run([&] {
                return FXFaxPageGenerator::generatePDFWithData(fixture(name), QString(), type, 2,
                                                               out);
            }).result();
        QVERIFY(result.written);
        QCOMPARE(result.pageCount, pages);

        QCOMPARE(runTool(QStringLiteral("qpdf"), {QStringLiteral("--check"), out}).exitCode, 0);
        if (pages == 0) {
            QPdfDocument reread;
            reread.load(out);
            QCOMPARE(reread.pageCount(), 0);
            return;
        }
        const QString info =
            runTool(QStringLiteral("pdfinfo"), {QStringLiteral("-f"), QStringLiteral("1"),
                                                QStringLiteral("-l"), QString::number(pages), out})
                .output;
        QVERIFY(info.contains(QRegularExpression(QStringLiteral("^Pages: +%1$").arg(pages),
                                                 QRegularExpression::MultilineOption)));
        QCOMPARE(info.count(QRegularExpression(QStringLiteral("Page +\\d+ size: +595 x 842 pts"))),
                 pages);
        const QList<ImageListing> images = listImages(out);
        QCOMPARE(images.size(), pages);
        for (int i = 0; i < pages; ++i) {
            QCOMPARE(images[i].page, i + 1);
            QCOMPARE(images[i].width, 2380);
            QCOMPARE(images[i].height, 3368);
            QCOMPARE(images[i].bitsPerComponent, bits);
            QCOMPARE(images[i].encoding, encoding);
        }
    }

    // poppler, rendering what we wrote at 288 dpi, sees exactly the converted raster. Its Cairo
    // rasteriser is used: the Splash one behind pdftoppm widens every image by one device pixel
    // (image bounds end at floor(x) + 1), which smears a full-page image by a row and a column.
    void renderedBackExactly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::newRow("text") << "text.pdf" << 0 << 2;
        QTest::newRow("text, darkest") << "text.pdf" << 0 << 4;
        QTest::newRow("photograph") << "photo.pdf" << 0 << 0;
        QTest::newRow("letter with bands") << "letter-black.pdf" << 0 << 2;
        QTest::newRow("photograph, mixed (grey)") << "photo.pdf" << 1 << 2;
    }
    void renderedBackExactly()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, level);
        const QString out = output(QStringLiteral("roundtrip.pdf"));
        QVERIFY(FXFaxPageGenerator::generatePDFWithData(fixture(name), QString(), type, level, out)
                    .written);
        const QString prefix = output(QStringLiteral("roundtrip"));
        QCOMPARE(runTool(QStringLiteral("pdftocairo"),
                         {QStringLiteral("-png"), QStringLiteral("-r"), QStringLiteral("288"),
                          QStringLiteral("-gray"), QStringLiteral("-singlefile"), out, prefix})
                     .exitCode,
                 0);
        const QImage seen(prefix + QStringLiteral(".png"));
        QCOMPARE(seen.size(), QSize(2380, 3368));

        QPdfDocument document;
        QCOMPARE(document.load(fixturePath(name)), QPdfDocument::Error::None);
        const FXRaster expected =
            GraphicsAdditions::grayRepresentation(FXFaxPageGenerator::convertPage(
                FXFaxPageGenerator::renderPageImage(document, 1), type, level));
        const QImage seenGray = seen.convertToFormat(QImage::Format_Grayscale8);
        for (int y = 0; y < 3368; ++y) {
            if (std::memcmp(seenGray.constScanLine(y), expected.row(y), 2380) != 0)
                QFAIL(qPrintable(QStringLiteral("row %1 differs").arg(y)));
        }
    }

    // Levels outside the table behave as level 3, and mixed pages ignore the level: the
    // written files are the same byte for byte.
    void levelsThatGiveTheSameDocument_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("sameAsLevel");
        QTest::newRow("5 is 3") << 0 << 5 << 3;
        QTest::newRow("-1 is 3") << 0 << -1 << 3;
        QTest::newRow("mixed ignores 0") << 1 << 0 << 4;
        QTest::newRow("mixed ignores 9") << 7 << 9 << 2;
    }
    void levelsThatGiveTheSameDocument()
    {
        QFETCH(int, type);
        QFETCH(int, level);
        QFETCH(int, sameAsLevel);
        const QByteArray input = fixture(QStringLiteral("photo.pdf"));
        const QString a = output(QStringLiteral("a.pdf"));
        const QString b = output(QStringLiteral("b.pdf"));
        QVERIFY(FXFaxPageGenerator::generatePDFWithData(input, QString(), type, level, a).written);
        QVERIFY(FXFaxPageGenerator::generatePDFWithData(input, QString(), type, sameAsLevel, b)
                    .written);
        QCOMPARE(fileBytes(a), fileBytes(b));
        if (type == 0) {
            // ... while the levels themselves matter.
            QVERIFY(FXFaxPageGenerator::generatePDFWithData(input, QString(), type, 2, b).written);
            QVERIFY(fileBytes(a) != fileBytes(b));
        }
    }

    void damagedInput_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("readable");
        QTest::addColumn<int>("pages");
        QTest::newRow("truncated") << "truncated.pdf" << false << 0;
        // PDFium rebuilds a broken cross-reference table by scanning the file.
        QTest::newRow("broken cross-references") << "broken-xref.pdf" << true << 1;
        QTest::newRow("random bytes") << "random.bin" << false << 0;
        QTest::newRow("empty file") << "empty.pdf" << false << 0;
        QTest::newRow("no pages") << "no-pages.pdf" << false << 0;
        QTest::newRow("password-protected") << "encrypted.pdf" << false << 0;
        QTest::newRow("missing page object") << "missing-page.pdf" << false << 0;
        QTest::newRow("a million pages claimed") << "huge-count.pdf" << false << 0;
        QTest::newRow("a page too flat to render") << "sliver-page.pdf" << true << 1;
    }
    void damagedInput()
    {
        QFETCH(QString, name);
        QFETCH(bool, readable);
        QFETCH(int, pages);
        const QString out = output(QStringLiteral("damaged.pdf"));
        const FXFaxPageGenerator::Result result =
            FXFaxPageGenerator::generatePDFWithData(fixture(name), QString(), 0, 2, out);
        QCOMPARE(result.readable, readable);
        QVERIFY(result.written);
        QCOMPARE(result.pageCount, pages);
        QCOMPARE(runTool(QStringLiteral("qpdf"), {QStringLiteral("--check"), out}).exitCode, 0);
        QCOMPARE(listImages(out).size(), pages);
    }

    void unreadableInputCanLeaveTheOutputAlone()
    {
        const QString out = output(QStringLiteral("kept.pdf"));
        QFile file(out);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("previous contents");
        file.close();
        const FXFaxPageGenerator::Result result = FXFaxPageGenerator::generatePDFWithData(
            fixture(QStringLiteral("random.bin")), QString(), 0, 2, out,
            FXFaxPageGenerator::LeaveOutputUntouched);
        QVERIFY(!result.readable);
        QVERIFY(!result.written);
        QCOMPARE(fileBytes(out), QByteArray("previous contents"));
    }

    void unwritableOutput()
    {
        const QString out = output(QStringLiteral("no/such/folder/out.pdf"));
        const FXFaxPageGenerator::Result result = FXFaxPageGenerator::generatePDFWithData(
            fixture(QStringLiteral("three-pages.pdf")), QString(), 0, 2, out);
        QVERIFY(result.readable);
        QVERIFY(!result.written);
        QVERIFY(!result.errorString.isEmpty());
        QVERIFY(!QFile::exists(out));
    }
};

QTEST_GUILESS_MAIN(TestFXFaxPageGenerator)
#include "tst_fxfaxpagegenerator.moc"
