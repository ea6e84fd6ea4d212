#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// `faxolino prepare` as a script sees it: arguments, exit code, standard output and error.
class TestPrepareCommand : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static QString fixture(const QString &name)
    {
        return TestEnvironment::dataDir() + QStringLiteral("/document/") + name;
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
};

QTEST_GUILESS_MAIN(TestPrepareCommand)
#include "tst_preparecommand.moc"
