#pragma once

#include <QExplicitlySharedDataPointer>
#include <QPointer>
#include <QSharedData>
#include <QVariantList>

struct FXEntityDescription;
class FXManagedObjectContext;

// The shared state of one journal record. Handles (Fax, Connection) point at it; the context
// keeps at most one per stored row, so every handle of a row sees the same values and the same
// unsaved changes. Internal to the journal.
class FXManagedObjectData : public QSharedData
{
public:
    FXManagedObjectData(const FXEntityDescription *entityDescription,
                        FXManagedObjectContext *owningContext);
    ~FXManagedObjectData();
    FXManagedObjectData(const FXManagedObjectData &) = delete;
    FXManagedObjectData &operator=(const FXManagedObjectData &) = delete;

    const FXEntityDescription *entity;
    QPointer<FXManagedObjectContext> context;
    // The row id; 0 until the record was first saved.
    qint64 objectID = 0;
    // One per attribute in the entity's order; an invalid QVariant is an absent value.
    QVariantList values;
    // One bit per attribute changed since the last save.
    quint64 changedAttributes = 0;
    bool inserted = false;
    bool deleted = false;
    // Listed in the context's pending changes.
    bool pending = false;

    // Connection only: the owning fax's row id, and the fax itself once someone asked for it
    // (or from the start for a connection inserted in this session).
    qint64 faxID = 0;
    QExplicitlySharedDataPointer<FXManagedObjectData> fax;
};
