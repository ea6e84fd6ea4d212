#include "journal/Fax.h"

#include "journal/FXManagedObjectContext.h"

namespace {

constexpr FXEntityDescription::Attribute faxAttributes[] = {
    {"algorithm", QMetaType::LongLong}, {"coverSheet", QMetaType::Bool},
    {"date", QMetaType::QDateTime},     {"file", QMetaType::QString},
    {"fileURL", QMetaType::QByteArray}, {"number", QMetaType::QString},
    {"contact", QMetaType::QString},    {"line", QMetaType::QString},
    {"subject", QMetaType::QString},    {"pages", QMetaType::Int},
};
static_assert(std::size(faxAttributes) == Fax::AttributeCount);

const FXEntityDescription faxEntity{"Fax", faxAttributes};

// The first connection whose outcome is not "0"; there is one exactly when the fax failed.
bool hasUnsuccessfulConnection(const QList<Connection> &connections)
{
    for (const Connection &connection : connections) {
        if (connection.reason() != QLatin1String("0"))
            return true;
    }
    return false;
}

} // namespace

const FXEntityDescription &Fax::entity()
{
    return faxEntity;
}

qint64 Fax::algorithm() const
{
    return primitiveValue(Algorithm).toLongLong();
}

void Fax::setAlgorithm(qint64 algorithm)
{
    setPrimitiveValue(Algorithm, algorithm);
}

bool Fax::coverSheet() const
{
    return primitiveValue(CoverSheet).toBool();
}

void Fax::setCoverSheet(bool coverSheet)
{
    setPrimitiveValue(CoverSheet, coverSheet);
}

QDateTime Fax::date() const
{
    return primitiveValue(Date).toDateTime();
}

void Fax::setDate(const QDateTime &date)
{
    setPrimitiveValue(Date, date);
}

QString Fax::file() const
{
    return primitiveValue(File).toString();
}

void Fax::setFile(const QString &file)
{
    setPrimitiveValue(File, file);
}

QByteArray Fax::fileURL() const
{
    return primitiveValue(FileURL).toByteArray();
}

void Fax::setFileURL(const QByteArray &fileURL)
{
    setPrimitiveValue(FileURL, fileURL);
}

QString Fax::number() const
{
    return primitiveValue(Number).toString();
}

void Fax::setNumber(const QString &number)
{
    setPrimitiveValue(Number, number);
}

QString Fax::contact() const
{
    return primitiveValue(Contact).toString();
}

void Fax::setContact(const QString &contact)
{
    setPrimitiveValue(Contact, contact);
}

QString Fax::line() const
{
    return primitiveValue(Line).toString();
}

void Fax::setLine(const QString &line)
{
    setPrimitiveValue(Line, line);
}

QString Fax::subject() const
{
    return primitiveValue(Subject).toString();
}

void Fax::setSubject(const QString &subject)
{
    setPrimitiveValue(Subject, subject);
}

qint32 Fax::pages() const
{
    return primitiveValue(Pages).toInt();
}

void Fax::setPages(qint32 pages)
{
    setPrimitiveValue(Pages, pages);
}

QList<Connection> Fax::connections() const
{
    FXManagedObjectContext *context = managedObjectContext();
    return context ? context->connectionsOfFax(*this) : QList<Connection>();
}

bool Fax::faxFailed() const
{
    return hasUnsuccessfulConnection(connections());
}

QColor Fax::sentStateColor() const
{
    return hasUnsuccessfulConnection(connections()) ? QColor(Qt::red) : QColor(Qt::black);
}
