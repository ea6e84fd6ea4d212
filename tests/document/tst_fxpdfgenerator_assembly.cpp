#include "document/FXPDFGenerator.h"

#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

// Results are read back by independent tools: qpdf --check, pdftotext (the pages still hold
// their text, so they were copied, not rasterised), pdfinfo (page boxes) and pdfimages.
namespace {

QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60000);
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput());
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(' ', Qt::SkipEmptyParts);
}

struct Pdf
{
    bool checked = false;
    QStringList markers; // first line of each page's text
    QStringList boxes;   // each page's media box as pdfinfo prints it
    qsizetype images = -1;
};

Pdf inspect(const QString &path)
{
    Pdf pdf;
    int exitCode = -1;
    run("qpdf", {"--check", path}, &exitCode);
    pdf.checked = exitCode == 0;
    QStringList pages = run("pdftotext", {path, "-"}).split('\f');
    pages.removeLast();
    for (const QString &text : pages)
        pdf.markers.append(text.trimmed().section('\n', 0, 0));
    static const QRegularExpression box("MediaBox: +([^\n]+)");
    for (auto it = box.globalMatch(run("pdfinfo", {"-box", "-l", "9999", path})); it.hasNext();)
        pdf.boxes.append(it.next().captured(1).simplified());
    static const QRegularExpression image("^ *\\d+ +\\d+ ", QRegularExpression::MultilineOption);
    pdf.images = run("pdfimages", {"-list", path}).count(image);
    return pdf;
}

// Where pdftotext finds a word: left and bottom edge, measured from the top left corner of
// the media box, and its width.
QList<double> wordBox(const QString &path, int page, const QString &word)
{
    const QString p = QString::number(page);
    const QRegularExpression re(QStringLiteral(R"re(xMin="([\d.]+)" yMin="[\d.]+" )re"
                                               R"re(xMax="([\d.]+)" yMax="([\d.]+)">%1<)re")
                                    .arg(word));
    const auto m = re.match(run("pdftotext", {"-bbox", "-f", p, "-l", p, path, "-"}));
    if (!m.hasMatch())
        return {};
    const double left = m.captured(1).toDouble();
    return {left, m.captured(3).toDouble(), m.captured(2).toDouble() - left};
}

} // namespace

class TestFXPDFGeneratorAssembly : public QObject
{
    Q_OBJECT

    enum Operation { Combine, Cover, CoverReplacing, Remove };
    std::unique_ptr<QTemporaryDir> m_work;
    QHash<QString, QString> m_sourceBoxes; // page marker -> media box in its fixture

