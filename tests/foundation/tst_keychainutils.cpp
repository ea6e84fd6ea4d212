#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLoggingCategory>
#include <QProcess>
#include <QTest>

namespace {

const QString service = QStringLiteral("voxaria Fax");
const QString account = QStringLiteral("password");

// Counts the Secret Service's item signals, to tell a write from no write.
class ItemSignals : public QObject
{
    Q_OBJECT
public:
    ItemSignals()
    {
        auto bus = QDBusConnection::sessionBus();
        for (const char *name : {"ItemCreated", "ItemChanged", "ItemDeleted"})
            bus.connect(QString(), QString(), QStringLiteral("org.freedesktop.Secret.Collection"),
                        QLatin1String(name), this, SLOT(onItemSignal(QDBusMessage)));
    }
    int count = 0;
    QStringList members;
public Q_SLOTS:
    void onItemSignal(const QDBusMessage &message)
    {
        ++count;
        members.append(message.member());
    }
};

// Child mode: one credential call in a process of its own, so that libsecret starts without
// a cached connection. Prints the error code.
int runChild(const QByteArray &operation)
{
    FXError error;
    if (operation == "get")
        KeychainUtils::getPasswordForUsername(account, service, QString(), &error);
    else if (operation == "store")
        KeychainUtils::storeUsername(account, QStringLiteral("secret"), service, QString(), true,
                                     &error);
    else
        KeychainUtils::deleteItemForUsername(account, service, QString(), &error);
    printf("%lld\n", static_cast<long long>(error.code));
    return 0;
}

} // namespace

class TestKeychainUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }
    void init()
    {
        FXError error;
        KeychainUtils::deleteItemForUsername(account, service, QString(), &error);
    }

    void missingItemReadsAsNothingWithoutError()
    {
        FXError error;
        const auto password =
            KeychainUtils::getPasswordForUsername(account, service, QString(), &error);
        QVERIFY(!password.has_value());
        QVERIFY2(error.isNull(), qPrintable(error.description));
    }

    void missingArguments_data()
    {
        QTest::addColumn<QString>("op");
        QTest::addColumn<QString>("acc");
        QTest::addColumn<QString>("pwd");
        QTest::addColumn<QString>("svc");
        QTest::newRow("get without account") << "get"
                                             << ""
                                             << "" << service;
        QTest::newRow("get without service") << "get" << account << ""
                                             << "";
        QTest::newRow("store without password") << "store" << account << "" << service;
        QTest::newRow("store without service") << "store" << account << "x"
                                               << "";
        QTest::newRow("delete without account") << "delete"
                                                << ""
                                                << "" << service;
    }
    void missingArguments()
    {
        QFETCH(QString, op);
        QFETCH(QString, acc);
        QFETCH(QString, pwd);
        QFETCH(QString, svc);
        FXError error;
        if (op == QLatin1String("get"))
            QVERIFY(!KeychainUtils::getPasswordForUsername(acc, svc, QString(), &error));
        else if (op == QLatin1String("store"))
            QVERIFY(!KeychainUtils::storeUsername(acc, pwd, svc, QString(), true, &error));
        else
            QVERIFY(!KeychainUtils::deleteItemForUsername(acc, svc, QString(), &error));
        QCOMPARE(error.code, qint64(KeychainUtils::MissingArgument));
        QCOMPARE(error.domain, QStringLiteral("KeychainUtilsErrorDomain"));
    }

    void storeReadUpdateDelete()
    {
        ItemSignals signalsSeen;
        FXError error;
        const QString first = QString::fromUtf8("pä$$wörd \"1\"");
        QVERIFY2(KeychainUtils::storeUsername(account, first, service, QString(), true, &error),
                 qPrintable(error.description));
        QTRY_COMPARE(signalsSeen.count, 1);
        QCOMPARE(KeychainUtils::getPasswordForUsername(account, service, QString(), &error), first);

        // The same password again writes nothing. The keyring signals in order, so once the
        // creation of a marker item has arrived, a change made before it would have too.
        QVERIFY(KeychainUtils::storeUsername(account, first, service, QString(), true, &error));
        const QString marker = QStringLiteral("marker");
        QVERIFY(KeychainUtils::storeUsername(marker, first, service, QString(), true, &error));
        QTRY_COMPARE(signalsSeen.count, 2);
        QCOMPARE(signalsSeen.members,
                 (QStringList{QStringLiteral("ItemCreated"), QStringLiteral("ItemCreated")}));
        QVERIFY(KeychainUtils::deleteItemForUsername(marker, service, QString(), &error));

        // Without the update flag an existing item stays as it is.
        QVERIFY(!KeychainUtils::storeUsername(account, QStringLiteral("other"), service, QString(),
                                              false, &error));
        QCOMPARE(KeychainUtils::getPasswordForUsername(account, service, QString(), &error), first);

        QVERIFY(KeychainUtils::storeUsername(account, QStringLiteral("second"), service, QString(),
                                             true, &error));
        QCOMPARE(KeychainUtils::getPasswordForUsername(account, service, QString(), &error),
                 QStringLiteral("second"));

        QVERIFY(KeychainUtils::deleteItemForUsername(account, service, QString(), &error));
        QVERIFY(!KeychainUtils::getPasswordForUsername(account, service, QString(), &error));
        QVERIFY(error.isNull());
        QVERIFY(!KeychainUtils::deleteItemForUsername(account, service, QString(), &error));
        QCOMPARE(error.code, qint64(KeychainUtils::ItemNotFound));
    }

    void passwordNeverReachesLogsOrSettings()
    {
        const QString password = QStringLiteral("Never-Log-This-7781");
        LogCapture logs;
        QLoggingCategory::setFilterRules(QStringLiteral("faxolino.*=true"));
        FXError error;
        QVERIFY(KeychainUtils::storeUsername(account, password, service, QString(), true, &error));
        QVERIFY(KeychainUtils::getPasswordForUsername(account, service, QString(), &error));
        FBUserDefaults::setObject(QStringLiteral("someone"), kUsernameKey);
        FBUserDefaults::synchronize();
        QLoggingCategory::setFilterRules(QString());
        for (const QString &line : logs.messages())
            QVERIFY2(!line.contains(password), qPrintable(line));
        QFile settings(FBUserDefaults::fileName());
        QVERIFY(settings.open(QIODevice::ReadOnly));
        QVERIFY(!settings.readAll().contains(password.toUtf8()));
    }

    // Nothing to unlock: an open item answers at once that it is open, a missing one that it
    // is not; neither asks the user anything.
    void unlockWithoutPrompt_data()
    {
        QTest::addColumn<bool>("stored");
        QTest::newRow("open item") << true;
        QTest::newRow("no item") << false;
    }
    void unlockWithoutPrompt()
    {
        QFETCH(bool, stored);
        FXError error;
        if (stored)
            QVERIFY(KeychainUtils::storeUsername(account, QStringLiteral("x"), service, QString(),
                                                 true, &error));
        std::optional<bool> answer;
        KeychainUtils::requestUnlockForUsername(account, service,
                                                [&answer](bool unlocked) { answer = unlocked; });
        QTRY_VERIFY(answer.has_value());
        QCOMPARE(*answer, stored);
    }

    void lockedKeyringFailsWithoutPrompt()
    {
        FXError error;
        QVERIFY(KeychainUtils::storeUsername(account, QStringLiteral("x"), service, QString(), true,
                                             &error));
        QVERIFY(TestEnvironment::lockKeyring());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!KeychainUtils::getPasswordForUsername(account, service, QString(), &error));
        QCOMPARE(error.code, qint64(KeychainUtils::InteractionNotAllowed));
        QVERIFY(!KeychainUtils::storeUsername(account, QStringLiteral("y"), service, QString(),
                                              true, &error));
        QVERIFY(error);
        // Well below D-Bus's own 25 s, whatever the machine's load.
        QVERIFY(timer.elapsed() < 15000);
    }

    // No Secret Service: no bus at all, or a bus that accepts and never answers.
    void unavailableServiceFailsQuickly_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<bool>("silentBus");
        for (const char *op : {"get", "store", "delete"}) {
            QTest::addRow("%s, no bus", op) << QString::fromLatin1(op) << false;
            QTest::addRow("%s, silent bus", op) << QString::fromLatin1(op) << true;
        }
    }
    void unavailableServiceFailsQuickly()
    {
        QFETCH(QString, operation);
        QFETCH(bool, silentBus);
        QLocalServer silent;
        QList<QLocalSocket *> held;
        const QString socketPath = TestEnvironment::root() + QStringLiteral("/silent-bus");
        QLocalServer::removeServer(socketPath);
        if (silentBus) {
            QVERIFY(silent.listen(socketPath));
            connect(&silent, &QLocalServer::newConnection, this,
                    [&] { held.append(silent.nextPendingConnection()); });
        }
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("FAXOLINO_KEYCHAIN_CHILD"), operation);
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                   QStringLiteral("unix:path=") + socketPath);
        child.setProcessEnvironment(env);
        QElapsedTimer timer;
        timer.start();
        child.start(QCoreApplication::applicationFilePath(), {});
        QTRY_VERIFY_WITH_TIMEOUT(child.state() == QProcess::NotRunning, 20000);
        // The keychain's own limit, not D-Bus's 25 s, with room for a loaded machine.
        QVERIFY2(timer.elapsed() < 15000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(child.exitCode(), 0);
        QCOMPARE(child.readAllStandardOutput().trimmed(),
                 QByteArray::number(qint64(KeychainUtils::NotAvailable)));
    }
};

int main(int argc, char *argv[])
{
    const QByteArray childOperation = qgetenv("FAXOLINO_KEYCHAIN_CHILD");
    if (!childOperation.isEmpty())
        return runChild(childOperation);
    QCoreApplication app(argc, argv);
    TestKeychainUtils test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keychainutils.moc"
