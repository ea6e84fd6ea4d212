#pragma once

#include "journal/Connection.h"
#include "journal/FXManagedObjectData.h"
#include "journal/Fax.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSqlDatabase>
#include <QSqlQuery>

// The journal's records in memory over the SQLite store: it hands out Fax and Connection
// records, keeps one shared state per stored row, collects changes, and writes all pending
// changes in one transaction per save.
//
// Saving: every change schedules objectsDidChange() for the end of the current event-loop
// turn; FXCoreDataController answers it with a save. Changes made in one turn therefore reach
// the disk together, and a caller that needs them on disk before it goes on calls
// FXCoreDataController::saveMainContext(). A failed save keeps the changes pending for the next
// one. Fetches save pending changes first, so that they answer from the store.
//
// Threads: the context lives in the thread it belongs to (the main thread in the application)
// and is used there only; from any other thread it fetches nothing and saves nothing.
//
// Typical use (the fax job):
//     FXManagedObjectContext *context =
//     FXCoreDataController::sharedInstance()->managedObjectContext(); if (!context) return; // the
//     journal could not be opened Fax fax = context->insertNewFax();
//     fax.setNumber(QStringLiteral("+49301234567"));
//     ...
//     Connection connection = context->insertNewConnectionForFax(fax);
//     connection.setBeginDate(QDateTime::currentDateTime());
//     FXCoreDataController::sharedInstance()->saveMainContext();
class FXManagedObjectContext : public QObject
{
    Q_OBJECT

public:
    // The poller's batch size, and the most connections one session identifier yields.
    static constexpr qsizetype kOpenConnectionsFetchLimit = 500;

    // Built by FXCoreDataController on an open store of the current schema.
    explicit FXManagedObjectContext(const QSqlDatabase &store, QObject *parent = nullptr);
    ~FXManagedObjectContext() override;

    // A new, empty record, saved with the next save.
    Fax insertNewFax();
    // A new connection of `fax`; a null handle when the fax is null, deleted or belongs to
    // another context.
    Connection insertNewConnectionForFax(const Fax &fax);
    // Deletes the fax and, with it, its connections.
    void deleteObject(const Fax &fax);

    bool hasChanges() const { return !m_pending.isEmpty(); }

    // Writes every pending change in one transaction; all or nothing. On failure the changes
    // stay pending, "Could not save background context due to %1" is logged and `error` holds
    // the reason.
    bool save(QString *error = nullptr);

    // Faxes newest first (by date, then by insertion). A non-empty searchText keeps the faxes
    // whose number contains it or whose date in local time contains it, shown either as
    // Fax::kListDateFormat or in ISO form ("yyyy-MM-dd HH:mm"); case-insensitive. limit < 0
    // means all.
    QList<Fax> fetchFaxes(const QString &searchText = QString(), qsizetype limit = -1,
                          qsizetype offset = 0);
    // How many faxes fetchFaxes(searchText) yields in all.
    qsizetype countForFaxes(const QString &searchText = QString());

    // A null handle when there is no such fax.
    Fax faxWithObjectID(qint64 objectID);

    // The connections of a fax, earliest beginDate first (see Fax::connections()).
    QList<Connection> connectionsOfFax(const Fax &fax);

    // Every connection without a reason, whether or not it has a session identifier, earliest
    // beginDate first, at most `limit`.
    QList<Connection> fetchOpenConnections(qsizetype limit = kOpenConnectionsFetchLimit);

    // The connections with this session identifier, earliest beginDate first, at most `limit`.
    QList<Connection> fetchConnectionsWithSessionID(const QString &sessionID,
                                                    qsizetype limit = kOpenConnectionsFetchLimit);

    // Whether a search text can occur in a date of this shape, where '0' stands for a digit
    // ("00.00.0000 00:00"); when it fits no date form, the search looks at numbers alone.
    static bool searchTextCanMatchDate(const QString &text, QStringView shape);

Q_SIGNALS:
    // Records were inserted, changed or deleted; once per event-loop turn at most.
    void objectsDidChange();
    // A save wrote pending changes to the store.
    void didSave();

private:
    using DataPointer = QExplicitlySharedDataPointer<FXManagedObjectData>;

    friend class FXManagedObject;
    friend class FXManagedObjectData;

    void objectDidChange(FXManagedObjectData *data);
    void forgetObject(FXManagedObjectData *data);
    void processPendingChanges();
    bool usableHere() const;
    bool saveIfNeeded();

    QHash<qint64, FXManagedObjectData *> &registry(const FXEntityDescription *entity);
    DataPointer objectForRow(const FXEntityDescription &entity, const QSqlQuery &query);
    // How many of the newest faxes a search looks at first.
    static constexpr qsizetype kSearchWindow = 4000;
    // The first column of the first row; null when there is none.
    QVariant scalarValue(const QString &sql, const QVariantList &bindings = {});
    template <typename Record>
    QList<Record> fetch(const QString &sql, const QVariantList &bindings);
    bool execute(QSqlQuery &query, QString *error) const;

    bool insertRow(FXManagedObjectData *data, qint64 faxID, qint64 *newID, QString *error);
    bool updateRow(FXManagedObjectData *data, QString *error);

    QSqlDatabase m_store;
    QHash<qint64, FXManagedObjectData *> m_faxes;
    QHash<qint64, FXManagedObjectData *> m_connections;
    QList<DataPointer> m_pending;
    QSqlQuery m_insertFax;
    QSqlQuery m_insertConnection;
    // The store's connection knows the function the search uses for dates.
    bool m_listDates = false;
    bool m_notificationScheduled = false;
};
