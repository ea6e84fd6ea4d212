#include "provider/VXRestConnection.h"

#include "LogCapture.h"
#include "ProviderSimulator.h"
#include "RecordingRestDelegate.h"
#include "TestEnvironment.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"
#include "provider/VXTransfer.h"

#include <QCryptographicHash>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <optional>

namespace {

const QString kUser = QStringLiteral("demo");
const QString kPassword = QStringLiteral("demo-password");
constexpr int kCompletionTimeoutMs = 20000;

void storeCredentials(const QString &username, const std::optional<QString> &password)
{
    FBUserDefaults::setObject(username, kUsernameKey);
    FXError error;
    if (password)
        KeychainUtils::storeUsername(QStringLiteral("password"), *password,
                                     QStringLiteral("voxaria Fax"), QString(), true, &error);
    else
        KeychainUtils::deleteItemForUsername(QStringLiteral("password"),
                                             QStringLiteral("voxaria Fax"), QString(), &error);
}

const QHash<QString, QString> kWireNames{{"initiate", "zentari.SessionInitiate"},
                                         {"status", "zentari.SessionStatusGet"},
                                         {"ownUriList", "zentari.OwnUriListGet"},
                                         {"balance", "zentari.BalanceGet"}};

void callMethod(VXRestConnection *connection, const QString &method, const QString &sessionID)
{
    if (method == QLatin1String("initiate"))
        connection->sendFaxFileData(QByteArrayLiteral("%PDF-1.4 fax"),
                                    QStringLiteral("+4921155500123"));
    else if (method == QLatin1String("status"))
        connection->sessionStatusForID(sessionID);
    else if (method == QLatin1String("ownUriList"))
        connection->ownUriList();
    else
        connection->balance();
}

QJsonObject lastRequest(const ProviderSimulator &sim, const QString &method)
{
    const QJsonArray requests = sim.requests();
    for (qsizetype i = requests.size() - 1; i >= 0; --i) {
        if (requests[i][QLatin1String("method")].toString() == method)
            return requests[i].toObject();
    }
    return {};
}

} // namespace

class TestVXRestConnection : public QObject
{
    Q_OBJECT

    std::unique_ptr<ProviderSimulator> m_sim;

    // A session the simulator knows, started without faults.
    QString startSession()
    {
        RecordingRestDelegate delegate;
        if (!runToCompletion(delegate, [](VXRestConnection *c) { callMethod(c, "initiate", {}); })
            || delegate.events.isEmpty() || delegate.events.first().name != QLatin1String("sent"))
            return QString();
        return delegate.events.first().argument;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        m_sim = std::make_unique<ProviderSimulator>(QStringList{"--outcome", "486=486"});
        QVERIFY(m_sim->isRunning());
        m_sim->exportEndpoints();
    }
    void init()
    {
        QVERIFY(m_sim->reset());
        storeCredentials(kUser, kPassword);
        FBUserDefaults::removeObjectForKey(kLocalSipUriKey);
    }
    void cleanupTestCase() { m_sim.reset(); }

