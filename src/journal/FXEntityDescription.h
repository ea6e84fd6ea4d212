#pragma once

#include <QMetaType>
#include <QStringView>

#include <span>

// What the journal knows about one record type: its name (also its table's) and its stored
// attributes in column order. Relationships are not attributes; they live in the records.
struct FXEntityDescription
{
    struct Attribute
    {
        const char *name;
        QMetaType::Type type;
    };

    const char *name;
    std::span<const Attribute> attributes;

    // -1 for a name the entity does not have.
    int indexOfAttribute(QStringView key) const
    {
        for (size_t i = 0; i < attributes.size(); ++i) {
            if (key == QLatin1String(attributes[i].name))
                return int(i);
        }
        return -1;
    }
};
