#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"
#include "journal/Connection.h"
#include "journal/FXCoreDataController.h"
#include "journal/FXManagedObjectContext.h"
#include "sending/FXConnectionClaim.h"
#include "sending/FXFaxReport.h"
#include "sending/VXFaxSessionStateQueue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

class CountingReports : public FXFaxReportDelegate
{
public:
    void renderPDFReport(const QString &, const Fax &forFax) override { faxes.append(forFax); }
    QList<Fax> faxes;
};

} // namespace

class TestVXFaxSessionStateQueue : public QObject
{
    Q_OBJECT

    std::unique_ptr<ProviderSimulator> m_simulator;

    void control(const QString &name, const QJsonObject &body)
    {
        QVERIFY(!m_simulator->control("POST", name, body).isNull());
    }

    QStringList polledSessionIDs()
    {
        QStringList ids;
        for (const QJsonValue &request : m_simulator->requests()) {
            const QJsonObject entry = request.toObject();
            if (entry.value(QStringLiteral("method")).toString()
                == QLatin1String("zentari.SessionStatusGet"))
                ids.append(entry.value(QStringLiteral("params"))
                               .toArray()
                               .at(0)
                               .toObject()
                               .value(QStringLiteral("SessionID"))
                               .toString());
        }
        return ids;
    }

    // A status answer as the provider writes it; no state for an empty one, no code for -1.
    static QString statusAnswer(const QString &state, int code)
    {
        QString members;
        if (!state.isEmpty())
            members += QStringLiteral("<member><name>SessionStatus</name><value><string>%1"
                                      "</string></value></member>")
                           .arg(state);
        if (code >= 0)
            members += QStringLiteral("<member><name>StatusCode</name><value><int>%1</int>"
                                      "</value></member>")
                           .arg(code);
        return QStringLiteral("body:<?xml version='1.0'?><methodResponse><params><param><value>"
                              "<struct>%1</struct></value></param></params></methodResponse>")
            .arg(members);
    }

    FXManagedObjectContext *context()
    {
        return FXCoreDataController::sharedInstance()->managedObjectContext();
    }

    // Open connections with the given session identifiers, inserted in that order and begun
    // `step` seconds apart (the first one earliest for a positive step).
    QList<Connection> openConnections(const QStringList &sessionIDs, const QDateTime &start,
                                      int step = 1)
    {
        QList<Connection> made;
        for (qsizetype i = 0; i < sessionIDs.size(); ++i) {
            Fax fax = context()->insertNewFax();
            fax.setNumber(QStringLiteral("+49301234567"));
            fax.setDate(start);
            Connection connection = context()->insertNewConnectionForFax(fax);
            connection.setBeginDate(start.addSecs(step * i));
            connection.setSessionID(sessionIDs.at(i));
            made.append(connection);
        }
        FXCoreDataController::sharedInstance()->saveMainContext();
        return made;
    }

    void clearJournal()
    {
        for (const Fax &fax : context()->fetchFaxes())
            context()->deleteObject(fax);
        FXCoreDataController::sharedInstance()->saveMainContext();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        m_simulator = std::make_unique<ProviderSimulator>(
            QStringList{QStringLiteral("--adopt-unknown-sessions"), QStringLiteral("--advance"),
                        QStringLiteral("hold")});
        QVERIFY(m_simulator->isRunning());
        m_simulator->exportEndpoints();
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
        FXError error;
        QVERIFY(KeychainUtils::storeUsername(
            QStringLiteral("password"), QStringLiteral("demo-password"),
            QStringLiteral("voxaria Fax"), QString(), true, &error));
        QVERIFY(context());
    }

    void cleanupTestCase() { m_simulator.reset(); }

    void init()
    {
        clearJournal();
        QVERIFY(m_simulator->reset());
        control(QStringLiteral("status-options"), {{"omit_status_code", false}});
    }

    void noOpenConnectionMakesNoRequest()
    {
        Fax fax = context()->insertNewFax();
        Connection closed = context()->insertNewConnectionForFax(fax);
        closed.setSessionID(QStringLiteral("done"));
        closed.setReason(QStringLiteral("0"));
        FXCoreDataController::sharedInstance()->saveMainContext();

        CountingReports reports;
        VXFaxSessionStateQueue poller(&reports);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QVERIFY(finished.wait(5000));
        QVERIFY(polledSessionIDs().isEmpty());
        QVERIFY(reports.faxes.isEmpty());
    }

    // A pass asks for the 500 earliest open connections and closes each with the code the
    // provider answers; the 501st waits for a later pass.
    void passClosesTheEarliestFiveHundred()
    {
        QStringList ids;
        for (int i = 0; i < 501; ++i)
            ids.append(QStringLiteral("session-%1").arg(i, 3, 10, QLatin1Char('0')));
        // The first inserted (the lowest row id) begun last, so that only an order by
        // beginDate leaves it for the next pass.
        openConnections(ids, QDateTime::currentDateTime().addDays(-1), -1);
        QVERIFY(m_simulator->setFaults({{"zentari.SessionStatusGet", statusAnswer("sent", 200)}}));

        CountingReports reports;
        VXFaxSessionStateQueue poller(&reports);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QVERIFY(finished.wait(60000));

        QStringList polled = polledSessionIDs();
        QCOMPARE(polled.size(), 500);
        polled.sort();
        const QStringList expected = ids.mid(1);
        QCOMPARE(polled, expected);
        QCOMPARE(reports.faxes.size(), 500);

        const QList<Connection> open = context()->fetchOpenConnections();
        QCOMPARE(open.size(), 1);
        QCOMPARE(open.first().sessionID(), ids.first());
        QCOMPARE(context()->fetchConnectionsWithSessionID(ids.last()).first().reason(),
                 QStringLiteral("0"));
    }