    static QString fixture(const QString &name)
    {
        return TestEnvironment::dataDir() + "/document/" + name + ".pdf";
    }
    static QString mergeFile() { return FXFaxFileManager::filePathForFaxMerge(); }
    QString work(const QString &name) const { return m_work->filePath(name); }
    // A writable copy of a fixture; "missing" stays missing.
    QUrl input(const QString &name) const
    {
        QFile::copy(fixture(name), work(name + ".pdf"));
        return QUrl::fromLocalFile(work(name + ".pdf"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        for (const char *name : {"a", "b", "five", "one", "cover", "inherited", "owner-only",
                                 "repairable", "form", "tall", "cropped"}) {
            const Pdf pdf = inspect(fixture(name));
            QCOMPARE(pdf.markers.size(), pdf.boxes.size());
            for (qsizetype i = 0; i < pdf.markers.size(); ++i)
                m_sourceBoxes.insert(pdf.markers.at(i), pdf.boxes.at(i));
        }
        QCOMPARE(m_sourceBoxes.value("B3"), QStringLiteral("10.00 20.00 310.00 440.00"));
    }
    void init()
    {
        m_work = std::make_unique<QTemporaryDir>(TestEnvironment::root() + "/work-XXXXXX");
        FBUserDefaults::removeObjectForKey(kFaxReportSavePathDataKey);
        QFile::remove(mergeFile());
    }

    void assembly_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QStringList>("inputs");
        QTest::addColumn<uint>("page");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("logged");
        const auto row = [](const char *name, Operation operation, const char *inputs, uint page,
                            const char *expected, const char *logged = "") {
            QTest::newRow(name) << operation << words(inputs) << page << words(expected)
                                << QString::fromLatin1(logged);
        };
        row("join past a missing file", Combine, "a missing b", 0, "A1 A2 B1 B2 B3", "missing.pdf");
        row("same source twice", Combine, "a a", 0, "A1 A2 A1 A2");
        row("cropped page", Combine, "cropped", 0, "K1");
        row("boxes inherited from the page tree", Combine, "inherited", 0, "I1 I2");
        row("damaged beyond repair", Combine, "garbage one", 0, "S1", "garbage.pdf");
        row("locked by a password", Combine, "locked one", 0, "S1", "locked.pdf");
        row("restricted, no password", Combine, "owner-only", 0, "O1");
        row("repaired", Combine, "repairable", 0, "R1 R2", "repairable.pdf");
        row("nothing readable", Combine, "missing garbage", 0, "", "garbage.pdf");
        row("cover sheet in front", Cover, "cover b", 0, "C1 B1 B2 B3");
        row("cover sheet replaced", CoverReplacing, "cover b", 0, "C1 B2 B3");
        row("cover replaced on one page", CoverReplacing, "cover one", 0, "C1");
        row("unreadable cover sheet", Cover, "garbage b", 0, "B1 B2 B3", "garbage.pdf");
        row("remove page 3", Remove, "five", 3, "P1 P2 P4 P5");
        row("remove page 5", Remove, "five", 5, "P1 P2 P3 P4");
        row("remove page 0", Remove, "five", 0, "P1 P2 P3 P4 P5");
        row("remove page 6", Remove, "five", 6, "P1 P2 P3 P4 P5");
    }
    // As the application calls them: cover sheet and page removal rewrite the document in
    // place, a join replaces an unrelated older file.
    void assembly()
    {
        QFETCH(Operation, operation);
        QFETCH(QStringList, inputs);
        QFETCH(uint, page);
        QFETCH(QStringList, expected);
        QFETCH(QString, logged);

        QList<QUrl> urls;
        for (const QString &name : inputs)
            urls.append(input(name));
        const QUrl out = operation == Combine ? input("one") : urls.last();
        LogCapture log;
        if (operation == Combine)
            FXPDFGenerator::combinePDFURLs(urls, out, false);
        else if (operation == Remove)
            FXPDFGenerator::removePage(page, urls.first(), out);
        else
            FXPDFGenerator::combineCoverSheet(urls.first(), out, out, operation == CoverReplacing);

        const Pdf result = inspect(out.toLocalFile());
        QVERIFY(result.checked);
        QCOMPARE(result.markers, expected);
        QCOMPARE(result.boxes.size(), expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i)
            QCOMPARE(result.boxes.at(i), m_sourceBoxes.value(expected.at(i)));
        QCOMPARE(result.images, 0);
        QVERIFY(!QFile::exists(mergeFile()));
        QVERIFY2(logged.isEmpty() || log.contains(logged), qPrintable(log.messages().join('\n')));
    }

    // Filled-in forms keep their fields, each page its own, and still show the values.
    void formFieldsSurvive()
    {
        const QString out = work("forms.pdf");
        FXPDFGenerator::combinePDFURLs({input("form"), input("form")}, QUrl::fromLocalFile(out),
                                       false);
        const QJsonArray fields =
            QJsonDocument::fromJson(
                run("qpdf", {"--json", "--json-key=acroform", out}).toUtf8())["acroform"]["fields"]
                .toArray();
        QCOMPARE(fields.size(), 2);
        QVERIFY(fields[0]["fullname"] != fields[1]["fullname"]);
        QCOMPARE(fields[1]["pageposfrom1"].toInt(), 2);
        QCOMPARE(run("pdftotext", {out, "-"}).count("Jane Doe"), 2);
    }

    void reportPage_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("marker");
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("dx"); // where the lower left corner of the media box lands
        QTest::addColumn<double>("dy");
        const auto row = [](const char *name, const char *source, int page, const char *marker,
                            double scale, double dx, double dy) {
            QTest::newRow(name) << QString(source) << page << QString(marker) << scale << dx << dy;
        };
        const double a4 = 841.8 / 842;
        row("A4", "a", 1, "A1", a4, (595.2 - 595 * a4) / 2, 0);
        row("Letter", "b", 1, "B1", 595.2 / 612, 0, (841.8 - 792 * 595.2 / 612) / 2);
        row("landscape", "b", 2, "B2", 595.2 / 842, 0, (841.8 - 595 * 595.2 / 842) / 2);
        row("small page, not enlarged", "b", 3, "B3", 1, (595.2 - 300) / 2, (841.8 - 420) / 2);
        row("inherited box", "inherited", 2, "I2", 1, (595.2 - 420) / 2, (841.8 - 595) / 2);
        row("cropped, placed by media box", "cropped", 1, "K1", a4, (595.2 - 595 * a4) / 2, 0);
        row("tall report", "tall", 1, "T1", 841.8 / 1800, (595.2 - 595 * 841.8 / 1800) / 2, 0);
    }
    void reportPage()
    {
        QFETCH(QString, source);
        QFETCH(int, page);
        QFETCH(QString, marker);
        QFETCH(double, scale);
        QFETCH(double, dx);
        QFETCH(double, dy);

        const QString out = work("report.pdf");
        FXPDFGenerator::combinePDFURLs({input(source)}, QUrl::fromLocalFile(out), true);
        const Pdf result = inspect(out);
        QVERIFY(result.checked);
        QCOMPARE(result.markers, inspect(fixture(source)).markers);
        QCOMPARE(QSet<QString>(result.boxes.begin(), result.boxes.end()),
                 QSet<QString>{"0.00 0.00 595.20 841.80"});
        QCOMPARE(result.images, 0);

        const QList<double> before = wordBox(fixture(source), page, marker);
        const QList<double> after = wordBox(out, page, marker);
        QVERIFY(before.size() == 3 && after.size() == 3);
        const QStringList box = m_sourceBoxes.value(marker).split(' ');
        const double height = box[3].toDouble() - box[1].toDouble();
        QVERIFY(qAbs(after[0] - (dx + scale * before[0])) < 0.01);
        QVERIFY(qAbs(after[1] - (841.8 - dy - scale * (height - before[1]))) < 0.01);
        QVERIFY(qAbs(after[2] - scale * before[2]) < 0.01);
    }

