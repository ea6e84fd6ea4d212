#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBApplicationHelper.h"
#include "foundation/FBUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTest>

#include <sys/stat.h>

class TestFBUserDefaults : public QObject
{
    Q_OBJECT

private:
    static QByteArray settingsFileBytes()
    {
        QFile file(FBUserDefaults::fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static void clearStore()
    {
        QFile::remove(FBUserDefaults::fileName());
        QSettings(QStringLiteral("voxaria"), QStringLiteral("Faxolino")).clear();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }
    void init() { clearStore(); }

    void storeLivesInTheUserConfigFolder()
    {
        QCOMPARE(FBUserDefaults::fileName(), qEnvironmentVariable("XDG_CONFIG_HOME")
                                                 + QStringLiteral("/voxaria/Faxolino.conf"));
        QCOMPARE(FBApplicationHelper::applicationBundleName(), QStringLiteral("Faxolino"));
        QCOMPARE(FBApplicationHelper::applicationSupportFolder(),
                 qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Faxolino"));
        QVERIFY(FBUserDefaults::appGroupSuiteName().isNull());
    }

    // Writes reach the file at once, without an explicit synchronisation: the keys that must
    // be synchronised immediately and, so that another process sees them, the others too. The
    // file is read by a store of another process's kind, never through FBUserDefaults.
    void immediateSynchronisation_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::newRow("localUri") << QByteArray(kLocalUriKey);
        QTest::newRow("localSipUri") << QByteArray(kLocalSipUriKey);
        QTest::newRow("faxReportSavePath") << QByteArray(kFaxReportSavePathKey);
        QTest::newRow("showExtendedToolbar") << QByteArray(kShowExtendedToolbarKey);
        QTest::newRow("saveSendDocument") << QByteArray(kSaveSendDocumentKey);
        QTest::newRow("username, not listed") << QByteArray(kUsernameKey);
        QTest::newRow("faxHeader, not listed") << QByteArray(kFaxHeaderKey);
    }
    void immediateSynchronisation()
    {
        QFETCH(QByteArray, key);
        QSettings reader(FBUserDefaults::fileName(), QSettings::IniFormat);
        FBUserDefaults::setObject(QStringLiteral("marker-value"), key.constData());
        QVERIFY(settingsFileBytes().contains("marker-value"));
        reader.sync();
        QCOMPARE(reader.value(QLatin1String(key)).toString(), QStringLiteral("marker-value"));
        FBUserDefaults::removeObjectForKey(key.constData());
        QVERIFY(!settingsFileBytes().contains("marker-value"));
    }

    // A FIFO in place of the settings file would block every read: the settings read as
    // empty instead, and writes go nowhere.
    void specialFileInPlaceOfTheSettings()
    {
        const QString path = FBUserDefaults::fileName();
        QDir().mkpath(QFileInfo(path).path());
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        LogCapture log;
        FBUserDefaults::setObject(QStringLiteral("demo"), kUsernameKey);
        QVERIFY(!FBUserDefaults::hasKey(kUsernameKey));
        QVERIFY(FBUserDefaults::stringForKey(kUsernameKey).isEmpty());
        QVERIFY(QFile::remove(path));
    }

    void launchDefaults()
    {
        QVERIFY(!FBUserDefaults::hasKey(kSaveSendDocumentKey));
        FBUserDefaults::registerLaunchDefaults();
        QVERIFY(FBUserDefaults::boolForKey(kSaveSendDocumentKey));
        QVERIFY(FBUserDefaults::boolForKey(kCrashOnExceptionsKey));
        // Registered, not stored.
        QVERIFY(!settingsFileBytes().contains(kCrashOnExceptionsKey));

        // A user's "off" survives the next launch.
        FBUserDefaults::setObject(false, kSaveSendDocumentKey);
        FBUserDefaults::registerLaunchDefaults();
        QVERIFY(!FBUserDefaults::boolForKey(kSaveSendDocumentKey));
    }

    void firstOpeningOfPreferencesStoresTheSupportFolder()
    {
        const QString expected = FBApplicationHelper::applicationSupportFolder();
        QCOMPARE(FBUserDefaults::reportSavePathForPreferences(), expected);
        QVERIFY(settingsFileBytes().contains(expected.toUtf8()));
        QVERIFY(!FBUserDefaults::hasKey(kFaxReportSavePathDataKey));

        // A later opening shows what was chosen.
        FBUserDefaults::setObject(QStringLiteral("/srv/faxes"), kFaxReportSavePathKey);
        QCOMPARE(FBUserDefaults::reportSavePathForPreferences(), QStringLiteral("/srv/faxes"));
    }

    // A hand-edited settings file may hold anything; every reader answers with a value of
    // its own type.
    void handEditedValues_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("boolValue");
        QTest::addColumn<QString>("stringValue");
        QTest::addColumn<QStringList>("listValue");
        QTest::addColumn<QByteArray>("dataValue");
        QTest::newRow("true") << QByteArray("value=true") << true << QStringLiteral("true")
                              << QStringList{QStringLiteral("true")} << QByteArray("true");
        QTest::newRow("zero") << QByteArray("value=0") << false << QStringLiteral("0")
                              << QStringList{QStringLiteral("0")} << QByteArray("0");
        QTest::newRow("list") << QByteArray("value=a, b") << false << QString()
                              << QStringList{QStringLiteral("a"), QStringLiteral("b")}
                              << QByteArray();
        QTest::newRow("garbage bytes") << QByteArray("value=@ByteArray(\\xff\\xfe)") << false
                                       << QString::fromUtf8("\xef\xbf\xbd\xef\xbf\xbd")
                                       << QStringList() << QByteArray("\xff\xfe");
        QTest::newRow("empty") << QByteArray("value=") << false << QString() << QStringList()
                               << QByteArray();
    }
    void handEditedValues()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, boolValue);
        QFETCH(QString, stringValue);
        QFETCH(QStringList, listValue);
        QFETCH(QByteArray, dataValue);
        QDir().mkpath(QFileInfo(FBUserDefaults::fileName()).path());
        QFile file(FBUserDefaults::fileName());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[General]\n" + line + "\n");
        file.close();
        QCOMPARE(FBUserDefaults::boolForKey("value"), boolValue);
        QCOMPARE(FBUserDefaults::stringForKey("value"), stringValue);
        QCOMPARE(FBUserDefaults::stringListForKey("value"), listValue);
        QCOMPARE(FBUserDefaults::dataForKey("value"), dataValue);
    }
};

QTEST_GUILESS_MAIN(TestFBUserDefaults)
#include "tst_fbuserdefaults.moc"
