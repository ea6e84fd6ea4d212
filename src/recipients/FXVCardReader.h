#pragma once

#include "recipients/FXAddressBookPerson.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

typedef struct _EContact EContact;

// Reads vCards (2.1, 3.0, 4.0, as address books and phones write them) into persons, through
// libebook-contacts. Shared by the vCard file source and the Evolution Data Server source.
class FXVCardReader
{
public:
    static constexpr qsizetype maxFileBytes = 64 * 1024 * 1024;
    static constexpr qsizetype maxPhoneValueLength = 256;

    // A group card (KIND:group, or Apple's X-ADDRESSBOOKSERVER-KIND:group) naming its
    // members by UID.
    struct Group
    {
        QString name;
        QStringList memberUIDs;
    };

    struct Contents
    {
        QList<FXAddressBookPerson> persons;
        QList<Group> groups;
        // One line per card that could not be read; the others are still there.
        QStringList problems;
    };

    // Every card in the bytes of a .vcf file. Cards without a UID get ids derived from
    // `fallbackScope` (the file's path) and their names. False, with `error` set, when the
    // data holds no readable card at all.
    static bool readData(const QByteArray &data, const QString &fallbackScope, Contents *contents,
                         QString *error);
    static bool readFile(const QString &path, Contents *contents, QString *error);

    // The person of one contact, its phone identifiers derived from `recordID`.
    static FXAddressBookPerson personFromContact(EContact *contact, const QString &recordID);

    // The record id of a contact with this UID (the same for every vCard source, so that the
    // same contact in two files is one person).
    static QString recordIDForUID(const QString &uid);

    // The standard label for a TEL's TYPE values ("cell", "work,fax" ...).
    static QString labelForTypes(const QStringList &types);

    // libebook-contacts reports every odd line as a GLib warning; these become debug lines in
    // our category, since the reader logs its own summary.
    static void routeLibraryWarnings();
};