    // A join replaces its destination unless a report folder is stored that cannot be resolved
    // (FXFaxFileManager decides, for the reports as well): then the destination stays as it
    // was and the result waits in the merge file. A folder deleted meanwhile still resolves;
    // the file manager creates it again for the next report.
    void reportFolder_data()
    {
        QTest::addColumn<bool>("stored");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("forReport");
        QTest::addColumn<bool>("replaced");
        QTest::newRow("none stored") << false << "" << true << true;
        QTest::newRow("usable") << true << "WORK" << true << true;
        QTest::newRow("usable, page append") << true << "WORK" << false << true;
        QTest::newRow("deleted meanwhile") << true << "WORK/gone" << true << true;
        QTest::newRow("deleted meanwhile, page append") << true << "WORK/gone" << false << true;
        QTest::newRow("relative path") << true << "reports" << true << false;
        QTest::newRow("relative path, page append") << true << "reports" << false << false;
        QTest::newRow("empty value") << true << "" << true << false;
    }
    void reportFolder()
    {
        QFETCH(bool, stored);
        QFETCH(QString, folder);
        QFETCH(bool, forReport);
        QFETCH(bool, replaced);

        const QUrl out = input("one");
        if (stored)
            FBUserDefaults::setObject(folder.replace("WORK", m_work->path()).toUtf8(),
                                      kFaxReportSavePathDataKey);
        LogCapture log;
        FXPDFGenerator::combinePDFURLs({input("a")}, out, forReport);

        const QString joined = replaced ? out.toLocalFile() : mergeFile();
        QCOMPARE(inspect(joined).markers, QStringList({"A1", "A2"}));
        QCOMPARE(QFile::exists(mergeFile()), !replaced);
        if (!replaced)
            QCOMPARE(TestEnvironment::readFile(out.toLocalFile()),
                     TestEnvironment::readFile(fixture("one")));
        QVERIFY2(!log.contains("Error"), qPrintable(log.messages().join('\n')));
    }