    // What an answer does to the records of its session: the state decides, as in the job;
    // an answer without one is recorded by its code.
    void answers_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("reports");
        QTest::newRow("sent") << statusAnswer("sent", 200) << QStringLiteral("0") << 2;
        QTest::newRow("failed") << statusAnswer("failed", 486) << QStringLiteral("486") << 2;
        QTest::newRow("still queued") << statusAnswer("queued", 200) << QString() << 0;
        QTest::newRow("still sending") << statusAnswer("sending", 200) << QString() << 0;
        QTest::newRow("no state, a code") << statusAnswer({}, 503) << QStringLiteral("503") << 2;
        QTest::newRow("no state, no code") << statusAnswer({}, -1) << QString() << 2;
        QTest::newRow("service failure") << QStringLiteral("http500") << QString() << 0;
        QTest::newRow("fault") << QStringLiteral("fault:404") << QString() << 0;
    }
    void answers()
    {
        QFETCH(QString, fault);
        QFETCH(QString, reason);
        QFETCH(int, reports);
        QVERIFY(m_simulator->setFaults({{"zentari.SessionStatusGet", fault}}));

        // Two records share one session: both are closed, and both faxes get a report.
        openConnections({QStringLiteral("shared"), QStringLiteral("shared")},
                        QDateTime::currentDateTime());
        CountingReports counting;
        VXFaxSessionStateQueue poller(&counting);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QVERIFY(finished.wait(10000));

        const QList<Connection> records =
            context()->fetchConnectionsWithSessionID(QStringLiteral("shared"));
        QCOMPARE(records.size(), 2);
        for (const Connection &record : records)
            QCOMPARE(record.reason(), reason);
        // Each answer reports every record of its session: two answers, two records.
        QCOMPARE(counting.faxes.size(), reports * 2);
    }

    // A connection that never got a session is closed as failed once the give-up time is
    // over, and no longer asked about; a younger one is still waited for.
    void connectionsWithoutSession_data()
    {
        QTest::addColumn<int>("minutesAgo");
        QTest::addColumn<bool>("closed");
        QTest::newRow("begun ten minutes ago") << 10 << true;
        QTest::newRow("begun just now") << 0 << false;
    }
    void connectionsWithoutSession()
    {
        QFETCH(int, minutesAgo);
        QFETCH(bool, closed);
        openConnections({QString()}, QDateTime::currentDateTime().addSecs(-60 * minutesAgo));
        CountingReports counting;
        VXFaxSessionStateQueue poller(&counting);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QVERIFY(finished.wait(10000));
        const Connection record = context()->fetchFaxes().first().connections().first();
        QCOMPARE(record.reason(), closed ? QStringLiteral("-1") : QString());
        QCOMPARE(counting.faxes.size(), closed ? 1 : 0);
        QCOMPARE(polledSessionIDs().size(), closed ? 0 : 1);
    }

    // A connection a running job claims is left to it, here or in another process: neither
    // asked about nor closed, also past the give-up time. Released, the poller takes it over.
    void claimedConnectionsAreLeftToTheirJob()
    {
        const QList<Connection> made = openConnections({QStringLiteral("followed"), QString()},
                                                       QDateTime::currentDateTime().addSecs(-600));
        QVERIFY(m_simulator->setFaults({{"zentari.SessionStatusGet", statusAnswer("sent", 200)}}));
        FXConnectionClaim first;
        FXConnectionClaim second;
        QVERIFY(first.claim(made.at(0)));
        QVERIFY(second.claim(made.at(1)));
        QVERIFY(!FXConnectionClaim().claim(made.at(0)));
        {
            CountingReports counting;
            VXFaxSessionStateQueue poller(&counting);
            QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
            QVERIFY(finished.wait(10000));
            QVERIFY(polledSessionIDs().isEmpty());
            QCOMPARE(context()->fetchOpenConnections().size(), 2);
            QVERIFY(counting.faxes.isEmpty());
        }
        first.release();
        second.release();
        CountingReports counting;
        VXFaxSessionStateQueue poller(&counting);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QVERIFY(finished.wait(10000));
        QVERIFY(context()->fetchOpenConnections().isEmpty());
        QCOMPARE(counting.faxes.size(), 2);
    }

    // After the pass at creation, passes follow at the interval while records stay open.
    void passesRepeat()
    {
        QVERIFY(m_simulator->setFaults({{"zentari.SessionStatusGet", "http500"}}));
        openConnections({QStringLiteral("again")}, QDateTime::currentDateTime());
        VXFaxSessionStateQueue::setIntervalMs(300);
        CountingReports counting;
        VXFaxSessionStateQueue poller(&counting);
        QSignalSpy finished(&poller, &VXFaxSessionStateQueue::passFinished);
        QTRY_VERIFY_WITH_TIMEOUT(finished.size() >= 3, 10000);
        VXFaxSessionStateQueue::setIntervalMs(60 * 1000);
        QVERIFY(polledSessionIDs().size() >= 3);
        QVERIFY(context()->fetchConnectionsWithSessionID(QStringLiteral("again")).first().isOpen());
    }
};

QTEST_GUILESS_MAIN(TestVXFaxSessionStateQueue)
#include "tst_vxfaxsessionstatequeue.moc"
