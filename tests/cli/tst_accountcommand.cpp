#include "ProviderSimulator.h"
#include "TestEnvironment.h"
#include "foundation/FBLocalization.h"
#include "foundation/FBUserDefaults.h"
#include "foundation/KeychainUtils.h"

#include <QDir>
#include <QProcess>
#include <QTest>

// `faxolino account` against the provider simulator and the session's real Secret Service.
class TestAccountCommand : public QObject
{
    Q_OBJECT

    ProviderSimulator m_simulator{{QStringLiteral("--account"), QStringLiteral("demo:secret"),
                                   QStringLiteral("--account"), QStringLiteral("voice:talk"),
                                   QStringLiteral("--no-fax-line"), QStringLiteral("voice")}};

    static std::optional<QString> storedPassword()
    {
        FXError error;
        return KeychainUtils::getPasswordForUsername(
            QStringLiteral("password"), QStringLiteral("voxaria Fax"), QString(), &error);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        QVERIFY(m_simulator.isRunning());
        m_simulator.exportEndpoints();
        FBLocalization::installCoreCatalog(QLocale(QLocale::English));
    }

    void run_data()
    {
        QTest::addColumn<bool>("stored"); // demo's account is set up before
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("localUri");

        const QString reports = TestEnvironment::root() + QStringLiteral("/chosen reports");
        QTest::newRow("line chosen")
            << false << QStringList{"--user", "demo", "--line", "+49 211 55500199"}
            << QByteArray("secret\n") << 0 << "* +4921155500199  (sending line)"
            << ""
            << "4921155500199";
        QTest::newRow("balance") << false << QStringList{"--user", "demo"} << QByteArray("secret\n")
                                 << 0 << FXText("current_balance") + ": 23.42 EUR"
                                 << ""
                                 << "";
        QTest::newRow("stored account, other line")
            << true << QStringList{"--line", "4930555000777"} << QByteArray() << 0
            << "* +4930555000777"
            << ""
            << "4930555000777";
        QTest::newRow("report folder") << true << QStringList{"--report-folder", reports}
                                       << QByteArray() << 0 << "Report folder: " + reports << ""
                                       << "4921155500199";
        QTest::newRow("wrong password")
            << false << QStringList{"--user", "demo"} << QByteArray("guess\n") << 1 << ""
            << FXText("error_auth") << "";
        QTest::newRow("no fax line")
            << false << QStringList{"--user", "voice"} << QByteArray("talk\n") << 2 << ""
            << FXText("error_no_faxuri") << "";
        QTest::newRow("line of another account")
            << false << QStringList{"--user", "demo", "--line", "+4912345"}
            << QByteArray("secret\n") << 2 << ""
            << "the account has no fax line +4912345; its fax lines are +4921155500199, "
               "+4930555000777"
            << "";
        QTest::newRow("no password")
            << false << QStringList{"--user", "demo"} << QByteArray() << 2 << ""
            << "no password on standard input"
            << "";
        QTest::newRow("nothing stored") << false << QStringList{} << QByteArray() << 2 << ""
                                        << "no account configured"
                                        << "";
    }
    // A provider that answers, but with nothing usable, is not said to be silent.
    void refusedAnswers_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("error");
        QTest::newRow("too large") << "huge-declared"
                                   << "The answer is larger than";
        QTest::newRow("cut in half") << "truncated"
                                     << "the provider's answer could not be read";
        QTest::newRow("connection closed") << "close"
                                           << "no usable answer from the provider at";
    }
    void refusedAnswers()
    {
        QFETCH(QString, fault);
        QFETCH(QString, error);
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
        FXError keychainError;
        QVERIFY(KeychainUtils::storeUsername(QStringLiteral("password"), QStringLiteral("secret"),
                                             QStringLiteral("voxaria Fax"), QString(), true,
                                             &keychainError));
        QVERIFY(m_simulator.setFaults({{"zentari.BalanceGet", fault}}));
        QProcess process;
        process.start(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                      {QStringLiteral("account")});
        QVERIFY(process.waitForFinished(120000));
        QVERIFY(m_simulator.setFaults({{"zentari.BalanceGet", QString()}}));
        const QString err = QString::fromUtf8(process.readAllStandardError());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY2(err.contains(error), qPrintable(err));
        QVERIFY2(!err.contains(QLatin1String("no answer from")), qPrintable(err));
    }

    void run()
    {
        QFETCH(bool, stored);
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        QFETCH(QString, error);
        QFETCH(QString, localUri);

        FXError keychainError;
        FBUserDefaults::removeObjectForKey(kLocalUriKey);
        FBUserDefaults::removeObjectForKey(kLocalSipUriKey);
        if (stored) {
            FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
            FBUserDefaults::setObject(QStringLiteral("4921155500199"), kLocalUriKey);
            QVERIFY(KeychainUtils::storeUsername(
                QStringLiteral("password"), QStringLiteral("secret"), QStringLiteral("voxaria Fax"),
                QString(), true, &keychainError));
        } else {
            FBUserDefaults::removeObjectForKey(kUsernameKey);
            KeychainUtils::deleteItemForUsername(QStringLiteral("password"),
                                                 QStringLiteral("voxaria Fax"), QString(),
                                                 &keychainError);
        }
        FBUserDefaults::synchronize();

        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        process.setProcessEnvironment(environment);
        process.start(TestEnvironment::binDir() + QStringLiteral("/faxolino"),
                      QStringList{QStringLiteral("account")} + arguments);
        process.write(input);
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished(120000));
        const QString out = QString::fromUtf8(process.readAllStandardOutput());
        const QString err = QString::fromUtf8(process.readAllStandardError());
        QVERIFY2(process.exitCode() == exitCode, qPrintable(out + err));
        QVERIFY2(out.contains(output), qPrintable(out));
        QVERIFY2(err.contains(error), qPrintable(err));
        QCOMPARE(FBUserDefaults::stringForKey(kLocalUriKey), localUri);
        // The password goes to the credential store and nowhere else.
        QVERIFY(!out.contains(QLatin1String("secret")) && !err.contains(QLatin1String("secret")));
        if (!input.isEmpty())
            QCOMPARE(storedPassword().value_or(QString()), QString::fromUtf8(input.trimmed()));
        if (localUri == QLatin1String("4930555000777")) {
            QCOMPARE(FBUserDefaults::stringForKey(kLocalSipUriKey),
                     QStringLiteral("2000001f1@sip.voxaria.net"));
        }
        if (arguments.contains(QStringLiteral("--report-folder"))) {
            const QString folder = arguments.last();
            QVERIFY(QDir(folder).exists());
            QCOMPARE(FBUserDefaults::stringForKey(kFaxReportSavePathKey), folder);
            QCOMPARE(FBUserDefaults::dataForKey(kFaxReportSavePathDataKey), folder.toUtf8());
        }
    }
};

QTEST_MAIN(TestAccountCommand)
#include "tst_accountcommand.moc"