    void placementFailures_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<bool>("reportFolder");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<QStringList>("logged");
        const QStringList moveFailed{"Error: "};
        const QStringList blocked{"Error removing file at path: ", "Error: "};
        QTest::newRow("join, no folder") << Combine << false << "none/out.pdf" << moveFailed;
        QTest::newRow("join with report folder, no folder")
            << Combine << true << "none/out.pdf" << QStringList{"Error Move File: "};
        QTest::newRow("join, a folder in the way") << Combine << false << "occupied" << blocked;
        QTest::newRow("cover sheet, no folder") << Cover << false << "none/out.pdf" << moveFailed;
        QTest::newRow("remove page, a folder in the way")
            << Remove << false << "occupied" << blocked;
    }
    void placementFailures()
    {
        QFETCH(Operation, operation);
        QFETCH(bool, reportFolder);
        QFETCH(QString, destination);
        QFETCH(QStringList, logged);

        if (reportFolder)
            FBUserDefaults::setObject(m_work->path().toUtf8(), kFaxReportSavePathDataKey);
        QVERIFY(QDir(m_work->path()).mkpath("occupied"));
        QVERIFY(QFile::copy(fixture("one"), work("occupied/kept.pdf")));
        const QUrl out = QUrl::fromLocalFile(work(destination));
        LogCapture log;
        if (operation == Combine)
            FXPDFGenerator::combinePDFURLs({input("a")}, out, false);
        else if (operation == Cover)
            FXPDFGenerator::combineCoverSheet(input("cover"), input("a"), out, false);
        else
            FXPDFGenerator::removePage(1, input("a"), out);

        for (const QString &text : logged)
            QVERIFY2(log.count(text) == 1, qPrintable(log.messages().join('\n')));
        QCOMPARE(log.count("Error"), logged.size());
        // Nothing is lost: the folder in the way and the assembled pages are both still there.
        QVERIFY(QFile::exists(work("occupied/kept.pdf")));
        QVERIFY(inspect(mergeFile()).checked);
    }

    // A one-page file writes nothing; the destination goes all the same, and no leftover of an
    // earlier operation takes its place.
    void removeFromSinglePage()
    {
        QDir().mkpath(FBApplicationHelper::applicationSupportFolder());
        QVERIFY(QFile::copy(fixture("five"), mergeFile()));
        const QUrl out = input("a");
        LogCapture log;
        FXPDFGenerator::removePage(1, input("one"), out);
        QVERIFY(!QFile::exists(out.toLocalFile()));
        QVERIFY(!QFile::exists(mergeFile()));
        QCOMPARE(log.count("Error: "), 1);

        // An unreadable file is no reason to give up the destination.
        const QUrl kept = input("b");
        FXPDFGenerator::removePage(1, input("garbage"), kept);
        QCOMPARE(TestEnvironment::readFile(kept.toLocalFile()),
                 TestEnvironment::readFile(fixture("b")));
    }

    // Reordered in memory; the same pages give the same bytes however they are written.
    void movePages()
    {
        const QUrl out = QUrl::fromLocalFile(work("out.pdf"));
        FXPDFGenerator::combinePDFURLs({input("five")}, out, false);
        QVERIFY(TestEnvironment::readFile(out.toLocalFile()).contains("/ID ["));
        QCOMPARE(FXPDFGenerator::movePagesAtIndexes({}, 0, input("five")),
                 TestEnvironment::readFile(out.toLocalFile()));

        QFile moved(work("moved.pdf"));
        QVERIFY(moved.open(QIODevice::WriteOnly));
        moved.write(FXPDFGenerator::movePagesAtIndexes({3, 4}, 1, input("five")));
        moved.close();
        const Pdf result = inspect(moved.fileName());
        QVERIFY(result.checked);
        QCOMPARE(result.markers, words("P1 P4 P5 P2 P3"));
        QVERIFY(FXPDFGenerator::movePagesAtIndexes({0}, 1, input("garbage")).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFXPDFGeneratorAssembly)
#include "tst_fxpdfgenerator_assembly.moc"
