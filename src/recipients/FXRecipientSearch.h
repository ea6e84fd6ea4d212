#pragma once

#include "recipients/FXPredicate.h"

#include <QString>
#include <QStringList>

// The live search of the recipient field: what the user typed becomes a predicate over
// phone book entries. The application controller forwards its operations of the same names
// here.
class FXRecipientSearch
{
public:
    // The unified forms under which a typed number is looked for: the unified text itself
    // when it is not empty, else none. The typed text is deliberately not localised.
    static QStringList possibleUnifiedLocalizedVariantsOfPhoneString(const QString &phoneString);

    // unifiedPhoneNumber compared with `operand` ("contains[dc]") to every variant, ORed;
    // constant false when the text holds no number at all.
    static FXPredicate subPredicateForPhoneString(const QString &phoneString,
                                                  const QString &operand);

    // Only the text after the last comma counts (the earlier pieces are tokens already),
    // without surrounding blanks. An empty piece matches nothing; otherwise names match from their
    // start, numbers, nickname and groups anywhere, all ignoring case and diacritics.
    static FXPredicate searchPredicateForSearchString(const QString &searchString);

    // Whether everything `next` finds is found by `previous` as well (the user typed on), so
    // that the search may look only through the previous results.
    static bool searchStringNarrows(const QString &previous, const QString &next);
};
