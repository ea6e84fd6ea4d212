#include "journal/FXManagedObjectData.h"

#include "journal/FXEntityDescription.h"
#include "journal/FXManagedObjectContext.h"

FXManagedObjectData::FXManagedObjectData(const FXEntityDescription *entityDescription,
                                         FXManagedObjectContext *owningContext)
    : entity(entityDescription)
    , context(owningContext)
{
    values.resize(qsizetype(entity->attributes.size()));
}

FXManagedObjectData::~FXManagedObjectData()
{
    if (context)
        context->forgetObject(this);
}
