#include "recipients/FXPhoneNumber.h"

#include <QLocale>
#include <QMutex>

#include <phonenumbers/phonenumberutil.h>

#include <set>
#include <string>

namespace {

bool isAllowed(char16_t c)
{
    return (c >= u'0' && c <= u'9') || c == u'+' || c == u'*' || c == u'#';
}

// Keypad digit of a lower-case letter a to z.
QChar keypadDigit(char16_t c)
{
    static constexpr char digits[] = "22233344455566677778889999";
    return QLatin1Char(digits[c - u'a']);
}

QMutex regionMutex;
QString regionOverride;

struct RegionPrefixes
{
    QString region;
    QString countryCode;
    QString nationalPrefix;
};

// The phone book folds thousands of numbers in one go; the metadata lookups only change
// when the region does.
RegionPrefixes prefixesFor(const QString &region)
{
    static QMutex mutex;
    static RegionPrefixes cached;
    static bool valid = false;
    QMutexLocker lock(&mutex);
    if (!valid || cached.region != region) {
        valid = true;
        cached.region = region;
        cached.countryCode = FXPhoneNumber::countryCodeForRegion(region);
        cached.nationalPrefix = FXPhoneNumber::nationalPrefixForRegion(region);
    }
    return cached;
}

bool isSupportedRegion(const std::string &region)
{
    static const std::set<std::string> regions = [] {
        std::set<std::string> all;
        i18n::phonenumbers::PhoneNumberUtil::GetInstance()->GetSupportedRegions(&all);
        return all;
    }();
    return regions.count(region) > 0;
}

int entityCodePoint(QStringView digits, int base)
{
    if (digits.isEmpty() || digits.size() > 8)
        return -1;
    bool ok = false;
    const uint value = digits.toString().toUInt(&ok, base);
    if (!ok || value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return -1;
    return int(value);
}

bool isEntityNameChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'.' || c == u'-' || c == u'_' || c == u':';
}

} // namespace

QString FXPhoneNumber::unifiedPhoneNumber(const QString &string)
{
    const QString lower = string.toLower();
    QString result;
    result.reserve(lower.size());
    qsizetype index = 0;
    if (lower.startsWith(QLatin1String("int"))) {
        result.append(QLatin1String("int"));
        index = 3;
    }
    bool numberSeen = false;
    for (; index < lower.size(); ++index) {
        const char16_t c = lower.at(index).unicode();
        if (isAllowed(c)) {
            result.append(QChar(c));
            numberSeen = true;
        } else if (numberSeen && c >= u'a' && c <= u'z') {
            result.append(keypadDigit(c));
        }
    }
    return result;
}

QString FXPhoneNumber::stringByReplacingCharactersInSet(const QString &string,
                                                        QStringView characters,
                                                        const QString &replacement)
{
    auto inSet = [&](QChar c) { return characters.contains(c); };
    QString result;
    result.reserve(string.size());
    qsizetype pos = 0;
    const qsizetype size = string.size();
    while (pos < size) {
        const qsizetype setRunStart = pos;
        while (pos < size && inSet(string.at(pos)))
            ++pos;
        const qsizetype setRunLength = pos - setRunStart;
        const qsizetype runStart = pos;
        while (pos < size && !inSet(string.at(pos)))
            ++pos;
        if (pos > runStart) {
            result.append(QStringView(string).mid(runStart, pos - runStart));
            // The index is counted in the receiver; a shorter result would leave it past the
            // end, which must not fault.
            const qsizetype at = qMin(setRunStart, result.size());
            for (qsizetype i = 0; i < setRunLength; ++i)
                result.insert(at, replacement);
        } else {
            for (qsizetype i = 0; i < setRunLength; ++i)
                result.append(replacement);
        }
    }
    return result;
}

