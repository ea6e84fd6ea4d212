#include "LogCapture.h"
#include "TestEnvironment.h"
#include "foundation/FBApplicationHelper.h"
#include "journal/FXCoreDataController.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTest>

#include <ctime>
#include <latch>
#include <thread>

namespace {

FXCoreDataController *controller()
{
    return FXCoreDataController::sharedInstance();
}

FXManagedObjectContext *context()
{
    FXManagedObjectContext *context = controller()->managedObjectContext();
    if (!context)
        qFatal("The journal is not available");
    return context;
}

// Forgets the open store, so that the next request opens it afresh as a new start would.
void reopen()
{
    controller()->setManagedObjectContext(nullptr);
    controller()->setPersistentStoreCoordinator(QSqlDatabase());
}

const QString supportFolder = FBApplicationHelper::applicationSupportFolder();
const QString storePath = supportFolder + QStringLiteral("/Faxon.sqlite");

void removeSupportFolder()
{
    reopen();
    QDir(supportFolder).removeRecursively();
    QFile::remove(supportFolder);
}

// The first value of a statement, read through a connection of its own: what another
// program sees.
QVariant storeValue(const QString &sql)
{
    QVariant value;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), "reader");
        db.setDatabaseName(storePath);
        QSqlQuery query(db);
        if (db.open() && query.exec(sql) && query.next())
            value = query.value(0);
    }
    QSqlDatabase::removeDatabase("reader");
    return value;
}

QVariant storeValue(const char *sql, qint64 id)
{
    return storeValue(QString::fromLatin1(sql).arg(id));
}

// A fax with one connection per reason; "-" stands for an open connection.
Fax faxWithReasons(const QStringList &reasons)
{
    Fax fax = context()->insertNewFax();
    fax.setDate(QDateTime::currentDateTime());
    for (qsizetype i = 0; i < reasons.size(); ++i) {
        Connection connection = context()->insertNewConnectionForFax(fax);
        connection.setBeginDate(QDateTime::currentDateTime().addSecs(i));
        connection.setReason(reasons.at(i) == QLatin1String("-") ? QString() : reasons.at(i));
    }
    return fax;
}

QDateTime at(int year, int month, int day, int hour, int minute)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute));
}

void installStore(const QString &fixture)
{
    removeSupportFolder();
    QDir().mkpath(supportFolder);
    QVERIFY(QFile::copy(TestEnvironment::dataDir() + "/journal/" + fixture, storePath));
    QFile(storePath).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

} // namespace

