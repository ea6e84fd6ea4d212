#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/FXFaxFileManager.h"
#include "foundation/KeychainUtils.h"
#include "journal/FXCoreDataController.h"
#include "recipients/FXPhoneNumber.h"
#include "sending/FXFaxConnection.h"
#include "sending/FXFaxReportStore.h"

#include <QCryptographicHash>
#include <QFile>
#include <QPdfDocument>
#include <QTest>

#include <functional>

namespace {

constexpr int kJobTimeoutMs = 180000;

struct Progress
{
    int state;
    QString title;
    QString number;
    QString reason;
    QString reasonTitle;
    Fax fax;
};

class Recorder : public FXFaxConnectionDelegate
{
public:
    void changedProgress(double, int toState, const QString &title,
                         const QString &forDestinationNumber, const QString &errorReason,
                         const QString &errorReasonTitle, const Fax &forFax) override
    {
        events.append(
            {toState, title, forDestinationNumber, errorReason, errorReasonTitle, forFax});
        if (onProgress)
            onProgress(events.last());
    }
    void sendingAllFaxCompleted(FXFaxConnection *) override { ++completed; }

    // Starts the job, recording it.
    void start(const QByteArray &document, const QVariantList &receivers)
    {
        job.setDelegate(this);
        job.startSendingFaxForPDFData(document, receivers);
    }
    // Runs the job to its end; false when it did not end once in time.
    bool run(const QByteArray &document, const QVariantList &receivers)
    {
        start(document, receivers);
        return QTest::qWaitFor([this] { return completed == 1; }, kJobTimeoutMs) && completed == 1;
    }

    QList<Progress> events;
    int completed = 0;
    std::function<void(const Progress &)> onProgress;
    FXFaxConnection job;
};

QByteArray fixtureDocument(const QString &name)
{
    return TestEnvironment::readFile(TestEnvironment::dataDir() + QStringLiteral("/document/")
                                     + name);
}

QByteArray letter()
{
    return TestEnvironment::readFile(TestEnvironment::sourceDir()
                                     + QStringLiteral("/resources/demo/letter.pdf"));
}

QJsonArray sessionRequests(const ProviderSimulator &simulator)
{
    QJsonArray result;
    for (const QJsonValue &request : simulator.requests()) {
        if (request[QLatin1String("method")].toString() == QLatin1String("zentari.SessionInitiate"))
            result.append(request);
    }
    return result;
}

// "number state reason" of each receiver's outcome, in order.
QStringList outcomes(const QList<Progress> &events)
{
    QStringList result;
    for (const Progress &event : events) {
        if (event.state == -1 || event.state == 2)
            result
                << QStringLiteral("%1 %2 %3").arg(event.number).arg(event.state).arg(event.reason);
    }
    return result;
}

} // namespace

class TestFXFaxConnection : public QObject
{
    Q_OBJECT

