#pragma once

#include "recipients/PhoneBookEntry.h"

#include <QList>
#include <QString>
#include <QStringList>

// What a typed receiver stands for, decided before anything is sent, for the command line and
// the windows alike. In this order:
//  1. a name in the phone book that exactly one entry has: that entry's number (a name that
//     several entries have is ambiguous, and the candidates are listed);
//  2. otherwise a number libphonenumber takes for a possible one in the region, or a number
//     with keypad letters after its digits, as vanity numbers are written ("0800 FLOWERS");
//  3. anything else is refused: "Person 1" must never become the number 1.
class FXReceiverCheck
{
public:
    struct Result
    {
        enum Kind { Number, Entry, Ambiguous, Refused };
        Kind kind = Refused;
        // The unified number to send to (Number and Entry).
        QString number;
        PhoneBookEntryPtr entry;
        // "Name (label): number" of every entry a name matches (Ambiguous).
        QStringList candidates;
        // Why the text is no receiver (Refused).
        QString problem;
    };

    // Whether the text needs the phone book at all: only a text with letters can be a name.
    static bool mayBeName(const QString &typed);

    static Result check(const QString &typed, const QList<PhoneBookEntryPtr> &phoneBook,
                        const QString &region);

    // Rule 2 alone.
    static bool isPossibleNumber(const QString &typed, const QString &region);
};
