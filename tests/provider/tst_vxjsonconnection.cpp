#include "provider/VXJSONConnection.h"

#include "LogCapture.h"
#include "ProviderSimulator.h"
#include "RecordingRestDelegate.h"
#include "TestEnvironment.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

namespace {

void storePassword(const QString &password)
{
    FXError error;
    KeychainUtils::storeUsername(QStringLiteral("password"), password,
                                 QStringLiteral("voxaria Fax"), QString(), true, &error);
}

} // namespace

class TestVXJSONConnection : public QObject
{
    Q_OBJECT

    std::unique_ptr<ProviderSimulator> m_sim;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        m_sim = std::make_unique<ProviderSimulator>();
        QVERIFY(m_sim->isRunning());
        m_sim->exportEndpoints();
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
    }
    void init()
    {
        QVERIFY(m_sim->reset());
        storePassword(QStringLiteral("demo-password"));
    }
    void cleanupTestCase() { m_sim.reset(); }

    void tokenRequest()
    {
        QByteArray body;
        const QNetworkRequest request = VXJSONConnection::request(&body);
        QCOMPARE(request.url(), m_sim->tokenUrl());
        const QJsonObject sent = QJsonDocument::fromJson(body).object();
        QCOMPARE(sent, (QJsonObject{{"username", "demo"}, {"password", "demo-password"}}));

        RecordingRestDelegate delegate;
        QVERIFY(
            runToCompletion<VXJSONConnection>(delegate, [](VXJSONConnection *c) { c->login(); }));
        QCOMPARE(delegate.events.size(), 1);
        QCOMPARE(delegate.events[0].name, QStringLiteral("token"));
        QVERIFY(delegate.events[0].argument.startsWith(QLatin1String("sim-")));
        QVERIFY(delegate.allOnMainThread);

        const QJsonObject seen = m_sim->requests()[0].toObject();
        QCOMPARE(seen["params"]["username"].toString(), QStringLiteral("demo"));
        const QJsonObject headers = seen["headers"].toObject();
        QCOMPARE(headers["Content-Type"].toString(), QStringLiteral("application/json"));
        QCOMPARE(headers["Accept"].toString(), QStringLiteral("application/json"));
        QVERIFY(!headers.contains("Authorization"));
    }

    void answers_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("logged");
        const QString statusLine = QStringLiteral("Some error occurred. response status code ");
        QTest::newRow("wrong password")
            << "wrong-password" << QStringList{"loginFail:401"} << statusLine + "401";
        QTest::newRow("HTTP 500") << "http500" << QStringList{"loginFail:500"}
                                  << statusLine + "500";
        QTest::newRow("not JSON") << "garbage" << QStringList{"loginFail:-1"} << "decoder: ";
        QTest::newRow("no token member")
            << R"(body:{"other": "x"})" << QStringList{"loginFail:-1"} << "";
        QTest::newRow("token not text")
            << R"(body:{"token": 5})" << QStringList{"loginFail:-1"} << "";
        QTest::newRow("top level a list")
            << R"(body:[{"token": "x"}])" << QStringList{"loginFail:-1"} << "";
        QTest::newRow("token") << R"(body:{"token": "abc", "expires": 3600})"
                               << QStringList{"token:abc"} << "";
        QTest::newRow("empty") << "empty" << QStringList{} << "";
        QTest::newRow("connection closed") << "close" << QStringList{} << "";
    }
    void answers()
    {
        QFETCH(QString, fault);
        QFETCH(QStringList, expected);
        QFETCH(QString, logged);
        if (fault == QLatin1String("wrong-password"))
            storePassword(QStringLiteral("wrong"));
        else
            QVERIFY(m_sim->setFaults({{"token", fault}}));
        LogCapture logs;
        RecordingRestDelegate delegate;
        QVERIFY(
            runToCompletion<VXJSONConnection>(delegate, [](VXJSONConnection *c) { c->login(); }));
        QCOMPARE(delegate.summary(), expected);
        if (!logged.isEmpty())
            QVERIFY2(logs.contains(logged), qPrintable(logs.messages().join('\n')));
        for (const QString &line : logs.messages())
            QVERIFY2(!line.contains(QLatin1String("demo-password")), qPrintable(line));
    }
};

QTEST_GUILESS_MAIN(TestVXJSONConnection)
#include "tst_vxjsonconnection.moc"
