#include "sending/FXReceiverCheck.h"

#include "recipients/FXPhoneNumber.h"

#include <QRegularExpression>

#include <phonenumbers/phonenumberutil.h>

namespace {

QString folded(const QString &text)
{
    return text.simplified().toCaseFolded();
}

// Digits (with the usual separators) first, then letters: "0800 FLOWERS", "+49 800 AUTO 24".
bool isVanityNumber(const QString &typed)
{
    static const QRegularExpression vanity(
        QStringLiteral("^\\+?[0-9][0-9 ()./-]*[0-9][0-9 ()./-]*[0-9][0-9 ()./-]*[A-Za-z]"
                       "[A-Za-z0-9 ()./-]*$"));
    return vanity.match(typed.trimmed()).hasMatch();
}

} // namespace

bool FXReceiverCheck::mayBeName(const QString &typed)
{
    return std::any_of(typed.cbegin(), typed.cend(), [](QChar c) { return c.isLetter(); });
}

bool FXReceiverCheck::isPossibleNumber(const QString &typed, const QString &region)
{
    const bool letters = mayBeName(typed);
    if (letters && !isVanityNumber(typed))
        return false;
    QString unified = FXPhoneNumber::unifiedPhoneNumber(typed);
    if (unified.startsWith(QLatin1String("int")))
        unified.remove(0, 3);
    // A service code in front ("*31#" hides the sender) is for the exchange, not the number.
    static const QRegularExpression serviceCode(QStringLiteral("^[*#][0-9*]*#"));
    unified.remove(serviceCode);
    if (unified.contains(u'*') || unified.contains(u'#') || unified.isEmpty())
        return false;
    using i18n::phonenumbers::PhoneNumber;
    using i18n::phonenumbers::PhoneNumberUtil;
    PhoneNumberUtil *util = PhoneNumberUtil::GetInstance();
    PhoneNumber parsed;
    const std::string defaultRegion = region.isEmpty() ? "ZZ" : region.toStdString();
    if (util->Parse(unified.toStdString(), defaultRegion, &parsed)
        != PhoneNumberUtil::NO_PARSING_ERROR)
        return false;
    return util->IsPossibleNumber(parsed);
}

FXReceiverCheck::Result FXReceiverCheck::check(const QString &typed,
                                               const QList<PhoneBookEntryPtr> &phoneBook,
                                               const QString &region)
{
    Result result;
    if (mayBeName(typed)) {
        const QString name = folded(typed);
        QList<PhoneBookEntryPtr> matches;
        for (const PhoneBookEntryPtr &entry : phoneBook) {
            if (entry && !entry->isAdHoc() && folded(entry->displayStringName()) == name)
                matches.append(entry);
        }
        if (matches.size() == 1) {
            result.kind = Result::Entry;
            result.entry = matches.first();
            result.number = result.entry->unifiedPhoneNumber();
            return result;
        }
        if (matches.size() > 1) {
            result.kind = Result::Ambiguous;
            for (const PhoneBookEntryPtr &entry : std::as_const(matches))
                result.candidates << QStringLiteral("%1: %2").arg(entry->displayString(),
                                                                  entry->phoneNumber());
            return result;
        }
    }
    if (isPossibleNumber(typed, region)) {
        result.kind = Result::Number;
        result.number = FXPhoneNumber::unifiedPhoneNumber(typed);
        return result;
    }
    result.problem =
        mayBeName(typed)
            ? QStringLiteral("\"%1\" is neither a name in the phone book nor a fax number")
                  .arg(typed)
            : QStringLiteral("\"%1\" is not a possible fax number").arg(typed);
    return result;
}
