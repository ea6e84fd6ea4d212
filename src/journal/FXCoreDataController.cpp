#include "journal/FXCoreDataController.h"

#include "foundation/FBApplicationHelper.h"
#include "foundation/FXError.h"
#include "foundation/FXLogging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace {

bool run(QSqlQuery &query, const QString &sql, QString *problem)
{
    if (query.exec(sql))
        return true;
    *problem = query.lastError().text();
    return false;
}

// The first column of the first row of a statement, or an invalid QVariant.
QVariant scalar(const QSqlDatabase &store, const QString &sql, QString *problem)
{
    QSqlQuery query(store);
    if (!run(query, sql, problem))
        return QVariant();
    return query.next() ? query.value(0) : QVariant(QString());
}

// Every column the records read and write, so that a store that merely looks like ours (a
// hand-made file with the right version) is refused instead of failing on every save.
bool hasAllColumns(const QSqlDatabase &store, const FXEntityDescription &entity, QString *problem)
{
    QSqlQuery query(store);
    if (!run(query, QStringLiteral("PRAGMA table_info(\"%1\")").arg(QLatin1String(entity.name)),
             problem))
        return false;
    QSet<QString> columns;
    while (query.next())
        columns.insert(query.value(1).toString());
    QStringList needed{QStringLiteral("id")};
    for (const FXEntityDescription::Attribute &attribute : entity.attributes)
        needed.append(QLatin1String(attribute.name));
    if (&entity == &Connection::entity())
        needed.append(QStringLiteral("fax"));
    for (const QString &column : std::as_const(needed)) {
        if (!columns.contains(column)) {
            *problem = QStringLiteral("The table %1 lacks the column %2")
                           .arg(QLatin1String(entity.name), column);
            return false;
        }
    }
    return true;
}

} // namespace

FXCoreDataController *FXCoreDataController::sharedInstance()
{
    // A function-local static is initialised exactly once, also under concurrent first calls.
    // The instance is never destroyed: the journal stays available until the process ends.
    static FXCoreDataController *const instance = new FXCoreDataController;
    return instance;
}

namespace {

// Runs when the application object goes away: the last changes are saved and the store is
// closed cleanly, which folds the write-ahead log back into the store file.
void closeJournal()
{
    FXCoreDataController *controller = FXCoreDataController::sharedInstance();
    if (QThread::currentThread() != controller->thread())
        return;
    controller->setManagedObjectContext(nullptr);
    controller->setPersistentStoreCoordinator(QSqlDatabase());
}

} // namespace

FXCoreDataController::FXCoreDataController()
{
    if (QCoreApplication *application = QCoreApplication::instance()) {
        if (thread() != application->thread())
            moveToThread(application->thread());
        connect(application, &QCoreApplication::aboutToQuit, this,
                &FXCoreDataController::saveMainContext);
        qAddPostRoutine(closeJournal);
    }
    // Built now when possible, so that a send never waits for the store to open; a first call
    // from another thread leaves it to the first use on the main thread.
    if (onOwnThread())
        managedObjectContext();
}

QUrl FXCoreDataController::applicationFilesDirectory() const
{
    const QString folder = FBApplicationHelper::applicationSupportFolder();
    return folder.isEmpty() ? QUrl() : QUrl::fromLocalFile(folder);
}

QString FXCoreDataController::storeFilePath() const
{
    const QString folder = applicationFilesDirectory().toLocalFile();
    return folder.isEmpty() ? QString() : QDir(folder).filePath(QLatin1String(kStoreFileName));
}

FXManagedObjectModel FXCoreDataController::managedObjectModel()
{
    if (!m_model.isValid() && !m_modelReplaced)
        m_model = FXManagedObjectModel::modelFromBundle();
    return m_model;
}

