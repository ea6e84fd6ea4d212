#include "journal/FXManagedObject.h"

#include "journal/FXEntityDescription.h"
#include "journal/FXManagedObjectContext.h"

#include <QDateTime>

bool FXManagedObject::normalizedValue(const FXEntityDescription::Attribute &attribute,
                                      const QVariant &value, QVariant *out)
{
    *out = QVariant();
    if (!value.isValid() || value.isNull())
        return true;
    QVariant converted = value;
    if (!converted.convert(QMetaType(attribute.type)))
        return false;
    switch (attribute.type) {
    case QMetaType::QString:
        if (converted.toString().isNull())
            return true;
        // A connection without an outcome is open whether its reason is absent or empty; the
        // store knows only absent, so that the poller's question has one answer.
        if (qstrcmp(attribute.name, "reason") == 0 && converted.toString().isEmpty())
            return true;
        break;
    case QMetaType::QByteArray:
        if (converted.toByteArray().isNull())
            return true;
        break;
    case QMetaType::QDateTime:
        if (!converted.toDateTime().isValid())
            return true;
        // Kept in UTC: converting every fetched date to local time would cost more than the
        // fetch; readers get local time (primitiveValue).
        converted = converted.toDateTime().toUTC();
        break;
    default:
        break;
    }
    *out = converted;
    return true;
}

QString FXManagedObject::entityName() const
{
    return d ? QString::fromLatin1(d->entity->name) : QString();
}

qint64 FXManagedObject::objectID() const
{
    return d ? d->objectID : 0;
}

FXManagedObjectContext *FXManagedObject::managedObjectContext() const
{
    return d ? d->context.data() : nullptr;
}

bool FXManagedObject::isInserted() const
{
    return d && d->inserted;
}

bool FXManagedObject::isDeleted() const
{
    return d && d->deleted;
}

bool FXManagedObject::hasChanges() const
{
    return d && d->pending;
}

QVariant FXManagedObject::valueForKey(const QString &key) const
{
    return d ? primitiveValue(d->entity->indexOfAttribute(key)) : QVariant();
}

void FXManagedObject::setValue(const QVariant &value, const QString &forKey)
{
    if (d)
        setPrimitiveValue(d->entity->indexOfAttribute(forKey), value);
}

QVariant FXManagedObject::primitiveValue(int index) const
{
    if (!d || index < 0 || index >= d->values.size())
        return QVariant();
    const QVariant &value = d->values.at(index);
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toLocalTime();
    return value;
}

void FXManagedObject::setPrimitiveValue(int index, const QVariant &value)
{
    if (!d || d->deleted || index < 0 || index >= d->values.size())
        return;
    QVariant stored;
    if (!normalizedValue(d->entity->attributes[size_t(index)], value, &stored))
        return;
    QVariant &current = d->values[index];
    if (current.isValid() == stored.isValid() && current == stored)
        return;
    current = stored;
    d->changedAttributes |= quint64(1) << index;
    if (d->context)
        d->context->objectDidChange(d.data());
}
