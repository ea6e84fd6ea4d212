#include "LogCapture.h"
#include "ReferencePixelPipeline.h"
#include "TestEnvironment.h"
#include "document/FXFaxPageGenerator.h"
#include "document/FXPageWorker.h"
#include "document/GraphicsAdditions.h"

#include <QBuffer>
#include <QFile>
#include <QPdfDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

namespace {

QString fixture(const QString &name)
{
    return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
}

// Runs one of the independent readers (poppler-utils, qpdf); its output, or a null string when
// it failed.
QString runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        return QString();
    return QString::fromUtf8(process.readAllStandardOutput() + ' ');
}

FXRaster firstPage(const QString &name, int type, int level, bool onePass)
{
    QPdfDocument document;
    document.load(fixture(name));
    const QImage scaled = FXFaxPageGenerator::renderScaledPage(document, 1);
    if (onePass)
        return FXFaxPageGenerator::convertScaledPage(scaled, type, level);
    return ReferencePixelPipeline::convertPage(ReferencePixelPipeline::placeOnCanvas(scaled), type,
                                               level);
}

// Whether two rasters hold the same pixels, given as 1-bit or grey.
bool samePixels(const FXRaster &a, const FXRaster &b)
{
    const FXRaster x = GraphicsAdditions::grayRepresentation(a);
    const FXRaster y = GraphicsAdditions::grayRepresentation(b);
    if (x.width() != y.width() || x.height() != y.height())
        return false;
    for (int row = 0; row < x.height(); ++row) {
        if (std::memcmp(x.row(row), y.row(row), size_t(x.width())) != 0)
            return false;
    }
    return true;
}

// Writes an executable script standing in for the render helper.
QString helperScript(const QString &dir, const QByteArray &body)
{
    const QString path = dir + QStringLiteral("/helper");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(body);
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

} // namespace