    ProviderSimulator m_simulator{{QStringLiteral("--account"), QStringLiteral("demo:secret"),
                                   QStringLiteral("--outcome"), QStringLiteral("486=486")}};

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_simulator.isRunning());
        m_simulator.exportEndpoints();
        FXError keychainError;
        QVERIFY(KeychainUtils::storeUsername(QStringLiteral("password"), QStringLiteral("secret"),
                                             QStringLiteral("voxaria Fax"), QString(), true,
                                             &keychainError));
        FBUserDefaults::setObject(QStringLiteral("4921155500199"), kLocalUriKey);
        FBUserDefaults::setObject(QStringLiteral("2000001f0@sip.voxaria.net"), kLocalSipUriKey);
        FBUserDefaults::setObject(true, kSaveSendDocumentKey);
        const QString reports = TestEnvironment::root() + QStringLiteral("/reports");
        FBUserDefaults::setObject(reports.toUtf8(), kFaxReportSavePathDataKey);
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
        FXPhoneNumber::setRegion(QStringLiteral("DE"));
        // Far apart enough that a tick's answer never overtakes the previous one.
        FXFaxConnection::setTrafficIntervalMs(500);
    }

    void init()
    {
        QVERIFY(m_simulator.reset());
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
    }

    // Success, a busy line and a refused login in one job: each ends in its own way, the job
    // goes on after the failures, and it ends once.
    void threeReceivers()
    {
        Recorder recorder;
        // The provider stops taking the account's login once the busy receiver has failed.
        recorder.onProgress = [this](const Progress &progress) {
            if (progress.state == -1 && progress.number.endsWith(QLatin1String("486")))
                QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", "http401"}}));
        };
        QVERIFY((recorder.run(letter(), {"+4930555000123", "+4930555000486", "+4930555000999"})));
        QVERIFY(!recorder.job.isSending());

        // state|title|number|reason|reason title; the fax of each event is its receiver's.
        QStringList seen;
        for (const Progress &event : std::as_const(recorder.events)) {
            seen << QStringList{QString::number(event.state), event.title, event.number,
                                event.reason, event.reasonTitle}
                        .join(u'|');
            QCOMPARE(event.fax.number(), event.number);
        }
        const QString queued = "0|" + FXText("fax_trasmit_queued") + "|+4930555000";
        const QString sending = "1|" + FXText("fax_trasmit_data") + "|+4930555000";
        const QString failed = "-1|" + FXText("fax_failed") + "|+4930555000";
        QCOMPARE(seen, (QStringList{queued + "123||", sending + "123||",
                                    "2|" + FXText("fax_succeeded") + "|+4930555000123||",
                                    queued + "486||", sending + "486||",
                                    failed + "486|486|Error Code: 486",
                                    failed + "999|401|" + FXText("error_auth")}));
        QVERIFY(FXText("error_auth") != QLatin1String("error_auth"));

        // The journal: one fax and one closed attempt per receiver.
        const QStringList reasons{"0", "486", "401"};
        const QList<qsizetype> last{2, 5, 6};
        for (int i = 0; i < 3; ++i) {
            const Fax fax = recorder.events.at(last.at(i)).fax;
            QCOMPARE(fax.line(), QStringLiteral("4921155500199"));
            QCOMPARE(fax.pages(), 2);
            const QList<Connection> connections = fax.connections();
            QCOMPARE(connections.size(), 1);
            const Connection connection = connections.first();
            QCOMPARE(connection.reason(), reasons.at(i));
            QCOMPARE(connection.pageRange(), QStringLiteral("1-2"));
            QVERIFY(connection.finishDate().isValid());
            QVERIFY(connection.beginDate() <= connection.finishDate());
            // The refused login never got a session.
            QCOMPARE(connection.sessionID().isEmpty(), i == 2);
            QVERIFY2(QFile::exists(FXFaxReportStore::reportPathForFax(fax)),
                     qPrintable(fax.file()));
        }

        // Every receiver was asked for exactly once: nothing is sent again on its own.
        QCOMPARE(sessionRequests(m_simulator).size(), 3);
        QCOMPARE(recorder.completed, 1);
    }

    // A refused login on the first receiver ends that receiver alone; the job goes on with the
    // others once the provider takes the login again.
    void refusedLoginOnTheFirstReceiver()
    {
        QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", "http401"}}));
        Recorder recorder;
        recorder.onProgress = [this](const Progress &progress) {
            if (progress.state == -1)
                QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", QString()}}));
        };
        QVERIFY((recorder.run(letter(), {"+4930555000999", "+4930555000123", "+4930555000124"})));

        QCOMPARE(outcomes(recorder.events),
                 (QStringList{"+4930555000999 -1 401", "+4930555000123 2 ", "+4930555000124 2 "}));
        QCOMPARE(sessionRequests(m_simulator).size(), 3);
    }

    // A session request whose connection breaks ends its receiver at once with the reason;
    // the job goes on with the next receiver, and nothing stays open for the poller. (A request
    // never answered: tst_sendcommand's giveUp.)
    void brokenSessionRequest()
    {
        QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", "close"}}));
        Recorder recorder;
        QVERIFY((recorder.run(letter(), {"+4930555000123", "+4930555000124"})));

        QCOMPARE(outcomes(recorder.events),
                 (QStringList{"+4930555000123 -1 -1", "+4930555000124 -1 -1"}));
        for (const Progress &failure : std::as_const(recorder.events)) {
            if (failure.state != -1)
                continue;
            QVERIFY2(!failure.reasonTitle.isEmpty()
                         && !failure.reasonTitle.startsWith(QLatin1String("Error Code")),
                     qPrintable(failure.reasonTitle));
            const Connection connection = failure.fax.connections().first();
            QCOMPARE(connection.reason(), QStringLiteral("-1"));
            QVERIFY(connection.sessionID().isEmpty());
        }
    }

    void receiverRecords_data()
    {
        QTest::addColumn<QString>("document");
        QTest::addColumn<QVariant>("receiver");
        QTest::addColumn<QString>("number");
        QTest::addColumn<QString>("contact");
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("pageRange");

        QTest::newRow("one page, typed national number")
            << "one.pdf" << QVariant(QStringLiteral("030555000123")) << "+4930555000123"
            << "" << 1 << "1";
        QTest::newRow("three pages, address book entry")
            << "three-pages.pdf"
            << QVariant(QVariantMap{{QStringLiteral("unifiedPhoneNumber"), "+4930555000124"},
                                    {QStringLiteral("uniqueID"), 42}})
            << "+4930555000124"
            << "42" << 3 << "1-3";
    }
    void receiverRecords()
    {
        QFETCH(QString, document);
        QFETCH(QVariant, receiver);
        QFETCH(QString, number);
        QFETCH(QString, contact);
        QFETCH(int, pages);
        QFETCH(QString, pageRange);

        Recorder recorder;
        recorder.job.setCoverSubject(QStringLiteral("Invoice"));
        recorder.job.setUseCoverSheet(true);
        recorder.job.setDocumentType(1);
        FBUserDefaults::setObject(false, kSaveSendDocumentKey);
        QVERIFY((recorder.run(fixtureDocument(document), {receiver})));
        FBUserDefaults::setObject(true, kSaveSendDocumentKey);
        QCOMPARE(recorder.events.last().state, 2);

        const Fax fax = recorder.events.last().fax;
        QCOMPARE(fax.number(), number);
        QCOMPARE(fax.contact(), contact);
        QCOMPARE(fax.pages(), pages);
        QCOMPARE(fax.subject(), QStringLiteral("Invoice"));
        QVERIFY(fax.coverSheet());
        QCOMPARE(fax.algorithm(), 1);
        QVERIFY(fax.file().endsWith(QStringLiteral("-") + number + QStringLiteral(".pdf")));
        QCOMPARE(fax.connections().size(), 1);
        QCOMPARE(fax.connections().first().pageRange(), pageRange);
        QCOMPARE(fax.connections().first().pages(), pages);

        // The fax's own copy holds exactly the pages the provider received. (It stays because
        // the report was stored without the pages.)
        const QString copy = FXFaxFileManager::filePathForTemporarySendFaxFile(fax.file());
        QPdfDocument pdf;
        QCOMPARE(pdf.load(copy), QPdfDocument::Error::None);
        QCOMPARE(pdf.pageCount(), pages);
        const QJsonArray initiated = sessionRequests(m_simulator);
        QCOMPARE(initiated.size(), 1);
        QCOMPARE(initiated.first()[QLatin1String("pdf_sha256")].toString(),
                 QString::fromLatin1(QCryptographicHash::hash(TestEnvironment::readFile(copy),
                                                              QCryptographicHash::Sha256)
                                         .toHex()));
    }

    // Two jobs in one process prepare their pages at the same time; each sends its own.
    void twoJobsAtOnce()
    {
        Recorder first, second;
        first.start(fixtureDocument(QStringLiteral("one.pdf")), {"030555000123"});
        second.start(fixtureDocument(QStringLiteral("three-pages.pdf")), {"030555000124"});
        QVERIFY(QTest::qWaitFor([&] { return first.completed == 1 && second.completed == 1; },
                                kJobTimeoutMs));
        QCOMPARE(first.events.last().fax.pages(), 1);
        QCOMPARE(second.events.last().fax.pages(), 3);
    }

    // Answers that come after a receiver's outcome was handled belong to nobody.
    void lateAnswers_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("still sending") << "sending";
        QTest::newRow("failed after all") << "failed";
        QTest::newRow("service failure") << "error";
        QTest::newRow("accepted again") << "accepted";
    }
    void lateAnswers()
    {
        QFETCH(QString, kind);
        Recorder recorder;
        QVERIFY((recorder.run(fixtureDocument(QStringLiteral("one.pdf")), {"+4930555000125"})));
        const Fax fax = recorder.events.last().fax;
        const Connection connection = fax.connections().first();
        const QString sessionID = connection.sessionID();
        const QDateTime finished = connection.finishDate();
        const qsizetype events = recorder.events.size();
        QVERIFY(m_simulator.reset());

        if (kind == QLatin1String("error"))
            recorder.job.didFailWithErrorCode(500);
        else if (kind == QLatin1String("accepted"))
            recorder.job.didSendFaxFileSucceededWithSessionID(QStringLiteral("another-session"));
        else
            recorder.job.didReceiveSessionStatus(
                XmlRpcMap{{"SessionStatus", kind},
                          {"StatusCode", kind == QLatin1String("failed") ? 486 : 200}},
                sessionID);
        // Whatever the answer set off would show while the job serves its next receiver.
        recorder.job.startSendingFaxForPDFData(fixtureDocument(QStringLiteral("one.pdf")),
                                               {QStringLiteral("+4930555000128")});
        QTRY_COMPARE_WITH_TIMEOUT(recorder.completed, 2, kJobTimeoutMs);

        QList<int> states;
        for (const Progress &event : recorder.events.mid(events)) {
            QCOMPARE(event.number, QStringLiteral("+4930555000128"));
            states << event.state;
        }
        QCOMPARE(states, (QList<int>{0, 1, 2}));
        QCOMPARE(connection.reason(), QStringLiteral("0"));
        QCOMPARE(connection.sessionID(), sessionID);
        QCOMPARE(connection.finishDate(), finished);
        QCOMPARE(fax.connections().size(), 1);
        QCOMPARE(sessionRequests(m_simulator).size(), 1);
        for (const QJsonValue &request : m_simulator.requests()) {
            const QString asked =
                request[QLatin1String("params")][0][QLatin1String("SessionID")].toString();
            QVERIFY(asked != sessionID);
            QVERIFY(asked != QLatin1String("another-session"));
        }
    }

    // With the status asked for far more often than the provider answers, several questions
    // are in flight when the outcome arrives; their answers must not end the next receiver.
    void answersInFlight()
    {
        FXFaxConnection::setTrafficIntervalMs(5);
        Recorder recorder;
        QVERIFY((recorder.run(fixtureDocument(QStringLiteral("one.pdf")),
                              {"+4930555000126", "+4930555000127"})));
        FXFaxConnection::setTrafficIntervalMs(500);

        QCOMPARE(outcomes(recorder.events),
                 (QStringList{"+4930555000126 2 ", "+4930555000127 2 "}));
        QCOMPARE(recorder.events.last().fax.connections().first().reason(), QStringLiteral("0"));
    }

    // A document without fax pages is not worth a session: the receiver fails at once.
    void unreadableDocument()
    {
        Recorder recorder;
        QVERIFY((recorder.run("%PDF-1.4 but nothing more", {"+4930555000130", "+4930555000131"})));
        QCOMPARE(recorder.events.size(), 2);
        for (const Progress &event : std::as_const(recorder.events)) {
            QCOMPARE(event.state, -1);
            QCOMPARE(event.reason, QStringLiteral("-1"));
            QCOMPARE(event.fax.pages(), 0);
            QCOMPARE(event.fax.connections().first().reason(), QStringLiteral("-1"));
        }
        // (A late status request of an earlier test may still arrive; no session was asked.)
        QVERIFY(sessionRequests(m_simulator).isEmpty());
    }

    void noReceivers()
    {
        Recorder recorder;
        QVERIFY((recorder.run(letter(), {})));
        QVERIFY(recorder.events.isEmpty());
        QVERIFY(m_simulator.requests().isEmpty());
    }

    // Runs last: the keyring stays locked. A credential store that cannot be read fails the
    // receivers with its own reason, never as a wrong password, and nothing is sent.
    void unreadableCredentialStore()
    {
        QVERIFY(TestEnvironment::lockKeyring());
        Recorder recorder;
        QVERIFY((recorder.run(letter(), {"+4930555000123"})));
        QCOMPARE(recorder.events.size(), 1);
        const Progress &failure = recorder.events.first();
        QCOMPARE(failure.state, -1);
        QCOMPARE(failure.reason, QStringLiteral("-1"));
        QVERIFY2(failure.reasonTitle.contains(QLatin1String("credential store")),
                 qPrintable(failure.reasonTitle));
        QVERIFY(sessionRequests(m_simulator).isEmpty());
    }
};

QTEST_MAIN(TestFXFaxConnection)
#include "tst_fxfaxconnection.moc"