    void authorizationHeader_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<std::optional<QString>>("password");
        QTest::addColumn<QString>("expected");
        QTest::newRow("account") << kUser << std::optional(kPassword)
                                 << "Basic ZGVtbzpkZW1vLXBhc3N3b3Jk";
        QTest::newRow("non-ASCII, as UTF-8")
            << QString::fromUtf8("jürgen") << std::optional(QString::fromUtf8("pässwörd€"))
            << "Basic asO8cmdlbjpww6Rzc3fDtnJk4oKs";
        QTest::newRow("no stored password")
            << kUser << std::optional<QString>() << "Basic ZGVtbzo=";
        QTest::newRow("no user name")
            << QString() << std::optional(kPassword) << "Basic OmRlbW8tcGFzc3dvcmQ=";
    }
    // The rows run one after another in one process, so a value kept from an earlier call
    // would show up here.
    void authorizationHeader()
    {
        QFETCH(QString, username);
        QFETCH(std::optional<QString>, password);
        QFETCH(QString, expected);
        storeCredentials(username, password);
        QCOMPARE(VXRestConnection::authorizationValue(), expected.toLatin1());

        RecordingRestDelegate delegate;
        QVERIFY(runToCompletion(delegate, [](VXRestConnection *c) { c->balance(); }));
        const QJsonObject headers = lastRequest(*m_sim, "zentari.BalanceGet")["headers"].toObject();
        QCOMPARE(headers["Authorization"].toString(), expected);
        QCOMPARE(headers["Content-Type"].toString(), QStringLiteral("text/xml"));
        const QString outcome = username == kUser && password == kPassword ? "balance" : "fail:401";
        QCOMPARE(delegate.summary(), QStringList{outcome});
    }

    void sessionInitiateRequest_data()
    {
        QTest::addColumn<QString>("number");
        QTest::addColumn<QVariant>("localSipUri");
        QTest::addColumn<QString>("remoteUri");
        QTest::addColumn<QStringList>("members");
        const QStringList three{"RemoteUri", "TOS", "Content"};
        const QStringList four{"LocalUri", "RemoteUri", "TOS", "Content"};
        QTest::newRow("every plus removed")
            << "+49+211+555" << QVariant() << "sip:49211555@sip.voxaria.net" << three;
        QTest::newRow("no plus") << "004930555" << QVariant() << "sip:004930555@sip.voxaria.net"
                                 << three;
        QTest::newRow("empty local line is absent")
            << "+4930555" << QVariant(QString()) << "sip:4930555@sip.voxaria.net" << three;
        QTest::newRow("local line first") << "+4930555" << QVariant("2000001f0@sip.voxaria.net")
                                          << "sip:4930555@sip.voxaria.net" << four;
    }
    void sessionInitiateRequest()
    {
        QFETCH(QString, number);
        QFETCH(QVariant, localSipUri);
        QFETCH(QString, remoteUri);
        QFETCH(QStringList, members);
        if (localSipUri.isValid())
            FBUserDefaults::setObject(localSipUri, kLocalSipUriKey);

        RecordingRestDelegate delegate;
        QVERIFY(runToCompletion(delegate, [&](VXRestConnection *c) {
            c->sendFaxFileData(QByteArrayLiteral("%PDF-1.4"), number);
        }));
        const QJsonObject request = lastRequest(*m_sim, "zentari.SessionInitiate");
        QCOMPARE(request["member_order"].toVariant().toStringList(), members);
        const QJsonObject session = request["params"][0].toObject();
        QCOMPARE(session["RemoteUri"].toString(), remoteUri);
        QCOMPARE(session["TOS"].toString(), QStringLiteral("fax"));
        if (members.size() == 4)
            QCOMPARE(session["LocalUri"].toString(), localSipUri.toString());
    }

    // Five megabytes of random bytes: every byte value, markup characters included.
    void documentArrivesUnchanged()
    {
        QByteArray document(5 * 1024 * 1024, Qt::Uninitialized);
        QRandomGenerator generator(4711);
        generator.fillRange(reinterpret_cast<quint32 *>(document.data()), document.size() / 4);
        RecordingRestDelegate delegate;
        QVERIFY(runToCompletion(delegate, [&](VXRestConnection *c) {
            c->sendFaxFileData(document, QStringLiteral("+4930555"));
        }));
        const QJsonObject request = lastRequest(*m_sim, "zentari.SessionInitiate");
        QVERIFY2(!request.contains("pdf_error"), qPrintable(request["pdf_error"].toString()));
        QCOMPARE(request["pdf_size"].toInteger(), document.size());
        QCOMPARE(request["pdf_sha256"].toString().toLatin1(),
                 QCryptographicHash::hash(document, QCryptographicHash::Sha256).toHex());
    }

    void answers_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("expected"); // the first callback; "" for none
        QTest::addColumn<QString>("logged");
        QTest::addColumn<QString>("notLogged");

        const QString statusLine = QStringLiteral("Some error occurred. response status code ");
        for (const QString method : {"initiate", "status", "ownUriList", "balance"}) {
            const bool logsStatus = method == "initiate" || method == "balance";
            const bool isInitiate = method == "initiate";
            const QString success = method == "initiate" ? "sent" : method;
            const auto row = [&](const char *name, const QString &fault, const QString &expected,
                                 const QString &logged, const QString &notLogged) {
                QTest::addRow("%s %s", qPrintable(method), name)
                    << method << fault << expected << logged << notLogged;
            };
            row("answered", "", success, "[decoder object]: ", "");
            row("wrong password", "wrong-password", "fail:401",
                logsStatus ? statusLine + "401" : "", logsStatus ? "" : statusLine);
            row("HTTP 500", "http500", "fail:500", logsStatus ? statusLine + "500" : "",
                logsStatus ? "" : statusLine);
            row("redirect", "redirect", "fail:307", "", "");
            row("fault", "fault:4711", "fail:4711", "XML-RPC error: Simulated fault", "");
            row("truncated", "truncated", "fail:-1", "Some error occurred", "[decoder object]");
            row("garbage before the document", "garbage", success, "", "");
            row("empty", "empty", "", isInitiate ? "Some error occurred" : "", "");
            row("connection closed", "close", "", isInitiate ? "Error: " : "", "");
            row("no identifier",
                "body:<?xml version='1.0'?><methodResponse><params><param>"
                "<value><struct></struct></value></param></params></methodResponse>",
                isInitiate ? "fail:-1" : success, "", "");
        }
    }
    void answers()
    {
        QFETCH(QString, method);
        QFETCH(QString, fault);
        QFETCH(QString, expected);
        QFETCH(QString, logged);
        QFETCH(QString, notLogged);

        const QString sessionID = method == QLatin1String("status") ? startSession() : QString();
        if (method == QLatin1String("status"))
            QVERIFY(!sessionID.isEmpty());
        if (fault == QLatin1String("wrong-password"))
            storeCredentials(kUser, QStringLiteral("wrong"));
        else if (!fault.isEmpty())
            QVERIFY(m_sim->setFaults({{kWireNames.value(method), fault}}));

        LogCapture logs;
        RecordingRestDelegate delegate;
        QVERIFY(runToCompletion(delegate,
                                [&](VXRestConnection *c) { callMethod(c, method, sessionID); }));
        QVERIFY(delegate.allOnMainThread);
        if (expected.isEmpty())
            QVERIFY2(delegate.events.isEmpty(), qPrintable(delegate.summary().join(' ')));
        else if (expected.startsWith(QLatin1String("fail:")))
            QCOMPARE(delegate.summary(), QStringList{expected});
        else
            QCOMPARE(delegate.events.value(0).name, expected);
        if (!logged.isEmpty())
            QVERIFY2(logs.contains(logged), qPrintable(logs.messages().join('\n')));
        if (!notLogged.isEmpty())
            QVERIFY2(!logs.contains(notLogged), qPrintable(logs.messages().join('\n')));

        // What a status success hands on is the whole answer, for the session asked about.
        // (Balance and line list: tst_preferencescontroller.)
        if (method == QLatin1String("status")
            && (fault.isEmpty() || fault == QLatin1String("garbage"))) {
            QCOMPARE(delegate.events.first().argument, sessionID);
            QCOMPARE(delegate.events.first().value["SessionStatus"].toString(),
                     QStringLiteral("sending"));
        }
    }

    void initiateAsksForTheStatusBeforeReporting()
    {
        QNetworkAccessManager *manager = VXTransfer::sharedNetworkAccessManager();
        RecordingRestDelegate delegate;
        int requestsRunningAtReport = -1;
        delegate.onEvent = [&](const RecordingRestDelegate::Event &event) {
            if (event.name != QLatin1String("sent"))
                return;
            requestsRunningAtReport = 0;
            for (QNetworkReply *reply : manager->findChildren<QNetworkReply *>())
                requestsRunningAtReport += reply->isRunning() ? 1 : 0;
        };
        QVERIFY(runToCompletion(delegate, [](VXRestConnection *c) {
            c->sendFaxFileData(QByteArrayLiteral("%PDF"), QStringLiteral("+4930555486"));
        }));
        QCOMPARE(requestsRunningAtReport, 1);

        QCOMPARE(delegate.events.size(), 2);
        const QString id = delegate.events[0].argument;
        QCOMPARE(delegate.summary(), (QStringList{"sent:" + id, "status:" + id}));
        const QJsonArray requests = m_sim->requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[1]["method"].toString(), QStringLiteral("zentari.SessionStatusGet"));
        QCOMPARE(requests[1]["params"][0]["SessionID"].toString(), id);
        QCOMPARE(delegate.events[1].value["SessionStatus"].toString(), QStringLiteral("queued"));
    }

    // Each completion answers for its own call, even when they finish in any order.
    void callsInFlightTogether()
    {
        const QString first = startSession();
        const QString second = startSession();
        QVERIFY(!first.isEmpty() && !second.isEmpty());
        RecordingRestDelegate delegate;
        QVERIFY(runToCompletion(delegate, [&](VXRestConnection *c) {
            c->sessionStatusForID(first);
            c->balance();
            c->sessionStatusForID(second);
            c->ownUriList();
        }));
        QStringList seen = delegate.summary();
        seen.sort();
        QStringList expected{"balance", "ownUriList", "status:" + first, "status:" + second};
        expected.sort();
        QCOMPARE(seen, expected);
    }

    void parentOwnsTheConnection()
    {
        QObject owner;
        RecordingRestDelegate delegate;
        QPointer<VXRestConnection> connection = new VXRestConnection(&owner);
        connection->setDelegate(&delegate);
        connection->balance();
        QTRY_COMPARE_WITH_TIMEOUT(delegate.events.size(), 1, kCompletionTimeoutMs);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(connection);
        connection->ownUriList();
        QTRY_COMPARE_WITH_TIMEOUT(delegate.summary(), (QStringList{"balance", "ownUriList"}),
                                  kCompletionTimeoutMs);
    }

    void deletedWhileWaitingReportsNothing()
    {
        QVERIFY(m_sim->setFaults({{"zentari.BalanceGet", "noanswer"}}));
        RecordingRestDelegate delegate;
        auto *connection = new VXRestConnection(this);
        connection->setDelegate(&delegate);
        connection->balance();
        QTRY_COMPARE_WITH_TIMEOUT(m_sim->requests().size(), 1, kCompletionTimeoutMs);
        delete connection;

        // A later call's answer arrives after anything the first one could still deliver.
        QVERIFY(m_sim->setFaults({{"zentari.BalanceGet", QJsonValue()}}));
        RecordingRestDelegate later;
        QVERIFY(runToCompletion(later, [](VXRestConnection *c) { c->ownUriList(); }));
        QCOMPARE(later.summary(), QStringList{"ownUriList"});
        QVERIFY(delegate.events.isEmpty());
    }

    // The receiver may drop the connection from inside a callback; the status request that
    // follows a start then goes with it.
    void delegateDeletesTheConnection_data()
    {
        QTest::addColumn<bool>("parented");
        QTest::newRow("owned") << true;
        QTest::newRow("self-deleting") << false;
    }
    void delegateDeletesTheConnection()
    {
        QFETCH(bool, parented);
        RecordingRestDelegate delegate;
        auto *connection = new VXRestConnection(parented ? this : nullptr);
        QSignalSpy destroyed(connection, &QObject::destroyed);
        connection->setDelegate(&delegate);
        delegate.onEvent = [&](const RecordingRestDelegate::Event &) { delete connection; };
        connection->sendFaxFileData(QByteArrayLiteral("%PDF"), QStringLiteral("+4930555"));
        QTRY_COMPARE_WITH_TIMEOUT(destroyed.count(), 1, kCompletionTimeoutMs);
        QCOMPARE(delegate.events.size(), 1);
        QCOMPARE(delegate.events.first().name, QStringLiteral("sent"));

        RecordingRestDelegate later;
        QVERIFY(runToCompletion(later, [](VXRestConnection *c) { c->balance(); }));
        QCOMPARE(delegate.events.size(), 1);
    }

    void passwordNeverLogged()
    {
        const QString password = QStringLiteral("Secret-Never-Logged-42");
        storeCredentials(kUser, password);
        const QByteArray encoded = VXRestConnection::authorizationValue().mid(6);
        LogCapture logs;
        QLoggingCategory::setFilterRules(QStringLiteral("faxolino.*=true"));
        RecordingRestDelegate delegate;
        const bool finished = runToCompletion(delegate, [](VXRestConnection *c) {
            c->sendFaxFileData(QByteArrayLiteral("%PDF"), QStringLiteral("+4930555"));
            c->balance();
            c->ownUriList();
        });
        QLoggingCategory::setFilterRules(QString());
        QVERIFY(finished);
        QVERIFY(!logs.messages().isEmpty());
        for (const QString &line : logs.messages()) {
            QVERIFY2(!line.contains(password), qPrintable(line));
            QVERIFY2(!line.contains(QString::fromLatin1(encoded)), qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(TestVXRestConnection)
#include "tst_vxrestconnection.moc"
