#pragma once

#include "recipients/FXAddressBookPerson.h"

#include <QList>
#include <QObject>
#include <QString>

// Where the phone book's persons come from: the desktop's address books or vCard files.
// A source announces every change it notices; the address book coalesces them.
class FXAddressBookSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The persons as the source knows them now. Record ids are unique across sources.
    virtual QList<FXAddressBookPerson> people() = 0;
    // For diagnostics.
    virtual QString sourceName() const = 0;

Q_SIGNALS:
    void changed();
};
