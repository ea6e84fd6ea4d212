#pragma once

#include "journal/FXEntityDescription.h"
#include "journal/FXManagedObjectData.h"

#include <QString>
#include <QVariant>

class FXManagedObjectContext;

// A handle to one journal record. Handles are cheap to copy; all copies refer to the same
// record, and two handles compare equal exactly when they refer to the same record. A
// default-constructed handle is null: it reads as empty and ignores writes, which is also
// what a caller gets from a journal that could not be opened.
//
// Writing an attribute changes the record in memory and marks it changed; the context saves
// every pending change together at the end of the current event-loop turn, or at once through
// FXCoreDataController::saveMainContext(). Use records on the main thread only.
class FXManagedObject
{
public:
    FXManagedObject() = default;

    bool isNull() const { return !d; }

    // "Fax" or "Connection"; empty for a null handle.
    QString entityName() const;

    // The row id in the store; 0 for a record that was never saved.
    qint64 objectID() const;

    // The context the record lives in; nullptr for a null handle or after the context is gone.
    FXManagedObjectContext *managedObjectContext() const;

    // Inserted and not saved yet.
    bool isInserted() const;
    // Deleted (saved or not); a deleted record keeps its last values and ignores writes.
    bool isDeleted() const;
    // Changed, inserted or deleted since the last save.
    bool hasChanges() const;

    // Any attribute by its name ("number", "beginDate", ...), as the windows bind columns. An
    // absent value, an unknown name or a null handle give an invalid QVariant.
    QVariant valueForKey(const QString &key) const;
    // Converts the value to the attribute's type; a value that does not convert, an unknown
    // name, a deleted record or a null handle change nothing. An invalid or null QVariant
    // clears the attribute.
    void setValue(const QVariant &value, const QString &forKey);

    // The value as the attribute's type, or an invalid QVariant for "absent"; false when the
    // value cannot be taken as that type. Shared by writes and by reading the store.
    static bool normalizedValue(const FXEntityDescription::Attribute &attribute,
                                const QVariant &value, QVariant *out);

    friend bool operator==(const FXManagedObject &a, const FXManagedObject &b)
    {
        return a.d == b.d;
    }
    friend size_t qHash(const FXManagedObject &object, size_t seed = 0)
    {
        return ::qHash(static_cast<const void *>(object.d.data()), seed);
    }

protected:
    using DataPointer = QExplicitlySharedDataPointer<FXManagedObjectData>;
    explicit FXManagedObject(DataPointer data)
        : d(std::move(data))
    {}

    QVariant primitiveValue(int index) const;
    void setPrimitiveValue(int index, const QVariant &value);

    DataPointer d;

    friend class Fax;
    friend class Connection;
    friend class FXManagedObjectContext;
};
