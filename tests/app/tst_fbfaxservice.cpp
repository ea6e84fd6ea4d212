// Scripting commands through the session bus, called from a connection of their own as a
// script would.
#include "LogCapture.h"
#include "RecordingDocumentTarget.h"
#include "TestEnvironment.h"
#include "app/FBFaxService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class TestFBFaxService : public QObject
{
    Q_OBJECT

private:
    RecordingDocumentTarget m_target;
    FBFaxService m_service{&m_target};
    QTemporaryDir m_dir{TestEnvironment::root() + QStringLiteral("/service-XXXXXX")};
    QString m_document;

    // Calls the service from another connection and waits for its answer.
    QDBusMessage call(const QString &method, const QVariantList &arguments)
    {
        QDBusConnection script =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("script"));
        QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1String(kFaxServiceName), QLatin1String(kFaxServicePath),
            QLatin1String(kFaxServiceInterface), method);
        message.setArguments(arguments);
        QDBusPendingCall pending = script.asyncCall(message);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 10000))
            return {};
        return pending.reply();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_dir.isValid());
        m_document = m_dir.filePath(QStringLiteral("order 4711.pdf"));
        QFile file(m_document);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("%PDF-1.4\n%%EOF\n") > 0);
        QString error;
        QVERIFY2(m_service.registerOn(QDBusConnection::sessionBus(), &error), qPrintable(error));
    }

    void init() { m_target.calls.clear(); }

    void onlyOneInstanceOwnsTheName()
    {
        RecordingDocumentTarget other;
        FBFaxService second(&other);
        QDBusConnection another =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("second"));
        QString error;
        QVERIFY(!second.registerOn(another, &error));
        QVERIFY(error.contains(QLatin1String(kFaxServiceName)));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }

    void commands_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("logged");

        const QString doc = m_document;
        const QVariantMap noArguments;
        const QString dialLine = QStringLiteral("unknown command . commandName=%1, directparm=%2");
        QTest::newRow("dial") << "Dial" << QVariantList{QStringLiteral("0301234")}
                              << QStringList{"newFaxToNumber 0301234 0301234"}
                              << dialLine.arg(QLatin1String("Dial"), QLatin1String("0301234"));
        QTest::newRow("dial nothing")
            << "Dial" << QVariantList{QString()} << QStringList{"newFaxToNumber  "}
            << dialLine.arg(QLatin1String("Dial"), QString());
        QTest::newRow("new fax") << "NewFax" << QVariantList{} << QStringList{"newFax  "}
                                 << QString();
        QTest::newRow("reports") << "ShowReports" << QVariantList{} << QStringList{"showReports  "}
                                 << QString();
        QTest::newRow("file to number")
            << "FaxFile" << QVariantList{doc, QStringLiteral("+49301234")}
            << QStringList{"newFaxForFile " + doc + " +49301234"} << QString();
        QTest::newRow("file without number")
            << "FaxFile" << QVariantList{doc, QString()}
            << QStringList{"newFaxForFile " + doc + " "} << QString();
        QTest::newRow("faxd without numb")
            << "Command" << QVariantList{QStringLiteral("faxd"), doc, noArguments}
            << QStringList{"newFaxForFile " + doc + " "} << QString();
        QTest::newRow("fado with numb")
            << "Command"
            << QVariantList{QStringLiteral("fado"), doc,
                            QVariantMap{{QStringLiteral("numb"), QStringLiteral("0301")}}}
            << QStringList{"newFaxForFile " + doc + " 0301"} << QString();
        QTest::newRow("numb as a number")
            << "Command"
            << QVariantList{QStringLiteral("faxd"), doc,
                            QVariantMap{{QStringLiteral("numb"), 4711}}}
            << QStringList{"newFaxForFile " + doc + " 4711"} << QString();
        QTest::newRow("dial code")
            << "Command" << QVariantList{QStringLiteral("dial"), QStringLiteral("030"), noArguments}
            << QStringList{"newFaxToNumber 030 030"}
            << dialLine.arg(QLatin1String("Command"), QLatin1String("030"));
        QTest::newRow("unknown code")
            << "Command" << QVariantList{QStringLiteral("prnt"), QStringLiteral("x y"), noArguments}
            << QStringList() << dialLine.arg(QLatin1String("Command"), QLatin1String("x y"));
        QTest::newRow("open file")
            << "OpenFile" << QVariantList{doc} << QStringList{"openFile " + doc + " "} << QString();
    }
    void commands()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QFETCH(QStringList, calls);
        QFETCH(QString, logged);
        LogCapture log;

        const QDBusMessage reply = call(method, arguments);

        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(m_target.operations(), calls);
        if (!logged.isEmpty())
            QVERIFY2(log.messages().contains(logged), qPrintable(log.messages().join('\n')));
        else
            QVERIFY(!log.contains(QLatin1String("unknown command")));
        QVERIFY(!log.contains(QLatin1String("New fax to number \"\"")));
    }

    // The copy is made from the document opened during the call, so a source removed as
    // soon as the call returns (as the spool does) is still kept whole.
    void keptAfterTheSourceIsRemoved()
    {
        const QString source = m_dir.filePath(QStringLiteral("large.pdf"));
        QByteArray content(48 << 20, 'x');
        content.replace(0, 8, "%PDF-1.4");
        QFile file(source);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();
        QDir(FBHeadlessDocumentTarget::receivedFolder()).removeRecursively();

        const QDBusMessage reply = call(QStringLiteral("OpenFile"), {source});
        QVERIFY(QFile::remove(source));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        FBHeadlessDocumentTarget::waitForCopies();
        const QFileInfoList kept =
            QDir(FBHeadlessDocumentTarget::receivedFolder()).entryInfoList(QDir::Files);
        QCOMPARE(kept.size(), 1);
        QVERIFY(kept.first().fileName().endsWith(QLatin1String("-large.pdf")));
        QCOMPARE(TestEnvironment::readFile(kept.first().filePath()), content);
    }

    // Reading a device or a pipe would never end; such paths never reach the controller.
    void refusedPaths_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        const QString fifo = m_dir.filePath(QStringLiteral("pipe.pdf"));
        ::mkfifo(QFile::encodeName(fifo).constData(), 0600);
        QTest::newRow("relative") << "OpenFile" << QVariantList{QStringLiteral("order.pdf")};
        QTest::newRow("empty") << "FaxFile" << QVariantList{QString(), QStringLiteral("030")};
        QTest::newRow("device") << "FaxFile"
                                << QVariantList{QStringLiteral("/dev/zero"), QString()};
        QTest::newRow("folder") << "Command"
                                << QVariantList{QStringLiteral("faxd"), m_dir.path(),
                                                QVariantMap()};
        QTest::newRow("pipe") << "OpenFile" << QVariantList{fifo};
        QTest::newRow("missing file")
            << "FaxFile" << QVariantList{QStringLiteral("/nonexistent.pdf"), QString()};
        const QString text = m_dir.filePath(QStringLiteral("notes.pdf"));
        QFile notes(text);
        notes.open(QIODevice::WriteOnly);
        notes.write(QByteArray(1024, ' ') + "%PDF-1.4 too late\n");
        notes.close();
        QTest::newRow("no PDF header in the first kilobyte") << "OpenFile" << QVariantList{text};
        // Sparse: it takes no room, only time to copy, on the main thread.
        const QString huge = m_dir.filePath(QStringLiteral("huge.pdf"));
        QFile big(huge);
        big.open(QIODevice::WriteOnly);
        big.write("%PDF-1.4\n");
        big.resize(512LL * 1024 * 1024 + 1);
        big.close();
        QTest::newRow("larger than 512 MB") << "FaxFile" << QVariantList{huge, QString()};
    }
    void refusedPaths()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);

        const QDBusMessage reply = call(method, arguments);

        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QCOMPARE(reply.errorName(), QStringLiteral("org.voxaria.Faxolino.Error.InvalidArgument"));
        QCOMPARE(m_target.operations(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestFBFaxService)
#include "tst_fbfaxservice.moc"
