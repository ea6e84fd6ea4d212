#include "journal/FXManagedObjectContext.h"

#include "foundation/FXLogging.h"

#include <QDateTime>
#include <QSqlDriver>
#include <QSqlError>
#include <QThread>
#include <QTimeZone>

#include <sqlite3.h>

#include <limits>

namespace {

QString quoted(const char *name)
{
    return QLatin1Char('"') + QLatin1String(name) + QLatin1Char('"');
}

bool isConnection(const FXEntityDescription *entity)
{
    return entity == &Connection::entity();
}

// "id", then the attributes, then (connections) the owning fax: the order of every SELECT and
// of objectForRow().
QString selectColumns(const FXEntityDescription &entity)
{
    QStringList columns{QStringLiteral("id")};
    for (const FXEntityDescription::Attribute &attribute : entity.attributes)
        columns.append(quoted(attribute.name));
    if (isConnection(&entity))
        columns.append(QStringLiteral("fax"));
    return columns.join(QStringLiteral(", "));
}

QString selectFrom(const FXEntityDescription &entity)
{
    return QStringLiteral("SELECT %1 FROM %2").arg(selectColumns(entity), quoted(entity.name));
}

QVariant toColumn(const QVariant &value)
{
    if (!value.isValid())
        return QVariant();
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toMSecsSinceEpoch();
    return value;
}

QVariant fromColumn(const FXEntityDescription::Attribute &attribute, const QVariant &column)
{
    if (column.isNull())
        return QVariant();
    QVariant value = column;
    if (attribute.type == QMetaType::QDateTime) {
        bool ok = false;
        const qint64 ms = column.toLongLong(&ok);
        value = ok ? QVariant(QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC)) : QVariant();
    }
    QVariant out;
    // A store edited by hand may hold text where a number belongs: such a value reads as
    // absent rather than as garbage.
    if (!FXManagedObject::normalizedValue(attribute, value, &out))
        return QVariant();
    return out;
}

// The name of the SQL function below.
constexpr char kListDatesFunction[] = "faxListDates";

// The date as the report list shows it and in ISO form, in local time, joined by '|':
// "21.11.2026 14:05|2026-11-21 14:05". A search text never holds '|', so it matches within
// one form. SQLite's strftime(..., 'localtime') and a QDateTime a row each cost microseconds,
// which a search of a large journal cannot afford at every key: the local offset is kept for
// the span between two of the zone's transitions, and rows come mostly in date order.
void listDatesFunction(sqlite3_context *context, int count, sqlite3_value **values)
{
    if (count != 1 || sqlite3_value_type(values[0]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return;
    }
    const qint64 ms = sqlite3_value_int64(values[0]);
    struct Span
    {
        qint64 from = 1;
        qint64 to = 0; // empty until the first row
        int offset = 0;
    };
    static Span span; // only ever used on the journal's thread
    if (ms < span.from || ms >= span.to) {
        const QTimeZone zone = QTimeZone::systemTimeZone();
        const QDateTime at = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
        const QTimeZone::OffsetData before = zone.previousTransition(at.addMSecs(1));
        const QTimeZone::OffsetData after = zone.nextTransition(at);
        span.offset = zone.offsetFromUtc(at);
        span.from = before.atUtc.isValid() ? before.atUtc.toMSecsSinceEpoch()
                                           : std::numeric_limits<qint64>::min();
        span.to = after.atUtc.isValid() ? after.atUtc.toMSecsSinceEpoch()
                                        : std::numeric_limits<qint64>::max();
    }
    const qint64 seconds = (ms >= 0 ? ms / 1000 : (ms - 999) / 1000) + span.offset;
    const qint64 days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400;
    const qint64 secondOfDay = seconds - days * 86400;
    // Civil date from days since 1970-01-01 (Howard Hinnant's algorithm).
    const qint64 z = days + 719468;
    const qint64 era = (z >= 0 ? z : z - 146096) / 146097;
    const qint64 dayOfEra = z - era * 146097;
    const qint64 yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 mp = (5 * dayOfYear + 2) / 153;
    const int day = int(dayOfYear - (153 * mp + 2) / 5 + 1);
    const int month = int(mp < 10 ? mp + 3 : mp - 9);
    const qint64 year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    const int hour = int(secondOfDay / 3600);
    const int minute = int(secondOfDay % 3600 / 60);
    // Digit by digit: snprintf would double the cost of a row. Years beyond four digits
    // are no date anyone searches for.
    if (year < 0 || year > 9999) {
        sqlite3_result_null(context);
        return;
    }
    char text[40];
    char *out = text;
    const auto put = [&out](qint64 value, int digits, char after) {
        for (int i = digits - 1; i >= 0; --i, value /= 10)
            out[i] = char('0' + value % 10);
        out += digits;
        if (after)
            *out++ = after;
    };
    put(day, 2, '.'), put(month, 2, '.'), put(year, 4, ' '), put(hour, 2, ':'), put(minute, 2, '|');
    put(year, 4, '-'), put(month, 2, '-'), put(day, 2, ' '), put(hour, 2, ':'), put(minute, 2, 0);
    sqlite3_result_text(context, text, int(out - text), SQLITE_TRANSIENT);
}

// Adds the function to the store's connection; false when the driver is not the SQLite
// library we were built with.
bool addListDatesFunction(const QSqlDatabase &store)
{
    const QVariant handle = store.driver() ? store.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return false;
    sqlite3 *connection = *static_cast<sqlite3 *const *>(handle.data());
    return connection
           && sqlite3_create_function_v2(connection, kListDatesFunction, 1,
                                         SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                         &listDatesFunction, nullptr, nullptr, nullptr)
                  == SQLITE_OK;
}

// The search's condition and its values: the number contains the text, or the date does, in
// the form the report list shows (local time) or in ISO form. Without the date function (a
// driver that is not our SQLite) the dates are not searched.
QString searchCondition(const QString &searchText, QVariantList *bindings, bool listDates)
{
    // Numbers rarely hold letters; lower() only when the text has some to fold.
    const QString text = searchText.toLower();
    QString condition = text == searchText.toUpper()
                            ? QStringLiteral("instr(number, ?) > 0")
                            : QStringLiteral("instr(lower(number), ?) > 0");
    bindings->append(text);
    // Most texts cannot occur in a date at all; they are spared the date formatting of every
    // row.
    const bool canMatchDate =
        FXManagedObjectContext::searchTextCanMatchDate(searchText, u"00.00.0000 00:00")
        || FXManagedObjectContext::searchTextCanMatchDate(searchText, u"0000-00-00 00:00");
    if (listDates && canMatchDate) {
        condition +=
            QStringLiteral(" OR instr(%1(date), ?) > 0").arg(QLatin1String(kListDatesFunction));
        bindings->append(text);
    }
    return condition;
}

} // namespace

