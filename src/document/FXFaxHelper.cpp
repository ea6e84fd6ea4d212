#include "document/FXFaxHelper.h"

#include "foundation/FBUserDefaults.h"

#include <QRegularExpression>

namespace {

// Qt has no medium date style; the long one without its weekday and with abbreviated month
// names comes closest ("dddd, MMMM d, yyyy" becomes "MMM d, yyyy").
QString mediumDateFormat(const QLocale &locale)
{
    QString format = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(QStringLiteral("^dddd[,\\s]*|[,\\s]*dddd"));
    format.remove(weekday);
    format.replace(QLatin1String("MMMM"), QLatin1String("MMM"));
    format = format.trimmed();
    if (!format.contains(QLatin1Char('d')) || !format.contains(QLatin1Char('y')))
        return locale.dateFormat(QLocale::ShortFormat);
    return format;
}

} // namespace

QString FXFaxHelper::dateText(const QDateTime &at, const QLocale &locale)
{
    return locale.toString(at.date(), mediumDateFormat(locale)) + QLatin1Char(' ')
           + locale.toString(at.time(), QLocale::ShortFormat);
}

QString FXFaxHelper::pageHeader(const QDateTime &at, const QLocale &locale)
{
    return QStringLiteral("%1    %2     %3")
        .arg(dateText(at, locale), FBUserDefaults::stringForKey(kFaxIDKey),
             FBUserDefaults::stringForKey(kFaxHeaderKey));
}

QString FXFaxHelper::pageHeader()
{
    return pageHeader(QDateTime::currentDateTime(), QLocale());
}
