#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

// Texts that go with a fax's pages.
class FXFaxHelper
{
public:
    // "<date>    <fax identification>     <header text>": the current date and time, then the
    // "faxID" and "faxHeader" settings; empty settings still leave their blanks.
    static QString pageHeader();

    // The header for a given moment and locale, for callers that need a fixed one.
    static QString pageHeader(const QDateTime &at, const QLocale &locale);
    // The date of the header: the date in the locale's medium style and the time in its short
    // style, e.g. "Jan 5, 2024 3:04 PM" or "5. Jan. 2024 15:04".
    static QString dateText(const QDateTime &at, const QLocale &locale);
};
