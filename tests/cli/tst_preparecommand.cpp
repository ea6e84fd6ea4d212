#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

// `faxolino prepare` as a script sees it: arguments, exit code, standard output and error.
class TestPrepareCommand : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static QString fixture(const QString &name)
    {
        return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
    }

    // Runs the command; its exit code and standard output.
    static std::pair<int, QString> prepare(const QStringList &arguments)
    {
        QProcess process;
        process.start(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                      QStringList{QStringLiteral("prepare")} + arguments);
        if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
            return {-1, QString()};
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
    }

    // The image of each page as qpdf reads it: coded pages stay coded, so that equal images
    // compare equal however the document around them was put together.
    static QList<QByteArray> pageImages(const QString &path)
    {
        QList<QByteArray> images;
        try {
            QPDF pdf;
            pdf.processFile(QFile::encodeName(path).constData());
            for (QPDFPageObjectHelper &page : QPDFPageDocumentHelper(pdf).getAllPages()) {
                Pl_Buffer buffer("image");
                if (!page.getImages().at("/Im0").pipeStreamData(&buffer, nullptr, 0,
                                                                qpdf_dl_generalized))
                    return {};
                const std::shared_ptr<Buffer> data = buffer.getBufferSharedPointer();
                images.append(QByteArray(reinterpret_cast<const char *>(data->getBuffer()),
                                         qsizetype(data->getSize())));
            }
        } catch (const std::exception &) {
            return {};
        }
        return images;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(TestEnvironment::binDir() + QStringLiteral("/faxolino")));
    }

    void run_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("written");
        const QString out = m_dir.filePath(QStringLiteral("out.pdf"));
        QTest::newRow("text") << QStringList{fixture("text.pdf"), out} << 0 << "1\n"
                              << "" << true;
        QTest::newRow("mixed, three pages")
            << QStringList{fixture("three-pages.pdf"), out, "--type", "mixed"} << 0 << "3\n"
            << "" << true;
        QTest::newRow("a page left out")
            << QStringList{fixture("sliver-page.pdf"), out} << 0 << "1\n"
            << "Page 2 of 2 could not be rendered and is left out." << true;
        QTest::newRow("first page previewed")
            << QStringList{fixture("three-pages.pdf"), out, "--preview",
                           m_dir.filePath(QStringLiteral("preview.pdf"))}
            << 0 << "preview 1\n"
            << "" << true;
        QTest::newRow("not a PDF") << QStringList{fixture("random.bin"), out} << 2 << ""
                                   << "is not a readable PDF document" << false;
        QTest::newRow("no such input") << QStringList{fixture("missing.pdf"), out} << 2 << ""
                                       << "cannot read" << false;
        QTest::newRow("output folder missing")
            << QStringList{fixture("text.pdf"), m_dir.filePath(QStringLiteral("no/out.pdf"))} << 1
            << ""
            << "cannot write" << false;
        QTest::newRow("threshold out of range")
            << QStringList{fixture("text.pdf"), out, "--threshold", "5"} << 2 << ""
            << "the threshold is a level from 0 to 4" << false;
        QTest::newRow("unknown type")
            << QStringList{fixture("text.pdf"), out, "--type", "photo"} << 2 << ""
            << "unknown type \"photo\"" << false;
        QTest::newRow("visible page not a number")
            << QStringList{fixture("text.pdf"), out, "--visible-page", "two"} << 2 << ""
            << "the visible page is a number from 1" << false;
        QTest::newRow("one file") << QStringList{fixture("text.pdf")} << 2 << ""
                                  << "expected an input and an output file" << false;
        QTest::newRow("help") << QStringList{"--help"} << 0 << "Usage: faxolino prepare"
                              << "" << false;
    }
    void run()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        QFETCH(QString, error);
        QFETCH(bool, written);
        const QString out = m_dir.filePath(QStringLiteral("out.pdf"));
        QFile::remove(out);

        QProcess process;
        process.start(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                      QStringList{QStringLiteral("prepare")} + arguments);
        QVERIFY(process.waitForFinished(120000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        const QString standardOutput = QString::fromUtf8(process.readAllStandardOutput());
        const QString standardError = QString::fromUtf8(process.readAllStandardError());
        QCOMPARE(process.exitCode(), exitCode);
        if (arguments.contains(QStringLiteral("--preview"))) {
            QVERIFY2(standardOutput.startsWith(output) && standardOutput.endsWith("\n3\n"),
                     qPrintable(standardOutput));
            QVERIFY(QFile::exists(m_dir.filePath(QStringLiteral("preview.pdf"))));
        } else if (output.endsWith(QLatin1Char('\n')))
            QCOMPARE(standardOutput, output);
        else
            QVERIFY2(standardOutput.contains(output), qPrintable(standardOutput));
        if (error.isEmpty())
            QVERIFY2(standardError.isEmpty(), qPrintable(standardError));
        else
            QVERIFY2(standardError.contains(error), qPrintable(standardError));
        QCOMPARE(QFile::exists(out), written);
    }

    // Started ahead, the command takes its arguments from standard input.
    void argumentsOnStandardInput()
    {
        QProcess process;
        process.start(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                      {QStringLiteral("prepare"), QStringLiteral("--arguments-on-stdin")});
        QVERIFY(process.waitForStarted());
        process.write((fixture(QStringLiteral("three-pages.pdf")) + u'\n'
                       + m_dir.filePath(QStringLiteral("waited.pdf")) + u'\n' + "--type\nmixed\n\n")
                          .toLocal8Bit());
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardOutput(), QByteArray("3\n"));
    }

    // The page the window shows, at a new level, goes into the document it already shows;
    // anything else falls back to the pages so far. OUT.pdf is the same either way.
    void visiblePage_data()
    {
        QTest::addColumn<QString>("earlierInput");
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("output");
        QTest::newRow("page 2 of 3") << "three-pages.pdf" << 2 << "preview 3\n3\n";
        QTest::newRow("earlier document of another page count") << "text.pdf" << 2 << "preview 1\n";
        QTest::newRow("page beyond the document") << "three-pages.pdf" << 9 << "preview 1\n";
    }
    void visiblePage()
    {
        QFETCH(QString, earlierInput);
        QFETCH(int, page);
        QFETCH(QString, output);
        const QString earlier = m_dir.filePath(QStringLiteral("earlier.pdf"));
        const QString inOrder = m_dir.filePath(QStringLiteral("in-order.pdf"));
        const QString out = m_dir.filePath(QStringLiteral("out.pdf"));
        const QString preview = m_dir.filePath(QStringLiteral("preview.pdf"));
        QFile::remove(preview);
        QCOMPARE(prepare({fixture(earlierInput), earlier, "--threshold", "0"}).first, 0);
        QCOMPARE(prepare({fixture("three-pages.pdf"), inOrder, "--threshold", "4"}).first, 0);

        const auto [exitCode, standardOutput] =
            prepare({fixture("three-pages.pdf"), out, "--threshold", "4", "--preview", preview,
                     "--visible-page", QString::number(page), "--previous", earlier});
        QCOMPARE(exitCode, 0);
        QCOMPARE(TestEnvironment::readFile(out), TestEnvironment::readFile(inOrder));
        if (output == QLatin1String("preview 1\n")) {
            QVERIFY2(standardOutput.startsWith(output) && standardOutput.endsWith("\n3\n"),
                     qPrintable(standardOutput));
            return;
        }
        // No preview of fewer pages follows.
        QCOMPARE(standardOutput, output);
        const QList<QByteArray> before = pageImages(earlier);
        const QList<QByteArray> after = pageImages(out);
        QCOMPARE(after.size(), 3);
        QVERIFY(before.at(1) != after.at(1));
        QCOMPARE(pageImages(preview), (QList<QByteArray>{before.at(0), after.at(1), before.at(2)}));
    }
};

QTEST_GUILESS_MAIN(TestPrepareCommand)
#include "tst_preparecommand.moc"
