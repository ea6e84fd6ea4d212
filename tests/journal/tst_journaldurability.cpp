#include "JournalDurability.h"
#include "TestEnvironment.h"
#include "foundation/FBApplicationHelper.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>
#include <QTimer>

using namespace JournalDurability;

namespace {

// Every column of every row, as text, keyed "Fax/<id>/<column>": the store as the parent
// expects it and as it finds it.
using Snapshot = QMap<QString, QString>;

QString text(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return QStringLiteral("<absent>");
    if (value.typeId() == QMetaType::QByteArray)
        return QString::fromLatin1(value.toByteArray().toHex());
    return value.toString();
}

struct Journal
{
    QMap<qint64, QVariantMap> faxes;
    QMap<qint64, QVariantMap> connections; // with "fax"

    Snapshot snapshot() const
    {
        Snapshot out;
        for (auto [table, rows] : {std::pair{"Fax", &faxes}, {"Connection", &connections}}) {
            for (auto row = rows->begin(); row != rows->end(); ++row) {
                for (auto column = row->begin(); column != row->end(); ++column)
                    out.insert(
                        QStringLiteral("%1/%2/%3").arg(table).arg(row.key()).arg(column.key()),
                        text(column.value()));
            }
        }
        return out;
    }

    // Applies a reported change; false for a line that makes no sense.
    bool apply(const QStringList &change)
    {
        const QString kind = change.value(0);
        if (kind == QLatin1String("insert") && change.size() >= 4) {
            const qint64 token = change.at(1).toLongLong();
            const int count = change.at(2).toInt();
            if (change.size() != 4 + count)
                return false;
            const qint64 fax = change.at(3).toLongLong();
            faxes.insert(fax, faxColumns(token, count));
            for (int i = 0; i < count; ++i) {
                QVariantMap columns = connectionColumns(token, i, count);
                columns.insert(QStringLiteral("fax"), fax);
                connections.insert(change.at(4 + i).toLongLong(), columns);
            }
            return true;
        }
        if ((kind == QLatin1String("accept") || kind == QLatin1String("close"))
            && change.size() == 4) {
            auto connection = connections.find(change.at(1).toLongLong());
            if (connection == connections.end())
                return false;
            const bool accept = kind == QLatin1String("accept");
            connection->insert(accept ? "sessionID" : "reason", change.at(2));
            connection->insert(accept ? "beginDate" : "finishDate", change.at(3).toLongLong());
            return true;
        }
        if (kind == QLatin1String("update") && change.size() == 3) {
            auto fax = faxes.find(change.at(1).toLongLong());
            if (fax == faxes.end())
                return false;
            const QVariantMap columns = updateColumns(change.at(2).toLongLong());
            for (auto it = columns.begin(); it != columns.end(); ++it)
                fax->insert(it.key(), it.value());
            return true;
        }
        if (kind == QLatin1String("delete") && change.size() == 2) {
            const qint64 fax = change.at(1).toLongLong();
            if (!faxes.remove(fax))
                return false;
            connections.removeIf([fax](const auto &it) { return it.value()["fax"] == fax; });
            return true;
        }
        return false;
    }
};

// The store as found on disk, through a connection of its own (which also recovers the
// write-ahead log the killed child left behind).
bool readStore(const QString &path, Snapshot *snapshot, QString *problem)
{
    // Killed before it created the store.
    if (!QFileInfo::exists(path))
        return true;
    bool ok = true;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), "verifier");
        db.setDatabaseName(path);
        QSqlQuery query(db);
        auto fail = [&](const QString &why) {
            *problem = why;
            ok = false;
        };
        if (!db.open()) {
            fail(QStringLiteral("cannot open"));
        } else if (!query.exec("PRAGMA integrity_check") || !query.next()
                   || query.value(0).toString() != QLatin1String("ok")) {
            fail(QStringLiteral("integrity_check: ") + query.value(0).toString());
        } else if (!query.exec("PRAGMA foreign_key_check") || query.next()) {
            fail(QStringLiteral("a connection without its fax"));
        } else {
            for (const char *table : {"Fax", "Connection"}) {
                // A store killed before its schema was committed is empty, and that is fine.
                if (!query.exec(QStringLiteral("SELECT * FROM %1").arg(table)))
                    continue;
                while (query.next()) {
                    const QSqlRecord record = query.record();
                    const QString id = query.value(QStringLiteral("id")).toString();
                    for (int i = 0; i < record.count(); ++i) {
                        if (record.fieldName(i) != QLatin1String("id"))
                            snapshot->insert(
                                QStringLiteral("%1/%2/%3").arg(table, id, record.fieldName(i)),
                                text(query.value(i)));
                    }
                }
            }
        }
    }
    QSqlDatabase::removeDatabase("verifier");
    return ok;
}

} // namespace