QSqlDatabase FXCoreDataController::persistentStoreCoordinator()
{
    if (m_coordinator.isOpen())
        return m_coordinator;
    if (!onOwnThread())
        return QSqlDatabase();

    const FXManagedObjectModel model = managedObjectModel();
    if (!model.isValid()) {
        qCWarning(lcJournal).noquote() << QStringLiteral("%1:%2 No model to generate a store from")
                                              .arg(QLatin1String(metaObject()->className()),
                                                   QLatin1String("persistentStoreCoordinator"));
        return QSqlDatabase();
    }

    const QString folder = applicationFilesDirectory().toLocalFile();
    if (folder.isEmpty()) {
        noteProblem(QStringLiteral("There is no application support folder."));
        return QSqlDatabase();
    }
    const QFileInfo folderInfo(folder);
    if (!folderInfo.exists() && !folderInfo.isSymLink()) {
        if (!QDir().mkpath(folder)) {
            noteProblem(QStringLiteral("The folder %1 cannot be created.").arg(folder));
            return QSqlDatabase();
        }
    } else if (!folderInfo.isDir()) {
        const FXError error{
            QLatin1String(kErrorDomain), 101,
            QStringLiteral("Expected a folder to store application data, found a file (%1).")
                .arg(folder)};
        noteProblem(error.description);
        return QSqlDatabase();
    }

    const QString name = QStringLiteral("faxolino-journal-%1").arg(++m_connectionSerial);
    QString problem;
    {
        QSqlDatabase store = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        store.setDatabaseName(storeFilePath());
        // Another instance of the program may hold the write lock for a moment.
        store.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
        if (openStore(store, model, &problem)) {
            m_coordinator = store;
            m_lastProblem.clear();
            return m_coordinator;
        }
        store.close();
    }
    QSqlDatabase::removeDatabase(name);
    noteProblem(problem);
    return QSqlDatabase();
}

FXManagedObjectContext *FXCoreDataController::managedObjectContext()
{
    if (m_context)
        return m_context;
    if (!onOwnThread()) {
        qCWarning(lcJournal) << "The journal was used from a thread other than its own";
        return nullptr;
    }
    const QSqlDatabase coordinator = persistentStoreCoordinator();
    // Without a store there is no context; callers insert into nothing and fetch nothing,
    // and nobody is told.
    if (!coordinator.isOpen())
        return nullptr;
    setManagedObjectContext(new FXManagedObjectContext(coordinator));
    return m_context;
}

void FXCoreDataController::setManagedObjectModel(const FXManagedObjectModel &model)
{
    m_model = model;
    m_modelReplaced = true;
}

void FXCoreDataController::setPersistentStoreCoordinator(const QSqlDatabase &coordinator)
{
    const QString previous = m_coordinator.connectionName();
    if (previous == coordinator.connectionName() && m_coordinator.isOpen() == coordinator.isOpen())
        return;
    if (m_context) {
        m_context->save();
        delete std::exchange(m_context, nullptr);
    }
    m_coordinator = coordinator;
    if (!previous.isEmpty() && previous != coordinator.connectionName()) {
        QSqlDatabase::database(previous, false).close();
        QSqlDatabase::removeDatabase(previous);
    }
}

void FXCoreDataController::setManagedObjectContext(FXManagedObjectContext *context)
{
    if (context == m_context)
        return;
    if (m_context) {
        m_context->save();
        delete m_context;
    }
    m_context = context;
    if (m_context) {
        m_context->setParent(this);
        connect(m_context, &FXManagedObjectContext::objectsDidChange, this,
                &FXCoreDataController::handleManagedObjectContextChange);
    }
}

void FXCoreDataController::saveMainContext()
{
    if (m_context)
        m_context->save();
}

void FXCoreDataController::handleManagedObjectContextChange()
{
    saveMainContext();
}

bool FXCoreDataController::onOwnThread() const
{
    return QThread::currentThread() == thread();
}

