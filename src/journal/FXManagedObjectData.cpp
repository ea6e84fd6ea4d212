#include "FXManagedObjectData.h"

#include "FXEntityDescription.h"
#include "FXManagedObjectContext.h"

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
