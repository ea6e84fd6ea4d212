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

    // Runs the job to its end, recording it; false when it did not end once in time.
    bool run(FXFaxConnection &job, const QByteArray &document, const QVariantList &receivers)
    {
        job.setDelegate(this);
        job.startSendingFaxForPDFData(document, receivers);
        return QTest::qWaitFor([this] { return completed == 1; }, kJobTimeoutMs) && completed == 1;
    }

    QList<Progress> events;
    int completed = 0;
    std::function<void(const Progress &)> onProgress;
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

QJsonArray requestsOf(const ProviderSimulator &simulator, const QString &method)
{
    QJsonArray result;
    for (const QJsonValue &request : simulator.requests()) {
        if (request[QLatin1String("method")].toString() == method)
            result.append(request);
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
        FXFaxConnection job;
        Recorder recorder;
        // The provider stops taking the account's login once the busy receiver has failed.
        recorder.onProgress = [this](const Progress &progress) {
            if (progress.state == -1 && progress.number.endsWith(QLatin1String("486")))
                QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", "http401"}}));
        };
        QVERIFY((recorder.run(job, letter(),
                              {QStringLiteral("+4930555000123"), QStringLiteral("+4930555000486"),
                               QStringLiteral("+4930555000999")})));
        QVERIFY(!job.isSending());

        const QString queued = FXText("fax_trasmit_queued");
        const QString sending = FXText("fax_trasmit_data");
        const QList<Progress> expected{
            {0, queued, "+4930555000123", "", "", {}},
            {1, sending, "+4930555000123", "", "", {}},
            {2, FXText("fax_succeeded"), "+4930555000123", "", "", {}},
            {0, queued, "+4930555000486", "", "", {}},
            {1, sending, "+4930555000486", "", "", {}},
            {-1, FXText("fax_failed"), "+4930555000486", "486", "Error Code: 486", {}},
            {-1, FXText("fax_failed"), "+4930555000999", "401", FXText("error_auth"), {}},
        };
        QCOMPARE(recorder.events.size(), expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const Progress &event = recorder.events.at(i);
            const Progress &want = expected.at(i);
            QCOMPARE(event.state, want.state);
            QCOMPARE(event.title, want.title);
            QCOMPARE(event.number, want.number);
            QCOMPARE(event.reason, want.reason);
            QCOMPARE(event.reasonTitle, want.reasonTitle);
            QCOMPARE(event.fax.number(), want.number);
        }
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
        QCOMPARE(requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate")).size(), 3);
        QCOMPARE(recorder.completed, 1);
    }

    // A refused login on the first receiver ends that receiver alone; the job goes on with the
    // others once the provider takes the login again.
    void refusedLoginOnTheFirstReceiver()
    {
        QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", "http401"}}));
        FXFaxConnection job;
        Recorder recorder;
        recorder.onProgress = [this](const Progress &progress) {
            if (progress.state == -1)
                QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", QString()}}));
        };
        QVERIFY((recorder.run(job, letter(),
                              {QStringLiteral("+4930555000999"), QStringLiteral("+4930555000123"),
                               QStringLiteral("+4930555000124")})));

        QStringList outcomes;
        for (const Progress &event : std::as_const(recorder.events)) {
            if (event.state == -1 || event.state == 2)
                outcomes << QStringLiteral("%1 %2 %3")
                                .arg(event.number)
                                .arg(event.state)
                                .arg(event.reason);
        }
        QCOMPARE(outcomes, (QStringList{QStringLiteral("+4930555000999 -1 401"),
                                        QStringLiteral("+4930555000123 2 "),
                                        QStringLiteral("+4930555000124 2 ")}));
        QCOMPARE(requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate")).size(), 3);
    }

    // A session request that comes to nothing ends its receiver at once with the reason: the
    // connection broke, or the provider did not accept it within the give-up time. The job
    // goes on with the next receiver, and nothing stays open for the poller.
    void unacceptedSessionRequests_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("giveUpMs");
        QTest::addColumn<QString>("text");
        QTest::newRow("connection closed") << "close" << 0 << QString();
        QTest::newRow("never answered")
            << "noanswer" << 1500 << "The provider did not accept the fax within 1.5 s";
    }
    void unacceptedSessionRequests()
    {
        QFETCH(QString, fault);
        QFETCH(int, giveUpMs);
        QFETCH(QString, text);
        QVERIFY(m_simulator.setFaults({{"zentari.SessionInitiate", fault}}));
        FXFaxConnection job;
        job.setGiveUpAfterMs(giveUpMs);
        Recorder recorder;
        QVERIFY((recorder.run(
            job, letter(), {QStringLiteral("+4930555000123"), QStringLiteral("+4930555000124")})));

        QList<Progress> failures;
        for (const Progress &event : std::as_const(recorder.events)) {
            if (event.state == -1)
                failures.append(event);
        }
        QCOMPARE(failures.size(), 2);
        for (const Progress &failure : std::as_const(failures)) {
            QCOMPARE(failure.reason, QStringLiteral("-1"));
            QVERIFY2(!failure.reasonTitle.isEmpty()
                         && !failure.reasonTitle.startsWith(QLatin1String("Error Code")),
                     qPrintable(failure.reasonTitle));
            if (!text.isEmpty())
                QCOMPARE(failure.reasonTitle, text);
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

        FXFaxConnection job;
        Recorder recorder;
        job.setCoverSubject(QStringLiteral("Invoice"));
        job.setUseCoverSheet(true);
        job.setDocumentType(1);
        FBUserDefaults::setObject(false, kSaveSendDocumentKey);
        QVERIFY((recorder.run(job, fixtureDocument(document), {receiver})));
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
        const QJsonArray initiated =
            requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate"));
        QCOMPARE(initiated.size(), 1);
        QCOMPARE(initiated.first()[QLatin1String("pdf_sha256")].toString(),
                 QString::fromLatin1(QCryptographicHash::hash(TestEnvironment::readFile(copy),
                                                              QCryptographicHash::Sha256)
                                         .toHex()));
    }

    // Two jobs in one process prepare their pages at the same time; each sends its own.
    void twoJobsAtOnce()
    {
        FXFaxConnection first, second;
        Recorder firstRecorder, secondRecorder;
        first.setDelegate(&firstRecorder);
        second.setDelegate(&secondRecorder);
        first.startSendingFaxForPDFData(fixtureDocument(QStringLiteral("one.pdf")),
                                        {QStringLiteral("030555000123")});
        second.startSendingFaxForPDFData(fixtureDocument(QStringLiteral("three-pages.pdf")),
                                         {QStringLiteral("030555000124")});
        QVERIFY(QTest::qWaitFor(
            [&] { return firstRecorder.completed == 1 && secondRecorder.completed == 1; },
            kJobTimeoutMs));
        QCOMPARE(firstRecorder.events.last().fax.pages(), 1);
        QCOMPARE(secondRecorder.events.last().fax.pages(), 3);
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
        FXFaxConnection job;
        Recorder recorder;
        QVERIFY((recorder.run(job, fixtureDocument(QStringLiteral("one.pdf")),
                              {QStringLiteral("+4930555000125")})));
        const Fax fax = recorder.events.last().fax;
        const Connection connection = fax.connections().first();
        const QString sessionID = connection.sessionID();
        const QDateTime finished = connection.finishDate();
        const qsizetype events = recorder.events.size();
        QVERIFY(m_simulator.reset());

        if (kind == QLatin1String("sending")) {
            job.didReceiveSessionStatus(
                XmlRpcMap{{"SessionStatus", "sending"}, {"StatusCode", 200}}, sessionID);
        } else if (kind == QLatin1String("failed")) {
            job.didReceiveSessionStatus(XmlRpcMap{{"SessionStatus", "failed"}, {"StatusCode", 486}},
                                        sessionID);
        } else if (kind == QLatin1String("error")) {
            job.didFailWithErrorCode(500);
        } else {
            job.didSendFaxFileSucceededWithSessionID(QStringLiteral("another-session"));
        }
        // Whatever the answer set off would show while the job serves its next receiver.
        job.startSendingFaxForPDFData(fixtureDocument(QStringLiteral("one.pdf")),
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
        QCOMPARE(requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate")).size(), 1);
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
        FXFaxConnection job;
        Recorder recorder;
        QVERIFY(
            (recorder.run(job, fixtureDocument(QStringLiteral("one.pdf")),
                          {QStringLiteral("+4930555000126"), QStringLiteral("+4930555000127")})));
        FXFaxConnection::setTrafficIntervalMs(500);

        QList<int> finals;
        for (const Progress &event : std::as_const(recorder.events)) {
            if (event.state == 2 || event.state == -1)
                finals << event.state;
        }
        QCOMPARE(finals, (QList<int>{2, 2}));
        QCOMPARE(recorder.events.last().fax.connections().first().reason(), QStringLiteral("0"));
    }

    // A document without fax pages is not worth a session: the receiver fails at once.
    void unreadableDocument()
    {
        FXFaxConnection job;
        Recorder recorder;
        QVERIFY(
            (recorder.run(job, "%PDF-1.4 but nothing more",
                          {QStringLiteral("+4930555000130"), QStringLiteral("+4930555000131")})));
        QCOMPARE(recorder.events.size(), 2);
        for (const Progress &event : std::as_const(recorder.events)) {
            QCOMPARE(event.state, -1);
            QCOMPARE(event.reason, QStringLiteral("-1"));
            QCOMPARE(event.fax.pages(), 0);
            QCOMPARE(event.fax.connections().first().reason(), QStringLiteral("-1"));
        }
        // (A late status request of an earlier test may still arrive; no session was asked.)
        QVERIFY(requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate")).isEmpty());
    }

    void noReceivers()
    {
        FXFaxConnection job;
        Recorder recorder;
        QVERIFY((recorder.run(job, letter(), {})));
        QVERIFY(recorder.events.isEmpty());
        QVERIFY(m_simulator.requests().isEmpty());
    }

    // Runs last: the keyring stays locked. A credential store that cannot be read fails the
    // receivers with its own reason, never as a wrong password, and nothing is sent.
    void unreadableCredentialStore()
    {
        QVERIFY(TestEnvironment::lockKeyring());
        FXFaxConnection job;
        Recorder recorder;
        QVERIFY((recorder.run(job, letter(), {QStringLiteral("+4930555000123")})));
        QCOMPARE(recorder.events.size(), 1);
        const Progress &failure = recorder.events.first();
        QCOMPARE(failure.state, -1);
        QCOMPARE(failure.reason, QStringLiteral("-1"));
        QVERIFY2(failure.reasonTitle.contains(QLatin1String("credential store")),
                 qPrintable(failure.reasonTitle));
        QVERIFY(requestsOf(m_simulator, QStringLiteral("zentari.SessionInitiate")).isEmpty());
    }
};

QTEST_MAIN(TestFXFaxConnection)
#include "tst_fxfaxconnection.moc"