bool FXCoreDataController::openStore(QSqlDatabase &store, const FXManagedObjectModel &model,
                                     QString *problem)
{
    if (!store.open()) {
        *problem = store.lastError().text();
        return false;
    }
    QSqlQuery query(store);

    // Look before changing anything: a file we cannot use stays exactly as it is.
    auto versionOf = [&](int *version) {
        const QVariant value = scalar(store, QStringLiteral("PRAGMA user_version"), problem);
        bool ok = false;
        *version = value.toInt(&ok);
        return ok;
    };
    auto tableCount = [&](int *count) {
        const QVariant value = scalar(
            store,
            QStringLiteral("SELECT count(*) FROM sqlite_master"
                           " WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"),
            problem);
        bool ok = false;
        *count = value.toInt(&ok);
        return ok;
    };
    auto usable = [&](int version, int tables) {
        if (version > model.version()) {
            *problem = QStringLiteral("The store has schema version %1, newer than this "
                                      "program's %2.")
                           .arg(version)
                           .arg(model.version());
            return false;
        }
        if (version == 0 && tables > 0) {
            *problem = QStringLiteral("The file is not a fax journal.");
            return false;
        }
        for (int from = qMax(version, 1); version > 0 && from < model.version(); ++from) {
            if (model.migrationStatements(from).isEmpty()) {
                *problem = QStringLiteral("No migration from schema version %1.").arg(from);
                return false;
            }
        }
        return true;
    };
    int version = 0;
    int tables = 0;
    if (!versionOf(&version) || !tableCount(&tables) || !usable(version, tables))
        return false;
    if (version == model.version()
        && !(hasAllColumns(store, Fax::entity(), problem)
             && hasAllColumns(store, Connection::entity(), problem)))
        return false;

    // Write-ahead logging keeps readers and the writer apart; synchronous FULL makes every
    // commit durable before it returns.
    const QString mode =
        scalar(store, QStringLiteral("PRAGMA journal_mode = WAL"), problem).toString();
    if (mode.isEmpty())
        return false;
    if (mode.compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0)
        qCWarning(lcJournal) << "The journal store does not support write-ahead logging:" << mode;
    if (!run(query, QStringLiteral("PRAGMA synchronous = FULL"), problem))
        return false;
    // Reading through a memory map spares a copy per page; a search reads the whole table.
    if (!run(query, QStringLiteral("PRAGMA mmap_size = 268435456"), problem))
        return false;

    if (version < model.version()) {
        // Foreign keys stay off while tables are rebuilt; foreign_key_check proves the result.
        if (!run(query, QStringLiteral("PRAGMA foreign_keys = OFF"), problem)
            || !run(query, QStringLiteral("BEGIN IMMEDIATE"), problem))
            return false;
        auto migrate = [&] {
            // Another instance may have done it while this one waited for the lock.
            if (!versionOf(&version) || !tableCount(&tables) || !usable(version, tables))
                return false;
            if (version == 0) {
                const QStringList statements = model.schemaStatements();
                for (const QString &statement : statements) {
                    if (!run(query, statement, problem))
                        return false;
                }
            }
            for (int from = version; from > 0 && from < model.version(); ++from) {
                const QStringList statements = model.migrationStatements(from);
                for (const QString &statement : statements) {
                    if (!run(query, statement, problem))
                        return false;
                }
                if (!run(query, QStringLiteral("PRAGMA user_version = %1").arg(from + 1), problem))
                    return false;
            }
            if (!run(query, QStringLiteral("PRAGMA foreign_key_check"), problem))
                return false;
            if (query.next()) {
                *problem = QStringLiteral("The migrated store has dangling references.");
                return false;
            }
            query.finish();
            return versionOf(&version) && version == model.version()
                   && run(query, QStringLiteral("COMMIT"), problem);
        };
        if (!migrate()) {
            if (problem->isEmpty())
                *problem =
                    QStringLiteral("The schema did not reach version %1.").arg(model.version());
            query.finish();
            QSqlQuery(QStringLiteral("ROLLBACK"), store);
            return false;
        }
    }

    return run(query, QStringLiteral("PRAGMA foreign_keys = ON"), problem);
}

void FXCoreDataController::noteProblem(const QString &problem)
{
    // Every request retries; the log says it once.
    if (problem == m_lastProblem)
        return;
    m_lastProblem = problem;
    qCWarning(lcJournal).noquote() << "The journal cannot be opened:" << problem;
}