QString FXPhoneNumber::stringByUnescapingEntities(const QString &string,
                                                  const QHash<QString, QString> &entities)
{
    // Bounded look-ahead keeps a text full of "&" linear.
    constexpr qsizetype maxReferenceLength = 64;
    QString result;
    result.reserve(string.size());
    const qsizetype size = string.size();
    qsizetype pos = 0;
    while (pos < size) {
        const QChar c = string.at(pos);
        if (c != u'&') {
            result.append(c);
            ++pos;
            continue;
        }
        qsizetype end = pos + 1;
        const qsizetype limit = qMin(size, pos + 1 + maxReferenceLength);
        while (end < limit && (isEntityNameChar(string.at(end)) || string.at(end) == u'#'))
            ++end;
        if (end >= size || string.at(end) != u';' || end == pos + 1) {
            result.append(c);
            ++pos;
            continue;
        }
        const QStringView name = QStringView(string).mid(pos + 1, end - pos - 1);
        QString replacement;
        bool resolved = true;
        if (name.startsWith(u'#')) {
            const bool hex = name.size() > 1 && (name.at(1) == u'x' || name.at(1) == u'X');
            const int codePoint = entityCodePoint(name.mid(hex ? 2 : 1), hex ? 16 : 10);
            if (codePoint < 0) {
                resolved = false;
            } else {
                const char32_t ucs4 = char32_t(codePoint);
                replacement = QString::fromUcs4(&ucs4, 1);
            }
        } else if (name == u"amp") {
            replacement = QStringLiteral("&");
        } else if (name == u"lt") {
            replacement = QStringLiteral("<");
        } else if (name == u"gt") {
            replacement = QStringLiteral(">");
        } else if (name == u"quot") {
            replacement = QStringLiteral("\"");
        } else if (name == u"apos") {
            replacement = QStringLiteral("'");
        } else {
            const auto it = entities.constFind(name.toString());
            if (it == entities.constEnd())
                resolved = false;
            else
                replacement = it.value();
        }
        if (!resolved) {
            result.append(c);
            ++pos;
            continue;
        }
        result.append(replacement);
        pos = end + 1;
    }
    return result;
}

bool FXPhoneNumber::containsString(const QString &string, const QString &other, bool ignoringCase)
{
    if (other.isEmpty())
        return false;
    return string.contains(other, ignoringCase ? Qt::CaseInsensitive : Qt::CaseSensitive);
}

QString FXPhoneNumber::localizedUnifiedPhoneNumber(const QString &unified)
{
    const RegionPrefixes prefixes = prefixesFor(region());
    // An unknown region has no calling code; folding "000..." away would be wrong.
    if (prefixes.countryCode.isEmpty())
        return unified;
    const QString ownPrefix = QStringLiteral("00") + prefixes.countryCode;
    QString work = unified;
    if (work.startsWith(u'+'))
        work.replace(0, 1, QStringLiteral("00"));
    if (work.size() >= ownPrefix.size() && work.startsWith(ownPrefix))
        return work.replace(0, ownPrefix.size(), prefixes.nationalPrefix);
    return unified;
}

QString FXPhoneNumber::region()
{
    {
        QMutexLocker lock(&regionMutex);
        if (!regionOverride.isEmpty())
            return regionOverride;
    }
    const QLocale locale;
    if (locale.territory() == QLocale::AnyTerritory)
        return QString();
    return QLocale::territoryToCode(locale.territory());
}

void FXPhoneNumber::setRegion(const QString &region)
{
    QMutexLocker lock(&regionMutex);
    regionOverride = region.toUpper();
}

QString FXPhoneNumber::countryCodeForRegion(const QString &region)
{
    const std::string code = region.toUpper().toStdString();
    if (!isSupportedRegion(code))
        return QString();
    const int calling =
        i18n::phonenumbers::PhoneNumberUtil::GetInstance()->GetCountryCodeForRegion(code);
    return calling > 0 ? QString::number(calling) : QString();
}

QString FXPhoneNumber::nationalPrefixForRegion(const QString &region)
{
    const std::string code = region.toUpper().toStdString();
    if (!isSupportedRegion(code))
        return QString();
    std::string prefix;
    i18n::phonenumbers::PhoneNumberUtil::GetInstance()->GetNddPrefixForRegion(code, false, &prefix);
    return QString::fromStdString(prefix);
}

QString FXPhoneNumber::formattedNumber(const QString &number, const QString &defaultRegion,
                                       Format format)
{
    using i18n::phonenumbers::PhoneNumber;
    using i18n::phonenumbers::PhoneNumberUtil;
    PhoneNumberUtil *util = PhoneNumberUtil::GetInstance();
    PhoneNumber parsed;
    const std::string region = defaultRegion.isEmpty() ? "ZZ" : defaultRegion.toStdString();
    if (util->Parse(number.toStdString(), region, &parsed) != PhoneNumberUtil::NO_PARSING_ERROR)
        return QString();
    std::string formatted;
    util->Format(parsed,
                 format == Format::E164 ? PhoneNumberUtil::E164 : PhoneNumberUtil::INTERNATIONAL,
                 &formatted);
    return QString::fromStdString(formatted);
}
