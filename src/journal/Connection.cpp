#include "journal/Connection.h"

#include "journal/FXManagedObjectContext.h"

namespace {

constexpr FXEntityDescription::Attribute connectionAttributes[] = {
    {"beginDate", QMetaType::QDateTime}, {"finishDate", QMetaType::QDateTime},
    {"pages", QMetaType::Int},           {"reason", QMetaType::QString},
    {"size", QMetaType::LongLong},       {"pageRange", QMetaType::QString},
    {"sessionID", QMetaType::QString},
};
static_assert(std::size(connectionAttributes) == Connection::AttributeCount);

const FXEntityDescription connectionEntity{"Connection", connectionAttributes};

} // namespace

const FXEntityDescription &Connection::entity()
{
    return connectionEntity;
}

QString Connection::pageRangeForPages(qint64 pages)
{
    return pages >= 2 ? QStringLiteral("1-%1").arg(pages) : QStringLiteral("1");
}

QDateTime Connection::beginDate() const
{
    return primitiveValue(BeginDate).toDateTime();
}

void Connection::setBeginDate(const QDateTime &beginDate)
{
    setPrimitiveValue(BeginDate, beginDate);
}

QDateTime Connection::finishDate() const
{
    return primitiveValue(FinishDate).toDateTime();
}

void Connection::setFinishDate(const QDateTime &finishDate)
{
    setPrimitiveValue(FinishDate, finishDate);
}

qint32 Connection::pages() const
{
    return primitiveValue(Pages).toInt();
}

void Connection::setPages(qint32 pages)
{
    setPrimitiveValue(Pages, pages);
}

QString Connection::reason() const
{
    return primitiveValue(Reason).toString();
}

void Connection::setReason(const QString &reason)
{
    setPrimitiveValue(Reason, reason);
}

qint64 Connection::size() const
{
    return primitiveValue(Size).toLongLong();
}

void Connection::setSize(qint64 size)
{
    setPrimitiveValue(Size, size);
}

QString Connection::pageRange() const
{
    return primitiveValue(PageRange).toString();
}

void Connection::setPageRange(const QString &pageRange)
{
    setPrimitiveValue(PageRange, pageRange);
}

QString Connection::sessionID() const
{
    return primitiveValue(SessionID).toString();
}

void Connection::setSessionID(const QString &sessionID)
{
    setPrimitiveValue(SessionID, sessionID);
}

Fax Connection::fax() const
{
    if (!d)
        return Fax();
    if (!d->fax && d->context)
        d->fax = d->context->faxWithObjectID(d->faxID).d;
    return Fax(d->fax);
}