class TestJournalDurability : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestEnvironment::isIsolated()); }

    // A child makes changes and reports each once it returned; it is killed at a random
    // moment. Every reported change must be in the store, and the change in flight either
    // wholly or not at all.
    void killedWritersLoseNothing()
    {
        const QString child = TestEnvironment::binDir() + "/journal_durability_child";
        const QString store = FBApplicationHelper::applicationSupportFolder() + "/Faxon.sqlite";
        const quint64 seed = qEnvironmentVariableIsSet("FAXOLINO_DURABILITY_SEED")
                                 ? qEnvironmentVariable("FAXOLINO_DURABILITY_SEED").toULongLong()
                                 : QRandomGenerator::global()->generate64();
        qInfo("seed %llu (FAXOLINO_DURABILITY_SEED repeats the choices)", seed);
        QRandomGenerator random(seed);
        Journal journal;
        int killedMidChange = 0;
        QElapsedTimer clock;
        clock.start();

        for (int round = 1; round <= 200; ++round) {
            QProcess process;
            process.setProgram(child);
            process.setArguments({QString::number(round), QString::number(random.generate64())});
            process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            // Either after a random time, which may fall into the start, or right after a
            // random line, which falls into the next change.
            const bool byTime = random.bounded(2) == 0;
            const int killAfterMs = int(random.bounded(50));
            const int killAfterLines = 1 + int(random.bounded(30));
            QByteArray output;
            bool killed = false;
            auto kill = [&] {
                killed = true;
                process.kill();
            };
            connect(&process, &QProcess::readyReadStandardOutput, &process, [&] {
                output += process.readAllStandardOutput();
                if (!byTime && output.count('\n') >= killAfterLines)
                    kill();
            });
            QSignalSpy finished(&process, &QProcess::finished);
            QTimer killer;
            killer.setSingleShot(true);
            killer.setTimerType(Qt::PreciseTimer);
            connect(&killer, &QTimer::timeout, &process, kill);
            process.start();
            QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
            if (byTime)
                killer.start(killAfterMs);
            QTRY_VERIFY_WITH_TIMEOUT(finished.size() == 1, 30000);
            output += process.readAllStandardOutput();
            // Killed by us, or done with its share of changes; anything else is a fault.
            QVERIFY2(process.exitStatus() == QProcess::CrashExit ? killed : process.exitCode() == 0,
                     qPrintable(QStringLiteral("round %1, exit code %2:\n%3")
                                    .arg(round)
                                    .arg(process.exitCode())
                                    .arg(QString::fromUtf8(output))));

            // Only whole lines count; a line cut short by the kill was not reported.
            QStringList inFlight;
            const QList<QByteArray> lines = output.left(output.lastIndexOf('\n') + 1).split('\n');
            for (const QByteArray &line : lines) {
                const QStringList words = QString::fromUtf8(line).split(' ');
                if (words.first() == QLatin1String("BEGIN")) {
                    inFlight = words.mid(1);
                } else if (words.first() == QLatin1String("DONE")) {
                    QVERIFY2(journal.apply(words.mid(1)), line.constData());
                    inFlight.clear();
                }
            }

            Snapshot found;
            QString problem;
            QVERIFY2(readStore(store, &found, &problem),
                     qPrintable(QStringLiteral("round %1: %2").arg(round).arg(problem)));
            if (found == journal.snapshot())
                continue;
            // Not there yet: the change in flight must then be there completely.
            Journal withChange = journal;
            if (inFlight.value(0) == QLatin1String("insert")) {
                // Its ids are in the store only.
                const QString number =
                    faxColumns(inFlight.at(1).toLongLong(), 0)["number"].toString();
                const QString key = found.key(number);
                const QString fax = key.section('/', 1, 1);
                inFlight.append(fax);
                // Connections were inserted in order, so their ids ascend.
                QList<qint64> connections;
                for (auto it = found.begin(); it != found.end(); ++it) {
                    if (it.key().endsWith("/fax") && it.value() == fax && !fax.isEmpty())
                        connections.append(it.key().section('/', 1, 1).toLongLong());
                }
                std::sort(connections.begin(), connections.end());
                for (qint64 id : std::as_const(connections))
                    inFlight.append(QString::number(id));
            }
            QVERIFY2(!inFlight.isEmpty() && withChange.apply(inFlight)
                         && found == withChange.snapshot(),
                     qPrintable(QStringLiteral("round %1: the store holds neither the reported "
                                               "changes nor them with \"%2\"")
                                    .arg(round)
                                    .arg(inFlight.join(' '))));
            journal = withChange;
            ++killedMidChange;
        }
        qInfo("200 rounds in %lld ms; %d kills fell between a change and its report",
              clock.elapsed(), killedMidChange);
        QVERIFY(!journal.faxes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestJournalDurability)
#include "tst_journaldurability.moc"
