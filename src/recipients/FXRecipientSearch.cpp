#include "recipients/FXRecipientSearch.h"

#include "recipients/FXPhoneNumber.h"

QStringList
FXRecipientSearch::possibleUnifiedLocalizedVariantsOfPhoneString(const QString &phoneString)
{
    const QString unified = FXPhoneNumber::unifiedPhoneNumber(phoneString);
    return unified.isEmpty() ? QStringList() : QStringList{unified};
}

FXPredicate FXRecipientSearch::subPredicateForPhoneString(const QString &phoneString,
                                                          const QString &operand)
{
    QList<FXPredicate> predicates;
    for (const QString &variant : possibleUnifiedLocalizedVariantsOfPhoneString(phoneString))
        predicates.append(
            FXPredicate::comparison(QStringLiteral("unifiedPhoneNumber"), operand, variant));
    if (predicates.isEmpty())
        return FXPredicate::predicateWithValue(false);
    return FXPredicate::orPredicateWithSubpredicates(predicates);
}

FXPredicate FXRecipientSearch::searchPredicateForSearchString(const QString &searchString)
{
    const qsizetype comma = searchString.lastIndexOf(u',');
    // The blank after a token's comma is not part of what the user is looking for.
    const QString piece = (comma < 0 ? searchString : searchString.mid(comma + 1)).trimmed();
    if (piece.isEmpty())
        return FXPredicate::predicateWithValue(false);

    using Key = PhoneBookEntry::Key;
    constexpr auto options = FXPredicate::CaseInsensitive | FXPredicate::DiacriticInsensitive;
    constexpr auto beginsWith = FXPredicate::Operator::BeginsWith;
    constexpr auto contains = FXPredicate::Operator::Contains;
    const FXPredicate fields = FXPredicate::orPredicateWithSubpredicates({
        FXPredicate::comparison(Key::lastName, beginsWith, piece, options),
        FXPredicate::comparison(Key::firstName, beginsWith, piece, options),
        FXPredicate::comparison(Key::middleName, beginsWith, piece, options),
        FXPredicate::comparison(Key::companyName, beginsWith, piece, options),
        FXPredicate::comparison(Key::phoneNumber, contains, piece, options),
        FXPredicate::comparison(Key::unifiedPhoneNumber, contains, piece, options),
        FXPredicate::comparison(Key::searchableInformation, contains, piece, options),
    });
    const FXPredicate clause = FXPredicate::orPredicateWithSubpredicates(
        {fields, subPredicateForPhoneString(piece, QStringLiteral("contains[dc]"))});
    return FXPredicate::andPredicateWithSubpredicates({clause});
}
