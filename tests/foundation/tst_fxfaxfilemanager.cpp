#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>

#include <unistd.h>

namespace {

struct WorkingFile
{
    const char *name;
    QString (*path)();
    QUrl (*url)();
    QString (*write)(const QByteArray &);
};

using FM = FXFaxFileManager;
const WorkingFile fixedFiles[] = {
    {"_processedFaxFile.pdf", &FM::filePathForProcessedFaxFile, &FM::fileURLForProcessedFaxFile,
     &FM::writeProcessedFaxFileForData},
    {"_cover.pdf", &FM::filePathForFaxCover, &FM::fileURLForFaxCover,
     &FM::writeFaxCoverFileForData},
    {"_merge.pdf", &FM::filePathForFaxMerge, &FM::fileURLForFaxMerge, nullptr},
    {"_append.pdf", &FM::filePathForFaxAppend, &FM::fileURLForFaxAppend,
     &FM::writeFaxAppendFileForData},
    {"_orgfile.pdf", &FM::filePathForOriginale, &FM::fileURLForOriginale,
     &FM::writeOriginaleFileForData},
    {"_report.pdf", &FM::filePathForReport, nullptr, &FM::writeReportFileForData},
    {"_scanned.pdf", &FM::filePathForScanned, &FM::fileURLForScanned, nullptr},
};

const QString perFaxCopy = QStringLiteral("2024-03-01_14-05-09-+49301234567.pdf");

QString supportFolder()
{
    return FBApplicationHelper::applicationSupportFolder();
}

QString inSupport(const QString &name)
{
    return QDir(supportFolder()).filePath(name);
}

QString inWorking(const QString &name)
{
    return QDir(FM::workingFolder()).filePath(name);
}

// A name starting with "_" is a working file; anything else lies in the support folder.
QString pathOf(const QString &name)
{
    return name.startsWith(u'_') ? inWorking(name) : inSupport(name);
}

// What lies in the working folder and, apart from it, in the support folder.
QStringList entries()
{
    const auto list = [](const QString &folder) {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    QStringList all = list(FM::workingFolder()) + list(supportFolder());
    all.removeAll(QStringLiteral("Working"));
    all.sort();
    return all;
}

} // namespace

class TestFXFaxFileManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    void init()
    {
        QDir(supportFolder()).removeRecursively();
        FBUserDefaults::removeObjectForKey(kFaxReportSavePathDataKey);
    }