class TestFXCoreDataController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestEnvironment::isIsolated());
        // The search matches dates as the list shows them, in local time; a zone with
        // daylight saving time shows whether the store and the list agree on it.
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void cleanup()
    {
        controller()->setManagedObjectModel(FXManagedObjectModel::modelFromBundle());
        controller()->saveMainContext();
        // A failed test may leave an obstacle behind; the next one starts afresh.
        if (!controller()->managedObjectContext())
            removeSupportFolder();
    }

    // Runs first: the instance does not exist yet.
    void concurrentFirstCallsCreateOneInstance()
    {
        constexpr int threads = 8;
        std::latch start(threads);
        std::pair<FXCoreDataController *, FXManagedObjectContext *> seen[threads] = {};
        {
            std::vector<std::jthread> workers;
            for (auto &slot : seen)
                workers.emplace_back([&start, &slot] {
                    start.arrive_and_wait();
                    slot.first = FXCoreDataController::sharedInstance();
                    slot.second = slot.first->managedObjectContext();
                });
        }
        for (const auto &[instance, itsContext] : seen) {
            QCOMPARE(instance, controller());
            // Qt Sql connections belong to one thread: other threads get no context.
            QCOMPARE(itsContext, nullptr);
        }
        QCOMPARE(controller()->thread(), QCoreApplication::instance()->thread());
        QVERIFY(controller()->managedObjectContext());
    }

    void firstStartCreatesFolderAndStore()
    {
        removeSupportFolder();
        QDir(qEnvironmentVariable("XDG_DATA_HOME")).removeRecursively();
        QVERIFY(controller()->managedObjectContext());
        QVERIFY(QFileInfo(supportFolder).isDir() && QFileInfo::exists(storePath));
        QSqlQuery query(controller()->persistentStoreCoordinator());
        const QList<QPair<QString, QVariant>> pragmas{
            {"journal_mode", "wal"},
            {"synchronous", 2}, // FULL
            {"foreign_keys", 1},
            {"user_version", controller()->managedObjectModel().version()}};
        for (const auto &[pragma, expected] : pragmas) {
            QVERIFY(query.exec(QStringLiteral("PRAGMA ") + pragma) && query.next());
            QCOMPARE(query.value(0).toString(), expected.toString());
        }
    }

    void unusableStoresAreLeftAlone_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("logged");
        QTest::newRow("file in place of the folder")
            << ""
            << "Expected a folder to store application data, found a file (%1).";
        QTest::newRow("damaged store") << "garbage"
                                       << "The journal cannot be opened:";
        QTest::newRow("store of a newer program")
            << "CREATE TABLE Fax (id INTEGER); PRAGMA user_version = 99"
            << "newer than this program's";
        QTest::newRow("foreign database") << "CREATE TABLE notes (text TEXT)"
                                          << "The file is not a fax journal.";
        QTest::newRow("store lacking a column")
            << "CREATE TABLE Fax (id INTEGER); CREATE TABLE Connection (id INTEGER);"
               "PRAGMA user_version = 2"
            << "lacks the column algorithm";
    }
    void unusableStoresAreLeftAlone()
    {
        QFETCH(QString, script);
        QFETCH(QString, logged);
        removeSupportFolder();
        const QString obstacle = script.isEmpty() ? supportFolder : storePath;
        QDir().mkpath(QFileInfo(obstacle).path());
        if (script.isEmpty() || script == QLatin1String("garbage")) {
            QFile file(obstacle);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(8192, 'x'));
        } else {
            for (const QString &statement : FXManagedObjectModel::splitStatements(script))
                storeValue(statement);
        }
        const QByteArray before = TestEnvironment::readFile(obstacle);

        LogCapture log;
        QCOMPARE(controller()->managedObjectContext(), nullptr);
        QCOMPARE(controller()->managedObjectContext(), nullptr); // tried again, said once
        QCOMPARE(log.count(logged.contains("%1") ? logged.arg(supportFolder) : logged), 1);
        QCOMPARE(TestEnvironment::readFile(obstacle), before);

        QVERIFY(QFile::remove(obstacle));
        QVERIFY(controller()->managedObjectContext());
    }

    // Written by name to a saved record, each attribute survives a new start; the rows after
    // the round trips convert or refuse what was written.
    void attributesSurviveReopening_data()
    {
        QTest::addColumn<bool>("onConnection");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("written");
        QTest::addColumn<QVariant>("expected");
        const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1741183512345);
        const QList<std::tuple<bool, const char *, QVariant>> rows{
            {false, "algorithm", qint64(1)},
            {false, "coverSheet", true},
            {false, "date", moment},
            {false, "file", "2024-03-01_14-05-09-+49301234567.pdf"},
            {false, "fileURL", QByteArray("/home/anna/\0\xff Faxe", 17)},
            {false, "number", "+49301234567"},
            {false, "contact", "1742"},
            {false, "line", "4930999"},
            {false, "subject", "Angebot für Müller ✓"},
            {false, "pages", 12},
            {true, "beginDate", moment},
            {true, "finishDate", moment.addSecs(65)},
            {true, "pages", 5},
            {true, "reason", "486"},
            {true, "size", qint64(123456789012)},
            {true, "pageRange", "1-5"},
            {true, "sessionID", "a1b2-c3"}};
        for (const auto &[onConnection, key, value] : rows)
            QTest::addRow("%s %s", onConnection ? "Connection" : "Fax", key)
                << onConnection << QString::fromLatin1(key) << value << value;
        QTest::newRow("number text into a number")
            << true << "pages" << QVariant("7") << QVariant(7);
        QTest::newRow("words into a number") << true << "pages" << QVariant("seven") << QVariant(3);
        QTest::newRow("invalid clears") << true << "pageRange" << QVariant() << QVariant();
        QTest::newRow("empty reason reopens") << true << "reason" << QVariant("") << QVariant();
        QTest::newRow("unknown name") << true << "colour" << QVariant("red") << QVariant();
    }
    void attributesSurviveReopening()
    {
        QFETCH(bool, onConnection);
        QFETCH(QString, key);
        QFETCH(QVariant, written);
        QFETCH(QVariant, expected);
        Fax fax = faxWithReasons({"0"});
        Connection connection = fax.connections().first();
        connection.setPages(3);
        connection.setPageRange(Connection::pageRangeForPages(3));
        controller()->saveMainContext();
        QVERIFY(fax.objectID() > 0);
        (onConnection ? static_cast<FXManagedObject &>(connection) : fax).setValue(written, key);
        controller()->saveMainContext();

        reopen();
        const Fax stored = context()->faxWithObjectID(fax.objectID());
        const QList<Connection> connections = stored.connections();
        QCOMPARE(connections.size(), 1);
        QCOMPARE(connections.first().fax(), stored);
        const FXManagedObject read =
            onConnection ? FXManagedObject(connections.first()) : FXManagedObject(stored);
        QCOMPARE(read.valueForKey(key), expected);
    }

    void failedStateAndColour_data()
    {
        QTest::addColumn<QStringList>("reasons");
        QTest::addColumn<bool>("failed");
        QTest::newRow("no connections") << QStringList() << false;
        QTest::newRow("one still open") << QStringList{"-"} << true;
        QTest::newRow("sent twice") << QStringList{"0", "0"} << false;
        QTest::newRow("sent, then busy") << QStringList{"0", "486"} << true;
        QTest::newRow("busy, then sent") << QStringList{"486", "0"} << true;
    }
    void failedStateAndColour()
    {
        QFETCH(QStringList, reasons);
        QFETCH(bool, failed);
        const Fax fax = faxWithReasons(reasons);
        QCOMPARE(fax.faxFailed(), failed);
        QCOMPARE(fax.sentStateColor(), failed ? QColor(Qt::red) : QColor(Qt::black));
    }

    void handlesOfOneRecordShareItsState()
    {
        removeSupportFolder();
        Fax fax = faxWithReasons({"-"});
        controller()->saveMainContext();
        Fax again = context()->faxWithObjectID(fax.objectID());
        QCOMPARE(again, fax);
        again.setSubject(QStringLiteral("changed"));
        QCOMPARE(fax.subject(), QStringLiteral("changed"));
        QCOMPARE(context()->fetchOpenConnections().constFirst().fax(), fax);
    }

    void deletingAFaxDeletesItsConnections()
    {
        const Fax kept = faxWithReasons({"0", "-"});
        Fax doomed = faxWithReasons({"486", "-"});
        const QList<Connection> doomedConnections = doomed.connections();
        Fax unsaved = faxWithReasons({"-"});
        context()->deleteObject(unsaved);
        context()->deleteObject(doomed);
        controller()->saveMainContext();

        QVERIFY(doomed.isDeleted() && doomedConnections.first().isDeleted());
        QCOMPARE(unsaved.objectID(), 0);
        const char *count = "SELECT count(*) FROM Connection WHERE fax = %1";
        QCOMPARE(storeValue(count, doomed.objectID()).toInt(), 0);
        QCOMPARE(storeValue(count, kept.objectID()).toInt(), 2);
        QVERIFY(!context()->fetchOpenConnections(-1).contains(doomedConnections.last()));
        QVERIFY(context()->faxWithObjectID(doomed.objectID()).isNull());
    }

    void openConnectionsByThePollersRule()
    {
        removeSupportFolder();
        const QDateTime base = at(2025, 3, 1, 8, 0);
        Fax fax = context()->insertNewFax();
        // Inserted latest first, so that insertion order and the wanted order differ; every
        // seventh is closed, the others have a session identifier, an empty one or none.
        for (int i = 599; i >= 0; --i) {
            Connection connection = context()->insertNewConnectionForFax(fax);
            connection.setBeginDate(base.addSecs(i));
            connection.setReason(i % 7 == 0 ? QStringLiteral("0") : QString());
            connection.setSessionID(i % 3 ? QStringLiteral("S-%1").arg(i) : QString(i % 2, 'x'));
        }
        const QList<Connection> open = context()->fetchOpenConnections();
        QCOMPARE(open.size(), 500);
        int second = 0;
        for (const Connection &connection : open) {
            second += second % 7 == 0 ? 1 : 0;
            QCOMPARE(connection.beginDate(), base.addSecs(second++));
            QVERIFY(connection.isOpen());
        }
    }

    void faxSearch_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("numbers");
        QTest::newRow("everything") << "" << QStringList{"+4940555", "+49301234567", "+33140"};
        QTest::newRow("number fragment") << "4930" << QStringList{"+49301234567"};
        QTest::newRow("country code") << "+49" << QStringList{"+4940555", "+49301234567"};
        QTest::newRow("date and time in summer time")
            << "05.07.2024 14:05" << QStringList{"+33140"};
        QTest::newRow("time") << "14:05" << QStringList{"+49301234567", "+33140"};
        QTest::newRow("month and year") << "03.2025" << QStringList{"+4940555", "+49301234567"};
        QTest::newRow("ISO day") << "2025-03-05" << QStringList{"+49301234567"};
        QTest::newRow("ISO date and time") << "2024-07-05 14:05" << QStringList{"+33140"};
        QTest::newRow("ISO month") << "2025-03" << QStringList{"+4940555", "+49301234567"};
        QTest::newRow("digits of number or date") << "40" << QStringList{"+4940555", "+33140"};
        QTest::newRow("wildcard characters") << "%" << QStringList();
        QTest::newRow("letters") << "abc" << QStringList();
    }
    void faxSearch()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, numbers);
        removeSupportFolder();
        const QList<QPair<QString, QDateTime>> faxes{{"+49301234567", at(2025, 3, 5, 14, 5)},
                                                     {"+4940555", at(2025, 3, 6, 9, 30)},
                                                     {"+33140", at(2024, 7, 5, 14, 5)}};
        for (const auto &[number, date] : faxes) {
            Fax fax = context()->insertNewFax();
            fax.setNumber(number);
            fax.setDate(date);
        }
        QStringList found;
        for (const Fax &fax : context()->fetchFaxes(text))
            found.append(fax.number());
        QCOMPARE(found, numbers);
        QCOMPARE(context()->countForFaxes(text), numbers.size());
        const QList<Fax> second = context()->fetchFaxes(text, 1, 1);
        QCOMPARE(second.isEmpty() ? QString() : second.first().number(), numbers.value(1));
    }

    // A page of a search is the same slice of all matches, whether the newest faxes hold it
    // (many matches) or the whole journal is searched (few).
    void searchPagesOfALargeJournal_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("most faxes") << "49";
        QTest::newRow("one in a thousand") << "4999";
        QTest::newRow("a month long ago") << "2020-02";
        QTest::newRow("none") << "zz";
    }
    void searchPagesOfALargeJournal()
    {
        QFETCH(QString, text);
        static bool filled = false;
        if (!filled) {
            removeSupportFolder();
            for (int i = 0; i < 4500; ++i) {
                Fax fax = context()->insertNewFax();
                fax.setNumber(
                    QStringLiteral("+49%1").arg(i * 7919 % 1000000, 6, 10, QLatin1Char('0')));
                fax.setDate(at(2020, 1, 1, 8, 0).addSecs(qint64(i) * 3 * 3600));
            }
            controller()->saveMainContext();
            filled = true;
        }
        const QList<Fax> all = context()->fetchFaxes(text);
        for (const qsizetype offset : {0, 3, 200}) {
            const QList<Fax> page = context()->fetchFaxes(text, 20, offset);
            QCOMPARE(page, all.mid(offset, 20));
        }
    }

    // Changes made in one turn of the event loop reach the disk together, without a save.
    void changesReachTheDiskAtTheEndOfTheTurn()
    {
        Connection connection = faxWithReasons({"-"}).connections().first();
        QSignalSpy changes(context(), &FXManagedObjectContext::objectsDidChange);
        QSignalSpy saves(context(), &FXManagedObjectContext::didSave);
        connection.setReason(QStringLiteral("0"));
        connection.setFinishDate(QDateTime::currentDateTime());
        const char *reason = "SELECT reason FROM Connection WHERE id = %1";
        QVERIFY(storeValue(reason, connection.objectID()).isNull());
        QTRY_COMPARE(saves.size(), 1);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(storeValue(reason, connection.objectID()).toString(), QStringLiteral("0"));
    }

    void failedSaveKeepsChangesPending()
    {
        Fax fax = faxWithReasons({"-"});
        controller()->saveMainContext();
        QSqlQuery query(controller()->persistentStoreCoordinator());
        QVERIFY(query.exec(QStringLiteral("PRAGMA query_only = 1")));
        fax.setSubject(QStringLiteral("second try"));
        Fax added = faxWithReasons({"0"});
        {
            LogCapture log;
            controller()->saveMainContext();
            QCOMPARE(log.count("Could not save background context due to"), 1);
        }
        QVERIFY(context()->hasChanges());
        QCOMPARE(added.objectID(), 0);
        QCOMPARE(added.connections().size(), 1);
        QVERIFY(query.exec(QStringLiteral("PRAGMA query_only = 0")));
        controller()->saveMainContext();
        QVERIFY(!context()->hasChanges());
        QCOMPARE(storeValue("SELECT subject FROM Fax WHERE id = %1", fax.objectID()),
                 QVariant("second try"));
        QCOMPARE(storeValue("SELECT reason FROM Connection WHERE fax = %1", added.objectID()),
                 QVariant("0"));
    }

    void olderStoreIsMigrated()
    {
        installStore("Faxon-v1.sqlite");
        const QList<Fax> faxes = context()->fetchFaxes();
        QCOMPARE(storeValue("PRAGMA user_version").toInt(), 2);
        QCOMPARE(faxes.size(), 3);
        const Fax sent = faxes.last();
        QCOMPARE(sent.number(), QStringLiteral("+49301234567"));
        QCOMPARE(sent.date(), QDateTime::fromSecsSinceEpoch(1740841500));
        QCOMPARE(sent.fileURL(), QByteArray("/home/anna/Faxe"));
        QVERIFY(sent.subject().isNull());
        const QList<Connection> attempts = sent.connections();
        QCOMPARE(attempts.size(), 2);
        QCOMPARE(attempts.first().reason(), QStringLiteral("486"));
        QCOMPARE(attempts.first().beginDate(), QDateTime::fromMSecsSinceEpoch(1740841500250));
        QCOMPARE(attempts.first().finishDate(), QDateTime::fromMSecsSinceEpoch(1740841561500));

        // The empty reason of the first release means open; the connection left behind by a
        // deleted fax is gone, and deleting now takes the connections along.
        const QList<Connection> open = context()->fetchOpenConnections();
        QCOMPARE(open.size(), 1);
        QCOMPARE(open.first().sessionID(), QStringLiteral("S-3"));
        QCOMPARE(storeValue("SELECT count(*) FROM Connection").toInt(), 3);
        context()->deleteObject(sent);
        controller()->saveMainContext();
        QCOMPARE(storeValue("SELECT count(*) FROM Connection").toInt(), 1);
    }

    void failedMigrationLeavesTheStoreAsItWas()
    {
        installStore("Faxon-v1.sqlite");
        // The migration as shipped, failing at its very end.
        const QString modelFolder = TestEnvironment::root() + "/broken-model";
        const QString bundleModel = QStringLiteral(":/VoxariaCoreBundle/Model/");
        QDir().mkpath(modelFolder);
        QVERIFY(QFile::copy(bundleModel + "Model.sql", modelFolder + "/Model.sql"));
        QFile migration(modelFolder + "/Migration-1.sql");
        QVERIFY(migration.open(QIODevice::WriteOnly));
        migration.write(TestEnvironment::readFile(bundleModel + "Migration-1.sql")
                        + "\nINSERT INTO Fax (id) VALUES (1);\n");
        migration.close();

        controller()->setManagedObjectModel(FXManagedObjectModel::modelFromFolder(modelFolder));
        QCOMPARE(controller()->managedObjectContext(), nullptr);
        QCOMPARE(storeValue("PRAGMA user_version").toInt(), 1);
        QCOMPARE(storeValue("SELECT count(*) FROM Connection").toInt(), 4);
        QCOMPARE(storeValue("SELECT date FROM Fax WHERE id = 1").toDouble(), 762534300.0);
    }
};

QTEST_GUILESS_MAIN(TestFXCoreDataController)
#include "tst_fxcoredatacontroller.moc"