class TestFXFaxPageGenerator : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_dir.isValid());
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
        QCOMPARE(document.load(fixture(name)), QPdfDocument::Error::None);
        const FXRaster canvas = ReferencePixelPipeline::renderPageImage(document, 1);
        QCOMPARE(canvas.layout(), FXRaster::Rgba);
        QCOMPARE(QSize(canvas.width(), canvas.height()), QSize(2380, 3368));
        // Opaque everywhere; black on the page, white in the bands.
        for (int y = 0; y < canvas.height(); ++y) {
            const auto *row = reinterpret_cast<const quint32 *>(canvas.row(y));
            for (int x = 0; x < canvas.width(); ++x) {
                if (row[x] != (page.contains(x, y) ? qToLittleEndian(0xff000000u) : 0xffffffffu))
                    QFAIL(qPrintable(QStringLiteral("pixel %1,%2").arg(x).arg(y)));
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
        const FXRaster page =
            GraphicsAdditions::grayRepresentation(firstPage(name, type, level, true));
        qint64 black = 0;
        for (int y = 0; y < page.height(); ++y)
            black += std::count_if(page.row(y), page.row(y) + page.width(),
                                   [](uchar v) { return v < 128; });
        const double measured = double(black) / (2380.0 * 3368.0);
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
        QVERIFY(
            samePixels(firstPage(name, type, level, true), firstPage(name, type, level, false)));
    }

    // What independent readers see in the written document; poppler renders its first page
    // back at 288 dpi exactly as converted. (Its Cairo rasteriser, that is: the Splash one
    // behind pdftoppm widens every image by a device pixel, image bounds ending at
    // floor(x) + 1, which smears a full-page image by a row and a column.)
    void output_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("image"); // bits per component and encoding
        QTest::newRow("text") << "text.pdf" << 0 << 2 << 1 << "1 ccitt";
        QTest::newRow("three sizes") << "three-pages.pdf" << 0 << 2 << 3 << "1 ccitt";
        // White margins leave no grey in column 0 and the last row.
        QTest::newRow("three sizes, mixed") << "three-pages.pdf" << 1 << 2 << 3 << "1 ccitt";
        QTest::newRow("photograph") << "photo.pdf" << 0 << 0 << 1 << "1 ccitt";
        // The ramp reaches column 0, which keeps its grey: 8-bit Flate.
        QTest::newRow("photograph, mixed") << "photo.pdf" << 1 << 2 << 1 << "8 image";
    }
    void output()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, level);
        QFETCH(int, pages);
        QFETCH(QString, image);
        const QString out = m_dir.filePath(QStringLiteral("output.pdf"));
        // Off the main thread, as the application runs it.
        const FXFaxPageGenerator::Result result =
            QtConcurrent::run([&] {
                return FXFaxPageGenerator::generatePDFWithData(
                    TestEnvironment::readFile(fixture(name)), QString(), type, level, out);
            }).result();
        QVERIFY(result.written);
        QCOMPARE(result.pageCount, pages);
        QVERIFY(!runTool(QStringLiteral("qpdf"), {QStringLiteral("--check"), out}).isNull());
        const QString info =
            runTool(QStringLiteral("pdfinfo"), {"-l", QString::number(pages), out});
        QVERIFY(info.contains(QRegularExpression(QStringLiteral("Pages: +%1\n").arg(pages))));
        QCOMPARE(info.count(QRegularExpression(QStringLiteral("size: +595 x 842 pts"))), pages);
        const QStringList images = runTool(QStringLiteral("pdfimages"), {"-list", out})
                                       .split(QLatin1Char('\n'))
                                       .mid(2, pages);
        const QString encoding = image.replace(QLatin1Char(' '), QStringLiteral(" +"));
        for (int i = 0; i < pages; ++i) {
            const QRegularExpression listed(
                QStringLiteral("^ +%1 +%2 image +2380 +3368 +gray +1 +%3 ")
                    .arg(i + 1)
                    .arg(i)
                    .arg(encoding));
            QVERIFY2(images.value(i).contains(listed), qPrintable(images.value(i)));
        }

        const QString prefix = m_dir.filePath(QStringLiteral("page"));
        QVERIFY(!runTool(QStringLiteral("pdftocairo"),
                         {"-png", "-gray", "-r", "288", "-singlefile", out, prefix})
                     .isNull());
        const QImage seen(prefix + QStringLiteral(".png"));
        QVERIFY(samePixels(FXRaster::fromImage(seen.convertToFormat(QImage::Format_Grayscale8)),
                           firstPage(name, type, level, false)));
    }

    // The brightness fraction of each level; the reference conversion takes it from the
    // product, so only this pins the levels' darkness.
    void thresholdLevels()
    {
        const float fractions[] = {0.34f, 0.55f, 0.70f, 0.84f, 0.99f};
        for (int level = 0; level < 5; ++level)
            QCOMPARE(FXFaxPageGenerator::thresholdForLevel(level), fractions[level]);
    }

    // Levels outside the table behave as level 3, and every type but text is mixed and
    // ignores the level: the written files are the same byte for byte.
    void levelsThatGiveTheSameDocument_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("sameAsType");
        QTest::addColumn<int>("sameAsLevel");
        QTest::newRow("5 is 3") << 0 << 5 << 0 << 3;
        QTest::newRow("-1 is 3") << 0 << -1 << 0 << 3;
        QTest::newRow("mixed ignores 0") << 1 << 0 << 1 << 4;
        QTest::newRow("type 7 is mixed at any level") << 7 << 9 << 1 << 2;
    }
    void levelsThatGiveTheSameDocument()
    {
        QFETCH(int, type);
        QFETCH(int, level);
        QFETCH(int, sameAsType);
        QFETCH(int, sameAsLevel);
        const QByteArray input = TestEnvironment::readFile(fixture(QStringLiteral("photo.pdf")));
        const auto written = [&](int withType, int withLevel) {
            const QString out = m_dir.filePath(QStringLiteral("level.pdf"));
            FXFaxPageGenerator::generatePDFWithData(input, QString(), withType, withLevel, out);
            return TestEnvironment::readFile(out);
        };
        QCOMPARE(written(type, level), written(sameAsType, sameAsLevel));
        // ... while the levels of text, and text against mixed, do matter.
        QVERIFY(written(type, level) != (type == 0 ? written(0, 2) : written(0, level)));
    }

    // However the pages are shared with the helper process, and whatever becomes of it, the
    // document comes out as this process alone writes it, less the pages the helper took and
    // never sent.
    void helperProcess_data()
    {
        QTest::addColumn<QByteArray>("helper"); // a script, or "" for the real helper
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("warning");
        QTest::newRow("the helper") << QByteArray() << 5 << QString();
        QTest::newRow("missing") << QByteArray("-") << 5 << QString();
        QTest::newRow("fails at once")
            << QByteArray("#!/bin/sh\nexit 3\n") << 5 << "The render helper ended early (status 3)";
        // Takes two pages through the shared counter and dies without sending them.
        QTest::newRow("dies holding pages")
            << QByteArray("#!/usr/bin/python3\nimport mmap, os, struct\n"
                          "m = mmap.mmap(3, 4)\n"
                          "m[0:4] = struct.pack('i', struct.unpack('i', m[0:4])[0] + 2)\n"
                          "os.kill(os.getpid(), 9)\n")
            << 3 << "The render helper ended early (signal 9)";
        // Takes a page and never finishes it.
        QTest::newRow("hangs on a page")
            << QByteArray("#!/usr/bin/python3\nimport mmap, struct, time\n"
                          "m = mmap.mmap(3, 4)\n"
                          "m[0:4] = struct.pack('i', struct.unpack('i', m[0:4])[0] + 1)\n"
                          "time.sleep(60)\n")
            << 4 << "The render helper spent more than 1 s on one page";
        QTest::newRow("sends garbage")
            << QByteArray("#!/bin/sh\nhead -c 100000 /dev/urandom\nexec sleep 60\n") << 5
            << "The render helper sent something that is not a page";
        // A well-formed message for a page nobody has taken.
        QTest::newRow("sends an untaken page")
            << QByteArray("#!/usr/bin/python3\nimport struct, sys, time\n"
                          "sys.stdout.buffer.write(struct.pack('<Iiiiiiq', 0x46585047, 6, 1, 0, "
                          "0, 0, 0))\nsys.stdout.flush()\ntime.sleep(60)\n")
            << 5 << "The render helper sent something that is not a page";
    }
    void helperProcess()
    {
        QFETCH(QByteArray, helper);
        QFETCH(int, pages);
        QFETCH(QString, warning);
        const QByteArray input = TestEnvironment::readFile(fixture(QStringLiteral("five.pdf")));
        const auto restore = qScopeGuard([] {
            qunsetenv("FAXOLINO_RENDER_HELPER");
            FXPageWorker::setPageDeadline(60000);
        });
        const QString alone = m_dir.filePath(QStringLiteral("alone.pdf"));
        qputenv("FAXOLINO_RENDER_HELPER", QByteArray()); // no helper
        const FXFaxPageGenerator::Result byItself =
            FXFaxPageGenerator::generatePDFWithData(input, QString(), 0, 2, alone);
        QCOMPARE(byItself.pageCount, 5);
        QCOMPARE(byItself.helperPageCount, 0);

        QString program = TestEnvironment::binDir() + QStringLiteral("/faxolino-render");
        if (helper == "-")
            program = m_dir.filePath(QStringLiteral("no-such-helper"));
        else if (!helper.isEmpty())
            program = helperScript(m_dir.path(), helper);
        qputenv("FAXOLINO_RENDER_HELPER", program.toLocal8Bit());
        FXPageWorker::setPageDeadline(1000);
        LogCapture log;
        const QString shared = m_dir.filePath(QStringLiteral("shared.pdf"));
        const FXFaxPageGenerator::Result result =
            FXFaxPageGenerator::generatePDFWithData(input, QString(), 0, 2, shared);
        QVERIFY(result.written);
        QCOMPARE(result.pageCount, pages);
        if (pages == 5)
            QCOMPARE(TestEnvironment::readFile(shared), TestEnvironment::readFile(alone));
        if (!warning.isEmpty())
            QVERIFY2(log.contains(warning), qPrintable(log.messages().join(QLatin1Char('\n'))));
        if (helper.isEmpty())
            QVERIFY(result.helperPageCount > 0);
        else
            QCOMPARE(result.helperPageCount, 0);
    }

    // A page taken out of turn reaches the caller before any page is written, is prepared
    // by neither the helper nor the counter again, and the document comes out the same.
    void pageOutOfTurn_data()
    {
        QTest::addColumn<bool>("helper");
        QTest::addColumn<int>("page");
        QTest::newRow("alone, middle page") << false << 3;
        QTest::newRow("with the helper, first page") << true << 1;
        QTest::newRow("with the helper, last page") << true << 5;
    }
    void pageOutOfTurn()
    {
        QFETCH(bool, helper);
        QFETCH(int, page);
        const auto restore = qScopeGuard([] { qunsetenv("FAXOLINO_RENDER_HELPER"); });
        qputenv("FAXOLINO_RENDER_HELPER",
                helper
                    ? (TestEnvironment::binDir() + QStringLiteral("/faxolino-render")).toLocal8Bit()
                    : QByteArray());
        const QByteArray input = TestEnvironment::readFile(fixture(QStringLiteral("five.pdf")));
        const QString inOrder = m_dir.filePath(QStringLiteral("in-order.pdf"));
        QVERIFY(FXFaxPageGenerator::generatePDFWithData(input, QString(), 0, 2, inOrder).written);

        QStringList calls;
        LogCapture log;
        const QString out = m_dir.filePath(QStringLiteral("out-of-turn.pdf"));
        QByteArray bytes = input;
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        const FXFaxPageGenerator::Result result = FXFaxPageGenerator::generatePDFWithDevice(
            &buffer, QString(), 0, 2, out, FXFaxPageGenerator::WriteEmptyDocument,
            [&](FXPageImagePDFWriter &) { calls << QStringLiteral("written"); }, page,
            [&](const FXFaxPageGenerator::PreparedPage &prepared, int sourcePageCount) {
                calls
                    << QStringLiteral("first %1 of %2").arg(prepared.outcome).arg(sourcePageCount);
            });
        QCOMPARE(result.pageCount, 5);
        QCOMPARE(calls.value(0), QStringLiteral("first 0 of 5"));
        QCOMPARE(calls.count(QStringLiteral("written")), 5);
        QCOMPARE(calls.size(), 6);
        QVERIFY2(!log.contains(QStringLiteral("render helper")),
                 qPrintable(log.messages().join(QLatin1Char('\n'))));
        QCOMPARE(TestEnvironment::readFile(out), TestEnvironment::readFile(inOrder));
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
        // Refused by the structure check within moments; Qt Pdf would take many minutes.
        QTest::newRow("a page tree 1,030 levels deep") << "deep-tree.pdf" << false << 0;
        // The page whose drawing instructions unpack beyond the budget is left out.
        QTest::newRow("a page that unpacks too far") << "unpacks-too-far.pdf" << true << 2;
    }
    void damagedInput()
    {
        QFETCH(QString, name);
        QFETCH(bool, readable);
        QFETCH(int, pages);
        const QString out = m_dir.filePath(QStringLiteral("damaged.pdf"));
        const FXFaxPageGenerator::Result result = FXFaxPageGenerator::generatePDFWithData(
            TestEnvironment::readFile(fixture(name)), QString(), 0, 2, out);
        QCOMPARE(result.readable, readable);
        QVERIFY(result.written);
        QCOMPARE(result.pageCount, pages);
        QVERIFY(!runTool(QStringLiteral("qpdf"), {QStringLiteral("--check"), out}).isNull());
    }
};

QTEST_GUILESS_MAIN(TestFXFaxPageGenerator)
#include "tst_fxfaxpagegenerator.moc"