    void workingFiles_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < int(std::size(fixedFiles)); ++i)
            QTest::newRow(fixedFiles[i].name) << i;
    }
    void workingFiles()
    {
        QFETCH(int, index);
        const WorkingFile &file = fixedFiles[index];
        const QString expected = inWorking(QLatin1String(file.name));
        QCOMPARE(file.path(), expected);
        if (file.url)
            QCOMPARE(file.url(), QUrl::fromLocalFile(expected));
        if (!file.write)
            return;
        // The first write also creates the folder; a second one replaces the file whole and
        // leaves no temporary file behind.
        QCOMPARE(file.write(QByteArray("%PDF-1.4 first")), expected);
        QCOMPARE(TestEnvironment::readFile(expected), QByteArray("%PDF-1.4 first"));
        QCOMPARE(file.write(QByteArray("%PDF second")), expected);
        QCOMPARE(TestEnvironment::readFile(expected), QByteArray("%PDF second"));
        QCOMPARE(entries(), QStringList(QLatin1String(file.name)));
    }

    // Each process has a working folder of its own; those of processes that ended go.
    void workingFolders()
    {
        QCOMPARE(FM::workingFolder(),
                 inSupport(QStringLiteral("Working/%1").arg(QCoreApplication::applicationPid())));
        const QString root = inSupport(QStringLiteral("Working"));
        const QString ended = root + QStringLiteral("/4194305"); // above any pid Linux gives
        const QString running = root + QStringLiteral("/%1").arg(::getppid());
        QVERIFY(QDir().mkpath(ended + QStringLiteral("/inside")));
        QVERIFY(QDir().mkpath(running));
        FM::removeStaleWorkingFolders();
        QVERIFY(!QFileInfo::exists(ended));
        QVERIFY(QFileInfo::exists(running));
        QVERIFY(QFileInfo::exists(FM::workingFolder()));
    }

    void writeFailureStillAnswersThePath()
    {
        QVERIFY(QDir().mkpath(inWorking(QStringLiteral("_cover.pdf"))));
        QCOMPARE(FM::writeFaxCoverFileForData("x"), inWorking(QStringLiteral("_cover.pdf")));
        QVERIFY(QFileInfo(inWorking(QStringLiteral("_cover.pdf"))).isDir());
    }

    // Two faxes to one number in one second get names of their own, also across processes
    // (the copy is claimed on disk); a report whose copy is gone still holds its name.
    void claimedNamesAreUnique()
    {
        const QDateTime when(QDate(2024, 3, 2), QTime(9, 30, 0));
        const QString number = QStringLiteral("+4930555");
        const QString stem = QStringLiteral("2024-03-02_09-30-00-+4930555");
        QCOMPARE(FM::claimSendFaxFileName(when, number), stem + ".pdf");
        QVERIFY(QFile::exists(FM::filePathForTemporarySendFaxFile(stem + ".pdf")));
        QCOMPARE(FM::claimSendFaxFileName(when, number), stem + "-2.pdf");
        QFile report(FM::filePathForSendFaxFile(stem + "-3.pdf"));
        QVERIFY(report.open(QIODevice::WriteOnly));
        report.close();
        QCOMPARE(FM::claimSendFaxFileName(when, number), stem + "-4.pdf");
    }

    void perFaxFileNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("date and number") << perFaxCopy << inSupport(perFaxCopy);
        QTest::newRow("path leading out") << "../../etc/passwd" << inSupport("passwd");
        QTest::newRow("sub folder") << "reports/x.pdf" << inSupport("x.pdf");
        QTest::newRow("empty") << "" << QString();
        QTest::newRow("parent") << ".." << QString();
    }
    void perFaxFileNames()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        QCOMPARE(FM::filePathForTemporarySendFaxFile(name), expected);
        QCOMPARE(FM::temporarySendFaxFileNameForDate(QDateTime(QDate(2024, 3, 1), QTime(14, 5, 9)),
                                                     QStringLiteral("+49301234567")),
                 perFaxCopy);
    }

    void reportFolder_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QString>("prepare");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("logged");
        QTest::addColumn<QStringList>("notLogged");
        const QString root = TestEnvironment::root();
        const QString documents = inSupport("Documents");
        const QString created = QStringLiteral("createDirectoryAtURL returned error: (null)");
        QTest::newRow("nothing chosen") << QByteArray() << "" << documents << QStringList{created}
                                        << QStringList{"bookmarkData"};
        QTest::newRow("chosen folder")
            << (root + "/reports").toUtf8() << "folder" << root + "/reports"
            << QStringList{"bookmarkData", "bookmarkFileURL"}
            << QStringList{"createDirectoryAtURL"};
        QTest::newRow("chosen folder deleted meanwhile")
            << (root + "/gone/reports").toUtf8() << "" << root + "/gone/reports"
            << QStringList{"bookmarkData", "bookmarkFileURL", created} << QStringList();
        QTest::newRow("non-ASCII folder")
            << (root + "/Berichte für Jörg").toUtf8() << "folder" << root + "/Berichte für Jörg"
            << QStringList() << QStringList{"createDirectoryAtURL"};
        QTest::newRow("relative path")
            << QByteArray("reports") << "" << documents << QStringList{"bookmarkData", created}
            << QStringList{"bookmarkFileURL"};
        QTest::newRow("not UTF-8")
            << QByteArray("/\xff\xfe/reports") << "" << documents
            << QStringList{"bookmarkData", created} << QStringList{"bookmarkFileURL"};
        QTest::newRow("a file where the folder was")
            << (root + "/reports").toUtf8() << "file" << documents
            << QStringList{"bookmarkFileURL", created} << QStringList();
        QTest::newRow("folder cannot be created")
            << QByteArray("/proc/faxolino/reports") << "" << documents
            << QStringList{"createDirectoryAtURL returned error: ", created} << QStringList();
    }
    void reportFolder()
    {
        QFETCH(QByteArray, setting);
        QFETCH(QString, prepare);
        QFETCH(QString, folder);
        QFETCH(QStringList, logged);
        QFETCH(QStringList, notLogged);
        const QString chosen = QString::fromUtf8(setting);
        QDir(TestEnvironment::root() + "/reports").removeRecursively();
        QFile::remove(TestEnvironment::root() + "/reports");
        if (prepare == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(chosen));
        if (prepare == QLatin1String("file")) {
            QFile file(chosen);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        if (!setting.isEmpty())
            FBUserDefaults::setObject(setting, kFaxReportSavePathDataKey);

        LogCapture log;
        const QString name = QStringLiteral("2025-03-05_14-05-00-+49301234567.pdf");
        QCOMPARE(FM::filePathForSendFaxFile(name), QDir(folder).filePath(name));
        QVERIFY(QFileInfo(folder).isDir());
        for (const QString &text : std::as_const(logged))
            QVERIFY2(log.contains(text), qPrintable(log.messages().join('\n')));
        for (const QString &text : std::as_const(notLogged))
            QVERIFY2(!log.contains(text), qPrintable(log.messages().join('\n')));
        QCOMPARE(FM::fileURLForSendFaxFile(name), QUrl::fromLocalFile(QDir(folder).filePath(name)));
        // Created once; later requests find it.
        QCOMPARE(log.count(QStringLiteral("createDirectoryAtURL returned error: (null)")),
                 logged.contains("createDirectoryAtURL returned error: (null)") ? 1 : 0);
    }

    void cleanUp_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("readOnly");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("coverOnly");
        QTest::addColumn<QStringList>("remaining");
        QTest::addColumn<int>("errors");
        QStringList all;
        for (const WorkingFile &file : fixedFiles)
            all.append(QLatin1String(file.name));
        QStringList withoutMerge = all;
        withoutMerge.removeAll("_merge.pdf");
        QTest::newRow("nothing there") << QStringList() << ""
                                       << "" << false << QStringList() << 0;
        QTest::newRow("every working file and a per-fax copy")
            << all + QStringList{perFaxCopy, "Faxon.sqlite"} << ""
            << "" << false << QStringList{perFaxCopy, "Faxon.sqlite"} << 0;
        QTest::newRow("read-only cover stays") << all << "_cover.pdf"
                                               << "" << false << QStringList{"_cover.pdf"} << 0;
        QTest::newRow("a folder in the way")
            << withoutMerge << ""
            << "_merge.pdf" << false << QStringList{"_merge.pdf"} << 1;
        QTest::newRow("cover alone") << QStringList{"_cover.pdf", "_merge.pdf"} << ""
                                     << "" << true << QStringList{"_merge.pdf"} << 0;
        QTest::newRow("cover alone, read-only") << QStringList{"_cover.pdf"} << "_cover.pdf"
                                                << "" << true << QStringList{"_cover.pdf"} << 0;
    }
    void cleanUp()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, readOnly);
        QFETCH(QString, folder);
        QFETCH(bool, coverOnly);
        QFETCH(QStringList, remaining);
        QFETCH(int, errors);
        QVERIFY(QDir().mkpath(supportFolder()));
        for (const QString &name : std::as_const(files)) {
            QFile file(pathOf(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("%PDF");
        }
        if (!readOnly.isEmpty())
            QVERIFY(QFile::setPermissions(pathOf(readOnly),
                                          QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        if (!folder.isEmpty())
            QVERIFY(QDir().mkpath(pathOf(folder + "/inside")));

        LogCapture log;
        if (coverOnly)
            FM::deleteFaxCoverFile();
        else
            FM::deleteAllTempFiles();
        remaining.sort();
        QCOMPARE(entries(), remaining);
        QCOMPARE(log.messages().size(), errors);
        QCOMPARE(log.count("Error removing file at path: "), errors);
        // The line names the reason, not the file.
        QCOMPARE(log.count(supportFolder()), 0);
    }
};

QTEST_GUILESS_MAIN(TestFXFaxFileManager)
#include "tst_fxfaxfilemanager.moc"
