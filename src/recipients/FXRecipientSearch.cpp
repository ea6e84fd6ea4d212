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

namespace {

// The blank after a token's comma is not part of what the user is looking for.
QString searchedPiece(const QString &searchString)
{
    const qsizetype comma = searchString.lastIndexOf(u',');
    return (comma < 0 ? searchString : searchString.mid(comma + 1)).trimmed();
}

} // namespace

bool FXRecipientSearch::searchStringNarrows(const QString &previous, const QString &next)
{
    const QString before = searchedPiece(previous);
    const QString after = searchedPiece(next);
    // Names begin with, and the other fields contain, a longer text only where they hold the
    // shorter one. Folding case and accents works letter by letter, so this holds folded too.
    if (before.isEmpty() || !after.startsWith(before))
        return false;
    // The number clause: no number at all now, or one that holds the number before.
    const QString number = FXPhoneNumber::unifiedPhoneNumber(after);
    if (number.isEmpty())
        return true;
    const QString numberBefore = FXPhoneNumber::unifiedPhoneNumber(before);
    return !numberBefore.isEmpty() && number.contains(numberBefore);
}

FXPredicate FXRecipientSearch::searchPredicateForSearchString(const QString &searchString)
{
    const QString piece = searchedPiece(searchString);
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
