#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "sending/FXFaxReport.h"
#include "sending/FXFaxReportStore.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

struct Attempt
{
    QString reason; // null: still open
    int seconds;    // from begin to finish
};

QString run(const QString &program, const QStringList &args)
{
    QProcess process;
    process.start(program, args);
    process.waitForFinished(30000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A one-page PDF of text, as the fax's transmitted pages.
QByteArray transmittedPages()
{
    QFile file(TestEnvironment::sourceDir() + QStringLiteral("/resources/demo/letter.pdf"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class CapturingDelegate : public FXFaxReportDelegate
{
public:
    void renderPDFReport(const QString &reportHTML, const Fax &forFax) override
    {
        html = reportHTML;
        fax = forFax;
        ++calls;
    }
    QString html;
    Fax fax;
    int calls = 0;
};

} // namespace

class TestFXFaxReport : public QObject
{
    Q_OBJECT

private:
    FXManagedObjectContext *context()
    {
        return FXCoreDataController::sharedInstance()->managedObjectContext();
    }

    Fax makeFax(const QString &line, const QList<Attempt> &attempts)
    {
        const QDateTime date(QDate(2025, 3, 5), QTime(14, 5, 9));
        Fax fax = context()->insertNewFax();
        fax.setNumber(QStringLiteral("+49301234567"));
        fax.setLine(line);
        fax.setDate(date);
        fax.setPages(2);
        fax.setFile(FXFaxFileManager::temporarySendFaxFileNameForDate(date, fax.number()));
        for (const Attempt &attempt : attempts) {
            Connection connection = context()->insertNewConnectionForFax(fax);
            connection.setBeginDate(date);
            connection.setPageRange(QStringLiteral("1-2"));
            connection.setPages(2);
            if (!attempt.reason.isNull()) {
                connection.setReason(attempt.reason);
                connection.setFinishDate(date.addSecs(attempt.seconds));
            }
        }
        FXCoreDataController::sharedInstance()->saveMainContext();
        return fax;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(FBLocalization::installCoreCatalog(QLocale(QLocale::English)));
        QVERIFY(context());
    }

    void durations_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("65 s") << 65 << "1:05";
        QTest::newRow("3725 s") << 3725 << "62:05";
        QTest::newRow("none") << 0 << "0:00";
    }
    void durations()
    {
        QFETCH(int, seconds);
        QFETCH(QString, text);
        const QDateTime begin = QDateTime::currentDateTime();
        QCOMPARE(FXFaxReport::durationText(begin, begin.addSecs(seconds)), text);
    }

    // The report as a reader sees it: laid out, written and read back with pdftotext.
    void reportContents_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QList<Attempt>>("attempts");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QStringList>("absent");

        const QString failed = QStringLiteral("Result ") + FXText("failed");
        const QString sent = QStringLiteral("Result ") + FXText("successfully");
        QTest::newRow("sent after a busy line")
            << "4921155500199" << QList<Attempt>{{"486", 65}, {"0", 3725}}
            << QStringList{"Sender line +49 211 55500199 Receiver",
                           "+49 30 1234567",
                           "05.03.2025",
                           "14:05:09",
                           failed,
                           FXText("error") + " Code: 486",
                           FXText("successfully"),
                           "1:05",
                           "62:05",
                           "14:06:14",
                           "15:07:14"}
            << QStringList{};
        QTest::newRow("all sent") << "4921155500199" << QList<Attempt>{{"0", 10}}
                                  << QStringList{sent, "0:10"}
                                  << QStringList{FXText("failed"), FXText("error")};
        QTest::newRow("wrong password")
            << "" << QList<Attempt>{{"401", 3}} << QStringList{FXText("error_auth").left(20)}
            << QStringList{"Code:"};
        // Without a line the sender's value stays empty: not even a lone "+".
        QTest::newRow("still open, no line")
            << "" << QList<Attempt>{{QString(), 0}}
            << QStringList{FXText("error") + " Code: (null)", failed, "Sender line Receiver"}
            << QStringList{"+49 211"};
        QTest::newRow("no attempts")
            << "" << QList<Attempt>{} << QStringList{sent} << QStringList{"State"};
    }
    void reportContents()
    {
        QFETCH(QString, line);
        QFETCH(QList<Attempt>, attempts);
        QFETCH(QStringList, expected);
        QFETCH(QStringList, absent);

        CapturingDelegate delegate;
        const Fax fax = makeFax(line, attempts);
        FXFaxReport::generateFaxReportForFax(fax, &delegate);
        QCOMPARE(delegate.calls, 1);
        QCOMPARE(delegate.fax, fax);
        QVERIFY(!delegate.html.contains(QStringLiteral("<!-- **")));
        QCOMPARE(delegate.html.count(QStringLiteral("Pages sent")), attempts.size());

        FBUserDefaults::setObject(false, kSaveSendDocumentKey);
        FXFaxReportStore().renderPDFReport(delegate.html, fax);
        const QString stored = FXFaxReportStore::reportPathForFax(fax);
        QVERIFY2(QFile::exists(stored), qPrintable(stored));
        const QString text =
            run(QStringLiteral("pdftotext"), {stored, QStringLiteral("-")}).simplified();
        for (const QString &piece : expected)
            QVERIFY2(text.contains(piece), qPrintable(piece + QStringLiteral(" in: ") + text));
        for (const QString &piece : absent)
            QVERIFY2(!text.contains(piece), qPrintable(piece + QStringLiteral(" in: ") + text));
        // An open attempt has neither end time nor duration: the only times are the fax's own
        // and the attempt's start.
        if (attempts.size() == 1 && attempts.first().reason.isNull()) {
            QCOMPARE(text.count(QRegularExpression(QStringLiteral("\\b\\d\\d:\\d\\d:\\d\\d\\b"))),
                     2);
            QVERIFY(
                !text.contains(QRegularExpression(QStringLiteral("(^|\\s)\\d+:\\d\\d(\\s|$)"))));
        }
    }

    // With "saveSendDocument" the stored file is the report followed by the sent pages, taken
    // from the fax's own copy; once the fax is closed the copy goes, as the report holds them.
    void storedDocument_data()
    {
        QTest::addColumn<bool>("saveSendDocument");
        QTest::addColumn<bool>("open");
        QTest::addColumn<int>("pages");
        QTest::addColumn<bool>("copyKept");
        QTest::newRow("report and pages") << true << false << 3 << false;
        QTest::newRow("report only") << false << false << 1 << true;
        QTest::newRow("still open") << true << true << 3 << true;
    }
    void storedDocument()
    {
        QFETCH(bool, saveSendDocument);
        QFETCH(bool, open);
        QFETCH(int, pages);
        QFETCH(bool, copyKept);
        FBUserDefaults::setObject(saveSendDocument, kSaveSendDocumentKey);
        const Fax fax = makeFax(QString(), {{open ? QString() : QStringLiteral("0"), 5}});
        const QString copy = FXFaxFileManager::filePathForTemporarySendFaxFile(fax.file());
        QFile copyFile(copy);
        QVERIFY(copyFile.open(QIODevice::WriteOnly));
        copyFile.write(transmittedPages());
        copyFile.close();
        FXFaxReport::generateFaxReportForFax(fax, FXFaxReportStore::sharedInstance());
        const QString stored = FXFaxReportStore::reportPathForFax(fax);
        const QString info = run(QStringLiteral("pdfinfo"), {stored});
        QVERIFY2(info.contains(QRegularExpression(QStringLiteral("Pages:\\s+%1\\n").arg(pages))),
                 qPrintable(info));
        const QString text = run(QStringLiteral("pdftotext"), {stored, QStringLiteral("-")});
        QVERIFY(text.indexOf(QStringLiteral("TRANSMISSION REPORT")) >= 0);
        QCOMPARE(text.contains(QStringLiteral("Order confirmation")), saveSendDocument);
        if (saveSendDocument)
            QVERIFY(text.indexOf(QStringLiteral("TRANSMISSION REPORT"))
                    < text.indexOf(QStringLiteral("Order confirmation")));
        QCOMPARE(QFile::exists(copy), copyKept);
        QFile::remove(copy);
        QFile::remove(stored);
    }

    // A report stays where it was stored when the report folder is changed afterwards.
    void reportFolderOfTheRecord()
    {
        const QString first = TestEnvironment::root() + QStringLiteral("/first-reports");
        FBUserDefaults::setObject(first.toUtf8(), kFaxReportSavePathDataKey);
        Fax fax = makeFax(QString(), {{"0", 5}});
        fax.setFileURL(first.toUtf8());
        FBUserDefaults::setObject(false, kSaveSendDocumentKey);
        FXFaxReport::generateFaxReportForFax(fax, FXFaxReportStore::sharedInstance());
        const QString stored = QDir(first).filePath(fax.file());
        QVERIFY(QFile::exists(stored));

        FBUserDefaults::setObject((TestEnvironment::root() + QStringLiteral("/later")).toUtf8(),
                                  kFaxReportSavePathDataKey);
        QCOMPARE(FXFaxReportStore::reportPathForFax(fax), stored);
        FBUserDefaults::removeObjectForKey(kFaxReportSavePathDataKey);
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    TestFXFaxReport test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fxfaxreport.moc"
