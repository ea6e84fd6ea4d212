#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

// Text operations on phone numbers. Every number the program compares, searches or sends is
// first reduced to its unified form: only "+0123456789*#", optionally led by "int", letters
// after the first digit mapped to their keypad digits.
class FXPhoneNumber
{
public:
    // The unified form of any text. Never fails; "" (or "int") means there is no number.
    static QString unifiedPhoneNumber(const QString &string);

    // Replaces every character of `characters` by one copy of `replacement`. The insertion
    // index of a replaced run is counted in `string`, not in the result, so placement is
    // exact only for a replacement of one character; callers rely on that behaviour.
    static QString stringByReplacingCharactersInSet(const QString &string, QStringView characters,
                                                    const QString &replacement);

    // Resolves the XML entities (&amp; &lt; &gt; &quot; &apos;, &#NN; and &#xNN;) and the
    // extra ones given by name ("para" -> "¶"). Unknown or malformed references stay as
    // they are.
    static QString stringByUnescapingEntities(const QString &string,
                                              const QHash<QString, QString> &entities = {});

    // True when `other` is non-empty and occurs in `string`.
    static bool containsString(const QString &string, const QString &other,
                               bool ignoringCase = false);

    // The national form of a unified number: a number carrying the own country's calling
    // code ("+49..." or "0049...") gets the national prefix instead ("0..."). Other numbers
    // come back unchanged.
    static QString localizedUnifiedPhoneNumber(const QString &unified);

    // The region (ISO 3166 code such as "DE") whose calling code counts as the own one: the
    // one set with setRegion(), else the territory of the default locale.
    static QString region();
    // Overrides the locale's region for the rest of the process; an empty text restores
    // the locale's.
    static void setRegion(const QString &region);

    // A number parsed by libphonenumber and written in E.164 ("+49301234567") or in the
    // international format ("+49 30 1234567"). Numbers without a leading "+" are read in
    // `defaultRegion` ("DE"); none, or "ZZ", reads only international numbers. "" when the
    // text does not parse.
    enum class Format { E164, International };
    static QString formattedNumber(const QString &number, const QString &defaultRegion,
                                   Format format);

    // libphonenumber's calling code of a region as decimal text ("49"), "" when unknown.
    static QString countryCodeForRegion(const QString &region);
    // The national dialling prefix of a region ("0"), "" when there is none or the region
    // is unknown.
    static QString nationalPrefixForRegion(const QString &region);
};