FXManagedObjectContext::FXManagedObjectContext(const QSqlDatabase &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_listDates(addListDatesFunction(store))
{}

FXManagedObjectContext::~FXManagedObjectContext()
{
    // Records may outlive the context; they must not call back into it.
    for (FXManagedObjectData *data : std::as_const(m_faxes))
        data->context = nullptr;
    for (FXManagedObjectData *data : std::as_const(m_connections))
        data->context = nullptr;
    for (const DataPointer &data : std::as_const(m_pending))
        data->context = nullptr;
    m_faxes.clear();
    m_connections.clear();
    m_pending.clear();
}

Fax FXManagedObjectContext::insertNewFax()
{
    DataPointer data(new FXManagedObjectData(&Fax::entity(), this));
    data->inserted = true;
    objectDidChange(data.data());
    return Fax(data);
}

Connection FXManagedObjectContext::insertNewConnectionForFax(const Fax &fax)
{
    if (fax.isNull() || fax.isDeleted() || fax.managedObjectContext() != this)
        return Connection();
    DataPointer data(new FXManagedObjectData(&Connection::entity(), this));
    data->inserted = true;
    data->fax = fax.d;
    data->faxID = fax.objectID();
    objectDidChange(data.data());
    return Connection(data);
}

void FXManagedObjectContext::deleteObject(const Fax &fax)
{
    if (fax.isNull() || fax.isDeleted() || fax.managedObjectContext() != this)
        return;
    fax.d->deleted = true;
    objectDidChange(fax.d.data());
    // The store deletes the connections with their fax; the ones in memory learn it here.
    auto isOwnedByFax = [&fax](const FXManagedObjectData *connection) {
        return connection->fax == fax.d
               || (fax.objectID() != 0 && connection->faxID == fax.objectID());
    };
    QList<FXManagedObjectData *> owned;
    for (FXManagedObjectData *connection : std::as_const(m_connections)) {
        if (isOwnedByFax(connection))
            owned.append(connection);
    }
    for (const DataPointer &data : std::as_const(m_pending)) {
        if (isConnection(data->entity) && isOwnedByFax(data.data()) && !owned.contains(data.data()))
            owned.append(data.data());
    }
    for (FXManagedObjectData *connection : std::as_const(owned)) {
        if (!connection->deleted) {
            connection->deleted = true;
            objectDidChange(connection);
        }
    }
}

bool FXManagedObjectContext::save(QString *error)
{
    if (m_pending.isEmpty())
        return true;
    QString reason;
    auto fail = [&](const QString &why) {
        reason = why;
        if (m_store.isOpen())
            QSqlQuery(QStringLiteral("ROLLBACK"), m_store);
        qCWarning(lcJournal).noquote()
            << QStringLiteral("Could not save background context due to %1").arg(reason);
        if (error)
            *error = reason;
        return false;
    };
    if (!usableHere())
        return fail(QStringLiteral("the journal is used from a thread other than its own"));
    if (!m_store.isOpen())
        return fail(QStringLiteral("the journal store is closed"));

    QSqlQuery begin(m_store);
    if (!begin.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return fail(begin.lastError().text());

    // Ids become the records' own only once the transaction is committed.
    QHash<const FXManagedObjectData *, qint64> newIDs;
    QString why;
    for (const DataPointer &data : std::as_const(m_pending)) {
        if (data->deleted)
            continue;
        if (data->inserted) {
            qint64 faxID = 0;
            if (isConnection(data->entity)) {
                faxID = data->fax ? (data->fax->objectID ? data->fax->objectID
                                                         : newIDs.value(data->fax.data()))
                                  : data->faxID;
                if (faxID == 0)
                    return fail(QStringLiteral("a connection's fax was never saved"));
            }
            qint64 id = 0;
            if (!insertRow(data.data(), faxID, &id, &why))
                return fail(why);
            newIDs.insert(data.data(), id);
        } else if (data->changedAttributes != 0 && !updateRow(data.data(), &why)) {
            return fail(why);
        }
    }
    for (const DataPointer &data : std::as_const(m_pending)) {
        if (!data->deleted || data->objectID == 0 || isConnection(data->entity))
            continue;
        QSqlQuery remove(m_store);
        remove.prepare(QStringLiteral("DELETE FROM \"Fax\" WHERE id = ?"));
        remove.addBindValue(data->objectID);
        if (!execute(remove, &why))
            return fail(why);
    }
    QSqlQuery commit(m_store);
    if (!commit.exec(QStringLiteral("COMMIT")))
        return fail(commit.lastError().text());

    const QList<DataPointer> saved = std::exchange(m_pending, {});
    for (const DataPointer &data : saved) {
        data->pending = false;
        data->changedAttributes = 0;
        if (data->deleted) {
            if (data->objectID != 0)
                registry(data->entity).remove(data->objectID);
            continue;
        }
        if (data->inserted) {
            data->inserted = false;
            data->objectID = newIDs.value(data.data());
            registry(data->entity).insert(data->objectID, data.data());
        }
        if (data->fax)
            data->faxID = data->fax->objectID;
    }
    Q_EMIT didSave();
    return true;
}

QList<Fax> FXManagedObjectContext::fetchFaxes(const QString &searchText, qsizetype limit,
                                              qsizetype offset)
{
    const QString page = QStringLiteral(" LIMIT %1 OFFSET %2")
                             .arg(limit < 0 ? -1 : limit)
                             .arg(qMax<qsizetype>(offset, 0));
    if (searchText.isEmpty()) {
        // The date index yields the newest first at once.
        return fetch<Fax>(
            selectFrom(Fax::entity()) + QStringLiteral(" ORDER BY date DESC, id DESC") + page, {});
    }
    QVariantList bindings;
    const QString condition = searchCondition(searchText, &bindings, m_listDates);
    // A text that many faxes match (the first keys of a search) is answered by walking the
    // date index through the newest faxes: when they hold the page, it is the page. Otherwise
    // a plain scan and a sort of the matches (the unary + keeps the index out) costs the same
    // whatever the text, where walking the index would visit the table in random order.
    if (limit > 0) {
        const QVariant bound =
            scalarValue(QStringLiteral("SELECT date FROM Fax ORDER BY date DESC LIMIT 1 OFFSET %1")
                            .arg(kSearchWindow - 1));
        if (!bound.isNull()) {
            QVariantList windowBindings{bound};
            windowBindings.append(bindings);
            const QList<Fax> recent = fetch<Fax>(
                selectFrom(Fax::entity()) + QStringLiteral(" WHERE date >= ? AND (") + condition
                    + QStringLiteral(")") + QStringLiteral(" ORDER BY date DESC, id DESC") + page,
                windowBindings);
            if (recent.size() == limit)
                return recent;
        }
    }
    // The sort carries the ids alone, not whole rows.
    return fetch<Fax>(selectFrom(Fax::entity())
                          + QStringLiteral(" WHERE id IN (SELECT id FROM Fax WHERE %1"
                                           " ORDER BY +date DESC, id DESC%2)"
                                           " ORDER BY date DESC, id DESC")
                                .arg(condition, page),
                      bindings);
}

QVariant FXManagedObjectContext::scalarValue(const QString &sql, const QVariantList &bindings)
{
    if (!usableHere())
        return QVariant();
    saveIfNeeded();
    QSqlQuery query(m_store);
    query.prepare(sql);
    for (const QVariant &value : bindings)
        query.addBindValue(value);
    QString why;
    if (!execute(query, &why)) {
        qCWarning(lcJournal).noquote() << "Journal query failed:" << why;
        return QVariant();
    }
    return query.next() ? query.value(0) : QVariant();
}

qsizetype FXManagedObjectContext::countForFaxes(const QString &searchText)
{
    QString sql = QStringLiteral("SELECT count(*) FROM \"Fax\"");
    QVariantList bindings;
    if (!searchText.isEmpty())
        sql += QStringLiteral(" WHERE ") + searchCondition(searchText, &bindings, m_listDates);
    return scalarValue(sql, bindings).toLongLong();
}

Fax FXManagedObjectContext::faxWithObjectID(qint64 objectID)
{
    if (objectID <= 0)
        return Fax();
    if (FXManagedObjectData *data = m_faxes.value(objectID))
        return Fax(DataPointer(data));
    const QList<Fax> found =
        fetch<Fax>(selectFrom(Fax::entity()) + QStringLiteral(" WHERE id = ?"), {objectID});
    return found.value(0);
}

QList<Connection> FXManagedObjectContext::connectionsOfFax(const Fax &fax)
{
    if (fax.isNull() || fax.managedObjectContext() != this || !usableHere())
        return {};
    saveIfNeeded();
    QList<Connection> connections;
    if (fax.objectID() != 0) {
        connections = fetch<Connection>(selectFrom(Connection::entity())
                                            + QStringLiteral(" WHERE fax = ?"
                                                             " ORDER BY beginDate, id"),
                                        {fax.objectID()});
    }
    // After a failed save, new connections exist only here.
    for (const DataPointer &data : std::as_const(m_pending)) {
        if (data->inserted && !data->deleted && data->fax == fax.d)
            connections.append(Connection(data));
    }
    return connections;
}

QList<Connection> FXManagedObjectContext::fetchOpenConnections(qsizetype limit)
{
    return fetch<Connection>(selectFrom(Connection::entity())
                                 + QStringLiteral(" WHERE reason IS NULL"
                                                  " ORDER BY beginDate, id LIMIT %1")
                                       .arg(limit < 0 ? -1 : limit),
                             {});
}

QList<Connection> FXManagedObjectContext::fetchConnectionsWithSessionID(const QString &sessionID,
                                                                        qsizetype limit)
{
    if (sessionID.isNull())
        return {};
    return fetch<Connection>(selectFrom(Connection::entity())
                                 + QStringLiteral(" WHERE sessionID = ?"
                                                  " ORDER BY beginDate, id LIMIT %1")
                                       .arg(limit < 0 ? -1 : limit),
                             {sessionID});
}

bool FXManagedObjectContext::searchTextCanMatchDate(const QString &text, QStringView shape)
{
    // In the shape, '0' stands for any digit.
    for (qsizetype start = 0; start + text.size() <= shape.size(); ++start) {
        bool fits = true;
        for (qsizetype i = 0; i < text.size() && fits; ++i) {
            const QChar expected = shape.at(start + i);
            fits = expected == QLatin1Char('0')
                       ? (text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9'))
                       : text.at(i) == expected;
        }
        if (fits)
            return true;
    }
    return false;
}

void FXManagedObjectContext::objectDidChange(FXManagedObjectData *data)
{
    if (!data->pending) {
        data->pending = true;
        m_pending.append(DataPointer(data));
    }
    if (!m_notificationScheduled) {
        m_notificationScheduled = true;
        QMetaObject::invokeMethod(this, &FXManagedObjectContext::processPendingChanges,
                                  Qt::QueuedConnection);
    }
}

void FXManagedObjectContext::forgetObject(FXManagedObjectData *data)
{
    if (data->objectID == 0)
        return;
    auto &map = registry(data->entity);
    const auto it = map.constFind(data->objectID);
    if (it != map.constEnd() && it.value() == data)
        map.erase(it);
}

void FXManagedObjectContext::processPendingChanges()
{
    m_notificationScheduled = false;
    Q_EMIT objectsDidChange();
}

bool FXManagedObjectContext::usableHere() const
{
    if (QThread::currentThread() == thread())
        return true;
    qCWarning(lcJournal) << "The journal was used from a thread other than its own";
    return false;
}

bool FXManagedObjectContext::saveIfNeeded()
{
    return !hasChanges() || save();
}

QHash<qint64, FXManagedObjectData *> &
FXManagedObjectContext::registry(const FXEntityDescription *entity)
{
    return isConnection(entity) ? m_connections : m_faxes;
}

FXManagedObjectContext::DataPointer
FXManagedObjectContext::objectForRow(const FXEntityDescription &entity, const QSqlQuery &query)
{
    const qint64 id = query.value(0).toLongLong();
    auto &map = registry(&entity);
    DataPointer data(map.value(id));
    if (data && data->pending)
        return data; // its unsaved values win
    if (!data) {
        data = DataPointer(new FXManagedObjectData(&entity, this));
        data->objectID = id;
        map.insert(id, data.data());
    }
    const int count = int(entity.attributes.size());
    for (int i = 0; i < count; ++i)
        data->values[i] = fromColumn(entity.attributes[size_t(i)], query.value(i + 1));
    if (isConnection(&entity)) {
        const qint64 faxID = query.value(count + 1).toLongLong();
        if (faxID != data->faxID) {
            data->faxID = faxID;
            data->fax.reset();
        }
    }
    return data;
}

template <typename Record>
QList<Record> FXManagedObjectContext::fetch(const QString &sql, const QVariantList &bindings)
{
    if (!usableHere())
        return {};
    saveIfNeeded();
    QSqlQuery query(m_store);
    query.setForwardOnly(true);
    if (!query.prepare(sql)) {
        qCWarning(lcJournal).noquote() << "Journal query failed:" << query.lastError().text();
        return {};
    }
    for (const QVariant &value : bindings)
        query.addBindValue(value);
    QString why;
    if (!execute(query, &why)) {
        qCWarning(lcJournal).noquote() << "Journal query failed:" << why;
        return {};
    }
    QList<Record> records;
    while (query.next()) {
        DataPointer data = objectForRow(Record::entity(), query);
        if (!data->deleted)
            records.append(Record(data));
    }
    return records;
}

bool FXManagedObjectContext::execute(QSqlQuery &query, QString *error) const
{
    if (query.exec())
        return true;
    *error = query.lastError().text();
    return false;
}

bool FXManagedObjectContext::insertRow(FXManagedObjectData *data, qint64 faxID, qint64 *newID,
                                       QString *error)
{
    const FXEntityDescription &entity = *data->entity;
    const bool connection = isConnection(&entity);
    QSqlQuery &query = connection ? m_insertConnection : m_insertFax;
    if (query.lastQuery().isEmpty()) {
        QStringList columns;
        for (const FXEntityDescription::Attribute &attribute : entity.attributes)
            columns.append(quoted(attribute.name));
        if (connection)
            columns.append(QStringLiteral("fax"));
        QStringList placeholders(columns.size(), QStringLiteral("?"));
        query = QSqlQuery(m_store);
        if (!query.prepare(QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                               .arg(quoted(entity.name), columns.join(QStringLiteral(", ")),
                                    placeholders.join(QStringLiteral(", "))))) {
            *error = query.lastError().text();
            query = QSqlQuery();
            return false;
        }
    }
    int index = 0;
    for (const QVariant &value : std::as_const(data->values))
        query.bindValue(index++, toColumn(value));
    if (connection)
        query.bindValue(index, faxID);
    if (!execute(query, error))
        return false;
    *newID = query.lastInsertId().toLongLong();
    query.finish();
    return *newID > 0;
}

bool FXManagedObjectContext::updateRow(FXManagedObjectData *data, QString *error)
{
    const FXEntityDescription &entity = *data->entity;
    QStringList assignments;
    QVariantList values;
    for (size_t i = 0; i < entity.attributes.size(); ++i) {
        if (data->changedAttributes & (quint64(1) << i)) {
            assignments.append(quoted(entity.attributes[i].name) + QStringLiteral(" = ?"));
            values.append(toColumn(data->values.at(qsizetype(i))));
        }
    }
    QSqlQuery query(m_store);
    query.prepare(QStringLiteral("UPDATE %1 SET %2 WHERE id = ?")
                      .arg(quoted(entity.name), assignments.join(QStringLiteral(", "))));
    for (const QVariant &value : std::as_const(values))
        query.addBindValue(value);
    query.addBindValue(data->objectID);
    if (!execute(query, error))
        return false;
    // A row that is gone (deleted by another program) cannot be updated; the change is lost
    // with it, which is what the user asked for by deleting.
    return true;
}
